#pragma once

#include <new>
#include <utility>

namespace zel {

/// Holds a process-wide object that is constructed on first use and never destroyed: threads of the
/// host may still call in while the process ends and static destructors already run.
template <class T>
class ProcessWide {
public:
    template <class... Args>
    explicit ProcessWide(Args&&... args)
    {
        new (m_storage) T(std::forward<Args>(args)...);
    }
    ProcessWide(const ProcessWide&) = delete;
    ProcessWide& operator=(const ProcessWide&) = delete;

    T& operator*() { return *std::launder(reinterpret_cast<T*>(m_storage)); }
    T* operator->() { return &**this; }

private:
    alignas(T) unsigned char m_storage[sizeof(T)];
};

} // namespace zel
