#pragma once

#include "method_request.h"

#include <cstdint>
#include <mutex>
#include <unordered_map>

#include <pugixml.hpp>

namespace zel {

/// The open subscriptions by module UUID. One lock for all of them, also while a finished one is
/// being sent.
class SubscriptionTable {
public:
    /// A larger record is quietly cut down to this many elements.
    static constexpr std::uint64_t kLargestBlock = 2'000'000;

    SubscriptionTable() : m_entries(8) { m_entries.max_load_factor(1.0F); }

    /// Signals go to the first list of a subscription; opening it again adds another one.
    void open(std::uint64_t uuid);
    /// ZEL_FAILED when it was never opened, ZEL_DAQ_SUBSCRIPTION_STATE when it is sent already.
    std::int32_t addSignal(std::uint64_t uuid, const char* reference, std::uint16_t userSignalId,
                           std::uint64_t blockSize);
    /// Sends the subscription and empties it, whatever the result; it must be opened again.
    std::int32_t finish(std::uint64_t uuid, std::uint64_t startTime, const RequestPath& requests);
    /// Ends what the module sends and forgets the subscription, whatever the result.
    std::int32_t clear(std::uint64_t uuid, const RequestPath& requests);
    /// Unknown modules are ignored.
    void erase(std::uint64_t uuid);

private:
    struct Entry {
        pugi::xml_document document; // under construction; empty once it has been sent
        std::uint32_t signalCount = 0;
    };

    // any thread, under m_mutex
    std::unordered_map<std::uint64_t, Entry> m_entries;
    std::mutex m_mutex;
};

} // namespace zel
