#include "library.h"
#include "ZEL_VR_Framework.h"

#include <new>

#include <semaphore.h>

extern "C" int __cxa_atexit(void (*function)(void*), void* argument, void* library) noexcept;

namespace zel {

namespace {

// The end of the process looks to the destructor below like dlclose. What is registered for the end
// of the process must not be in here, which may be unmapped by then: it is a function of the C
// library, on memory that is never freed.
sem_t* g_processEnds = nullptr;

[[gnu::constructor]] void watchForTheEnd()
{
    auto* const ends = new (std::nothrow) sem_t;
    if (ends == nullptr || sem_init(ends, 0, 0) != 0)
        return;
    const auto post = reinterpret_cast<void (*)(void*)>(reinterpret_cast<void (*)()>(&sem_post));
    if (__cxa_atexit(post, ends, nullptr) == 0)
        g_processEnds = ends;
}

bool isProcessEnding()
{
    int posts = 0;
    return g_processEnds != nullptr && sem_getvalue(g_processEnds, &posts) == 0 && posts > 0;
}

// At the end of the process other threads of the host may be inside calls: nothing is taken away
// from them, as on Windows.
[[gnu::destructor]] void unloadLibrary()
{
    if (isProcessEnding())
        abandonLibrary();
    else
        ZEL_Unload();
}

} // namespace

} // namespace zel
