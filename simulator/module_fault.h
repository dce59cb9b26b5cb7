#pragma once

#include "method_call.h"

#include <cstddef>
#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

namespace zel::simulator {

/// What a module can do wrong on purpose. Kinds that concern one telegram distort the answer; in
/// an answer of segments that is the telegram that opens it, unless the kind names segments.
enum class FaultKind {
    silence,               ///< the request is taken and never answered
    delay,                 ///< the answer comes `time` late, unannounced
    disconnectMidTelegram, ///< half of the answer's telegram, then the connection ends
    reset,                 ///< the connection is reset instead of an answer
    byteByByte,            ///< every byte on its own, `time` apart
    wrongStart,
    wrongHeaderLength,
    wrongTelegramType,
    wrongTrailer,
    wrongSource,
    wrongTransactionType,
    wrongLabel,
    wrongDestination,
    wrongService,
    wrongMethod,
    cutTransaction,      ///< a telegram shorter than the transaction header
    cutAnswer,           ///< an answer shorter than its header
    wrongPendingLength,  ///< RESP_PEND of 2 bytes, no answer
    pendingOnly,         ///< RESP_PEND that asks for `time`, no answer
    pendingTwice,        ///< two RESP_PEND, then the answer
    segmentsUnannounced, ///< RESP_SEG_INI without the RESP_PEND before it
    wrongSegmentLength,  ///< RESP_SEG_INI of 2 bytes
    oversizedSegment,    ///< a last segment one byte too long; the right one follows after `time`
    shortSegments,       ///< segments of `size` bytes
    stopReading,         ///< nothing more is read, on any connection, until the fault is gone
};

/// The name on the command line and in scripts, such as "wrong-trailer".
std::string_view faultName(FaultKind kind);
std::optional<FaultKind> faultNamed(std::string_view name);
std::vector<std::string_view> faultNames();

struct Fault {
    FaultKind kind = FaultKind::silence;
    std::optional<MethodId> method;   ///< without it every method
    bool onAddressResolution = false; ///< strikes the address exchange instead of methods
    unsigned count = 0;               ///< requests that it strikes; 0 has no end
    milliseconds lasting{0};          ///< how long it is on from now; 0 has no end
    milliseconds time{0};
    std::size_t size = 100;
};

/// The faults that are switched on. All functions may be called from any thread.
class FaultPlan {
public:
    void add(const Fault& fault);
    void clear();

    /// The fault that strikes this request, which it uses up when it counts requests.
    std::optional<Fault> strike(MethodId id);
    std::optional<Fault> strikeAddressResolution();
    bool isReadingStopped();

private:
    struct Entry {
        Fault fault;
        std::chrono::steady_clock::time_point until;
        unsigned left;
    };

    template <class Matches>
    std::optional<Fault> take(Matches matches);
    void dropExpired();

    std::mutex m_mutex;
    std::vector<Entry> m_entries; // under m_mutex
};

/// Makes a finished telegram wrong in the way that the fault asks for; leaves it alone when the
/// fault does not concern the bytes of a telegram.
void distort(std::vector<std::byte>& telegram, const Fault& fault);

} // namespace zel::simulator
