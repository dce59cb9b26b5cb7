#pragma once

#include "method_request.h"
#include "mutex.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <unordered_map>

#include <pugixml.hpp>

namespace zel {

/// The open subscriptions by module UUID.
///
/// Each has a mutex of its own, which is held while it is being sent: calls for the same module
/// wait for the module's answer, those for others and erase() do not.
class clSubscriptionTable {
public:
    /// A larger record is quietly cut down to this many elements.
    static constexpr std::uint64_t kLargestBlock = 2'000'000;
    /// Subscriptions may be opened for modules that do not exist: beyond so many the oldest goes.
    static constexpr std::size_t kMostSubscriptions = 4096;

    clSubscriptionTable() : m_entries(8) { m_entries.max_load_factor(1.0F); }

    /// Signals go to the first list of a subscription; opening it again adds another one.
    void open(std::uint64_t uuid);
    /// ZEL_FAILED when it was never opened, ZEL_DAQ_SUBSCRIPTION_STATE when it is sent already.
    std::int32_t addSignal(std::uint64_t uuid, const char* reference, std::uint16_t userSignalId,
                           std::uint64_t blockSize);
    /// Sends the subscription and empties it, whatever the result; it must be opened again.
    std::int32_t finish(const RemoteModule& module, std::uint64_t startTime);
    /// Ends what the module sends and forgets the subscription, whatever the result.
    std::int32_t clear(const RemoteModule& module);
    /// Unknown modules are ignored. Does not wait for one that is being sent.
    void erase(std::uint64_t uuid);

private:
    struct Entry {
        explicit Entry(std::uint64_t number) : openedAs(number) {}

        const std::uint64_t openedAs;

        // any thread, under its mutex
        Mutex mutex;
        pugi::xml_document document; // under construction; empty once it has been sent
        std::uint32_t signalCount = 0;
    };

    struct Emptied;

    std::shared_ptr<Entry> find(std::uint64_t uuid);
    std::shared_ptr<Entry> findOrAdd(std::uint64_t uuid);
    void forgetLocked(std::uint64_t uuid);

    // any thread, under m_mutex, which is a leaf; whoever uses an entry shares it
    std::unordered_map<std::uint64_t, std::shared_ptr<Entry>> m_entries;
    std::map<std::uint64_t, std::uint64_t> m_byAge; // the UUIDs, in the order of opening
    std::uint64_t m_opened = 0;
    Mutex m_mutex;
};

} // namespace zel
