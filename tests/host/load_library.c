/* Loads and unloads the library as a host does that knows nothing but its file and its header:
 * again and again, and without stopping it first. */

#include "ZEL_VR_Framework.h"

#include <stdio.h>
#include <string.h>

#ifdef _WIN32
#include <windows.h>
typedef HMODULE Library;
#else
#include <dlfcn.h>
typedef void* Library;
#endif

#define LOADS 20

static Library load(const char* path)
{
#ifdef _WIN32
    return LoadLibraryA(path);
#else
    return dlopen(path, RTLD_NOW | RTLD_LOCAL);
#endif
}

static int isLoaded(const char* path)
{
#ifdef _WIN32
    (void)path;
    return GetModuleHandleA("ZEL_VR_Framework.dll") != NULL;
#else
    Library library = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (library)
        dlclose(library);
    return library != NULL;
#endif
}

/* Function pointers come as data pointers on one platform and as other functions on the other. */
static int find(Library library, const char* name, void* function, size_t size)
{
#ifdef _WIN32
    FARPROC address = GetProcAddress(library, name);
#else
    void* address = dlsym(library, name);
#endif
    if (address)
        memcpy(function, &address, size);
    return address != NULL;
}

static void unload(Library library)
{
#ifdef _WIN32
    FreeLibrary(library);
#else
    dlclose(library);
#endif
}

static int useOnce(Library library)
{
    int32_t (*init)(void) = NULL;
    int32_t (*disconnect)(uint64_t) = NULL;
    const char* (*getText)(int32_t) = NULL;
    const char* text;

    if (!find(library, "ZEL_Init", &init, sizeof init) ||
        !find(library, "ZEL_XCOM_Disconnect", &disconnect, sizeof disconnect) ||
        !find(library, "ZEL_XUTIL_GetText", &getText, sizeof getText)) {
        fprintf(stderr, "the library does not export what it should\n");
        return 1;
    }

    if (disconnect(1) != ZEL_SYS_NOT_STARTED) {
        fprintf(stderr, "the library is still started from the time before\n");
        return 1;
    }
    if (init() != 1 || disconnect(1) != ZEL_CONN_UNKNOWN_UUID) {
        fprintf(stderr, "the library does not start\n");
        return 1;
    }
    text = getText(ZEL_SYS_NOT_STARTED);
    if (strcmp(text, "SYS: Framework not started") != 0) {
        fprintf(stderr, "the text of ZEL_SYS_NOT_STARTED is \"%s\"\n", text);
        return 1;
    }
    return 0;
}

int main(int count, char** arguments)
{
    int i;
    if (count != 2) {
        fprintf(stderr, "usage: %s LIBRARY\n", arguments[0]);
        return 2;
    }
    for (i = 0; i < LOADS; ++i) {
        Library library = load(arguments[1]);
        if (!library) {
            fprintf(stderr, "%s cannot be loaded\n", arguments[1]);
            return 1;
        }
        if (useOnce(library) != 0)
            return 1;
        unload(library);
        if (isLoaded(arguments[1])) {
            fprintf(stderr, "the library is still loaded after it has been unloaded\n");
            return 1;
        }
    }
    return 0;
}
