/* Loads and unloads the library as a host does that knows nothing but its file and its header:
 * again and again, in the middle of its work, and without stopping it first. Nothing of it may stay
 * behind, in memory neither. */

#include "host_check.h"
#include "ZEL_VR_Framework.h"

#include <stdlib.h>
#include <string.h>

#ifdef _WIN32
#include <windows.h>
typedef HMODULE Library;
#define load() LoadLibraryA(ZEL_LIBRARY_FILE)
#define unload FreeLibrary
enum { MOST_FOR_EACH = 4096 }; /* its threads leave something with the emulator */
#else
#include <dlfcn.h>
#include <malloc.h>
typedef void* Library;
#define load() dlopen(ZEL_LIBRARY_FILE, RTLD_NOW | RTLD_LOCAL)
#define unload dlclose
enum { MOST_FOR_EACH = 1 };
#endif

enum { LOADS = 50 };

static char buffer[1 << 20];

static void show_state(void) {}

static int isLoaded(void)
{
#ifdef _WIN32
    return GetModuleHandleA("ZEL_VR_Framework.dll") != NULL;
#else
    Library library = dlopen(ZEL_LIBRARY_FILE, RTLD_NOW | RTLD_NOLOAD);
    if (library)
        dlclose(library);
    return library != NULL;
#endif
}

/* Function pointers come as data pointers on one platform and as other functions on the other. */
static void (*find(Library library, const char* name))(void)
{
    void (*function)(void) = NULL;
#ifdef _WIN32
    FARPROC address = GetProcAddress(library, name);
#else
    void* address = dlsym(library, name);
#endif
    if (address == NULL) {
        printf("the library does not export %s\n", name);
        exit(1);
    }
    memcpy(&function, &address, sizeof function);
    return function;
}

/* What the process has allocated and not freed. */
static size_t memoryInUse(void)
{
#ifdef _WIN32
    size_t sum = 0;
    HANDLE heaps[64];
    const DWORD count = GetProcessHeaps(64, heaps);
    for (DWORD i = 0; i < count && i < 64; ++i) {
        PROCESS_HEAP_ENTRY entry = {.lpData = NULL};
        HeapLock(heaps[i]);
        while (HeapWalk(heaps[i], &entry))
            if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY)
                sum += entry.cbData;
        HeapUnlock(heaps[i]);
    }
    return sum;
#else
    const struct mallinfo2 memory = mallinfo2();
    return memory.uordblks + memory.hblkhd;
#endif
}

#define CALL(name) ((__typeof__(&name))find(library, #name))

static void use(Library library, uint16_t port)
{
    uint64_t module = 0;
    uint64_t length = 0;
    uint32_t number = 0;
    GIVES(ZEL_SYS_NOT_STARTED, CALL(ZEL_XCOM_Disconnect)(1));
    GIVES(1, CALL(ZEL_Init)());
    GIVES(ZEL_OK, CALL(ZEL_XCOM_ConnectToTcpIpDev)("127.0.0.1", port, &module));
    GIVES(ZEL_OK, CALL(ZEL_XPAR_ReadXML)(module, 1, 0, buffer, &length, sizeof buffer));
    GIVES(ZEL_SRV_BUFFER_TOO_SMALL, CALL(ZEL_XPAR_ReadXML)(module, 1, 0, buffer, &length, 9));
    HOLDS(CALL(ZEL_XPAR_ReadPar)(module, 1, "No", "Such", buffer, &length, 9) != ZEL_OK);
    HOLDS(CALL(ZEL_XSYS_ReadFile)(module, "", "missing", "missing") != ZEL_OK);
    HOLDS(strstr(CALL(ZEL_XUTIL_GetTextFromModule)(module, -1014999), "supply") != NULL);
    GIVES(1901, CALL(ZEL_XUTIL_GetUnitCodeFromName)("kN"));
    GIVES(ZEL_OK, CALL(ZEL_XUTIL_ParseSignalPath)("AnalogIn_Connector0.Signal0", 0, &number,
                                                  &number, &number, &number));
    HOLDS(strcmp(CALL(ZEL_XUTIL_GetText)(ZEL_SYS_NOT_STARTED), "SYS: Framework not started") == 0);
}

/* A port of 0: loaded and unloaded only. */
static size_t growth(int loads, uint16_t port)
{
    const size_t before = memoryInUse();
    for (int i = 0; i < loads && failures == 0; ++i) {
        Library library = load();
        if (!library) {
            printf("%s cannot be loaded\n", ZEL_LIBRARY_FILE);
            exit(1);
        }
        if (port != 0)
            use(library, port);
        unload(library);
        HOLDS(!isLoaded());
    }
    return memoryInUse() - before;
}

int main(int count, char** arguments)
{
    const uint16_t port = (uint16_t)(count == 2 ? atoi(arguments[1]) : 0);
    growth(5, port);
    growth(5, 0);
    const size_t systems = growth(LOADS, 0);
    const size_t all = growth(LOADS, port);
    printf("after %d loads %zu bytes are left, %zu of them the system's own\n", LOADS, all,
           systems);
    HOLDS(all < systems + LOADS * MOST_FOR_EACH);
    return finish("nothing stays behind");
}
