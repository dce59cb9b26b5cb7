#include "library.h"
#include "ZEL_VR_Framework.h"

#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID reserved)
{
    if (reason == DLL_PROCESS_DETACH) {
        // At the end of the process the other threads are gone: there is nobody to wait for.
        if (reserved == nullptr)
            ZEL_Unload();
        else
            zel::abandonLibrary();
    }
    return TRUE;
}
