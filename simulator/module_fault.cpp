#include "module_fault.h"

#include "frame.h"
#include "transaction_header.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zel::simulator {

namespace {

constexpr std::array<std::pair<FaultKind, std::string_view>, 25> kNames{{
    {FaultKind::silence, "silence"},
    {FaultKind::delay, "delay"},
    {FaultKind::disconnectMidTelegram, "disconnect"},
    {FaultKind::reset, "reset"},
    {FaultKind::byteByByte, "byte-by-byte"},
    {FaultKind::wrongStart, "wrong-start"},
    {FaultKind::wrongHeaderLength, "wrong-header-length"},
    {FaultKind::wrongTelegramType, "wrong-telegram-type"},
    {FaultKind::wrongTrailer, "wrong-trailer"},
    {FaultKind::wrongSource, "wrong-source"},
    {FaultKind::wrongTransactionType, "wrong-transaction-type"},
    {FaultKind::wrongLabel, "wrong-label"},
    {FaultKind::wrongDestination, "wrong-destination"},
    {FaultKind::wrongService, "wrong-service"},
    {FaultKind::wrongMethod, "wrong-method"},
    {FaultKind::cutTransaction, "cut-transaction"},
    {FaultKind::cutAnswer, "cut-answer"},
    {FaultKind::wrongPendingLength, "wrong-pending-length"},
    {FaultKind::pendingOnly, "pending-only"},
    {FaultKind::pendingTwice, "pending-twice"},
    {FaultKind::segmentsUnannounced, "segments-unannounced"},
    {FaultKind::wrongSegmentLength, "wrong-segment-length"},
    {FaultKind::oversizedSegment, "oversized-segment"},
    {FaultKind::shortSegments, "short-segments"},
    {FaultKind::stopReading, "stop-reading"},
}};

constexpr std::size_t kTypeAt = 5;
constexpr std::size_t kSourceAt = 8;
constexpr std::size_t kTransactionTypeAt = kFrameHeaderSize;
constexpr std::size_t kLabelAt = kTransactionTypeAt + 2;
constexpr std::size_t kDestinationAt = kLabelAt + 2;

/// Shortens the payload and keeps the frame in order around it.
void cutPayload(std::vector<std::byte>& telegram, std::size_t size)
{
    if (telegram.size() < kFrameHeaderSize + kFrameTrailerSize + size)
        return;
    telegram.resize(kFrameHeaderSize + size);
    ByteWriter{MutableBytes{telegram}.subspan(6, 2)}.u16(size);
    const auto trailer = encodeFrameTrailer();
    telegram.insert(telegram.end(), trailer.begin(), trailer.end());
}

} // namespace

std::string_view faultName(FaultKind kind)
{
    const auto found = std::find_if(kNames.begin(), kNames.end(),
                                    [kind](const auto& entry) { return entry.first == kind; });
    return found == kNames.end() ? "unknown" : found->second;
}

std::optional<FaultKind> faultNamed(std::string_view name)
{
    const auto found = std::find_if(kNames.begin(), kNames.end(),
                                    [name](const auto& entry) { return entry.second == name; });
    return found == kNames.end() ? std::nullopt : std::optional{found->first};
}

std::vector<std::string_view> faultNames()
{
    std::vector<std::string_view> names;
    for (const auto& entry : kNames)
        names.push_back(entry.second);
    return names;
}

void FaultPlan::add(const Fault& fault)
{
    using Clock = std::chrono::steady_clock;
    const auto until =
        fault.lasting > milliseconds{0} ? Clock::now() + fault.lasting : Clock::time_point::max();
    const std::lock_guard lock{m_mutex};
    m_entries.push_back({fault, until, fault.count});
}

void FaultPlan::clear()
{
    const std::lock_guard lock{m_mutex};
    m_entries.clear();
}

std::optional<Fault> FaultPlan::strike(MethodId id)
{
    return take([id](const Fault& fault) {
        return !fault.onAddressResolution && (!fault.method || *fault.method == id);
    });
}

std::optional<Fault> FaultPlan::strikeAddressResolution()
{
    return take([](const Fault& fault) { return fault.onAddressResolution; });
}

bool FaultPlan::isReadingStopped()
{
    const std::lock_guard lock{m_mutex};
    dropExpired();
    return std::any_of(m_entries.begin(), m_entries.end(), [](const Entry& entry) {
        return entry.fault.kind == FaultKind::stopReading;
    });
}

template <class Matches>
std::optional<Fault> FaultPlan::take(Matches matches)
{
    const std::lock_guard lock{m_mutex};
    dropExpired();
    const auto found = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& entry) {
        return entry.fault.kind != FaultKind::stopReading && matches(entry.fault);
    });
    if (found == m_entries.end())
        return std::nullopt;
    const Fault fault = found->fault;
    if (fault.count != 0 && --found->left == 0)
        m_entries.erase(found);
    return fault;
}

void FaultPlan::dropExpired()
{
    const auto now = std::chrono::steady_clock::now();
    std::erase_if(m_entries, [now](const Entry& entry) { return entry.until <= now; });
}

void distort(std::vector<std::byte>& telegram, const Fault& fault)
{
    const auto flip = [&telegram](std::size_t position) {
        if (position < telegram.size())
            telegram[position] ^= std::byte{0xFF};
    };
    switch (fault.kind) {
    case FaultKind::wrongStart:
        return flip(0);
    case FaultKind::wrongHeaderLength:
        return flip(4);
    case FaultKind::wrongTelegramType:
        return flip(kTypeAt);
    case FaultKind::wrongSource:
        return flip(kSourceAt + 7);
    case FaultKind::wrongTransactionType:
        return flip(kTransactionTypeAt + 1);
    case FaultKind::wrongLabel:
        return flip(kLabelAt + 1);
    case FaultKind::wrongDestination:
        return flip(kDestinationAt + 7);
    case FaultKind::cutTransaction:
        return cutPayload(telegram, 5);
    case FaultKind::cutAnswer:
        return cutPayload(telegram, TransactionHeader::kSize + 3);
    case FaultKind::wrongTrailer:
        return flip(telegram.size() - 1);
    default:
        return;
    }
}

} // namespace zel::simulator
