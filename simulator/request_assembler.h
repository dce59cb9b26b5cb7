#pragma once

#include "byte_cursor.h"

#include <cstdint>
#include <map>
#include <string>

namespace zel::simulator {

/// Who asked, and under which label: what tells one transaction on a connection from another.
struct TransactionKey {
    std::uint64_t requestor = 0;
    std::uint16_t label = 0;

    auto operator<=>(const TransactionKey&) const = default;
};

/// Puts requests that arrive in segments together. Lengths are the host's claims: memory grows
/// with what really arrives, and a piece beyond the announced total ends the request.
class RequestAssembler {
public:
    explicit RequestAssembler(std::size_t largestRequest) : m_largest(largestRequest) {}

    /// Returns whether the announcement is accepted, so that the host may go on.
    bool announce(TransactionKey key, Bytes payload);

    enum class Progress { refused, expectsMore, whole };
    Progress add(TransactionKey key, Bytes piece);

    /// The request that became whole.
    std::string take(TransactionKey key);

private:
    struct Partial {
        std::size_t total = 0;
        std::string bytes;
    };

    const std::size_t m_largest;
    std::map<TransactionKey, Partial> m_partials;
};

} // namespace zel::simulator
