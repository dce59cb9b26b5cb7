#pragma once

#include "process_generation.h"

#include <atomic>
#include <cstddef>
#include <new>
#include <thread>

namespace zel {

/// What a forked child has of an object: one of its own, made on its first use, or its parent's,
/// which only does for what never changes and has no lock.
enum class InChild { madeAnew, kept };

/// Holds a process-wide object that is made on first use and never destroyed: threads of the host
/// may still call in while the process ends and static destructors already run. A child's first use
/// never waits for what another thread of its parent held or was making at the fork.
///
/// To be defined static: it needs no code to be constructed.
template <class T, InChild inChild = InChild::madeAnew>
class ProcessWide {
public:
    constexpr ProcessWide() noexcept = default;
    ProcessWide(const ProcessWide&) = delete;
    ProcessWide& operator=(const ProcessWide&) = delete;

    T& operator*()
    {
        return get([] { return T(); });
    }
    T* operator->() { return &**this; }

    /// Made by `make` where it is not there yet.
    template <class Make>
    T& get(Make&& make)
    {
        for (;;) {
            if (T* const made = ifMade())
                return *made;
            const std::uint32_t now = processGeneration();
            std::uint32_t maker = m_maker.load();
            if (maker == now)
                std::this_thread::yield();
            else if (m_maker.compare_exchange_weak(maker, now))
                makeNow(make, maker);
        }
    }

    /// Null where this process has not used it yet.
    T* ifMade()
    {
        Made* const made = m_made.load(std::memory_order_acquire);
        const bool isOurs =
            made && (inChild == InChild::kept || made->generation == processGeneration());
        return isOurs ? &made->value : nullptr;
    }

private:
    struct Made {
        template <class Make>
        Made(Make& make, Made* parents)
            : value(make()), generation(processGeneration()), before(parents)
        {
        }
        T value;
        const std::uint32_t generation;
        Made* const before; // the parent's, which nobody can take apart
    };

    template <class Make>
    void makeNow(Make& make, std::uint32_t makerBefore)
    {
        try {
            Made* const parents = m_made.load();
            m_made.store(parents ? new Made(make, parents) : new (m_room) Made(make, parents),
                         std::memory_order_release);
        } catch (...) {
            m_maker.store(makerBefore);
            throw;
        }
    }

    alignas(Made) std::byte m_room[sizeof(Made)] = {};
    std::atomic<Made*> m_made{nullptr};
    std::atomic<std::uint32_t> m_maker{0}; // the generation that has made, or is making, the newest
};

} // namespace zel
