#include "subscription.h"

#include "module_model.h"

#include <algorithm>
#include <utility>

namespace zel::simulator {

Subscription::Subscription(std::uint64_t start, std::vector<SignalStream> streams,
                           std::uint64_t version)
    : m_start(start), m_streams(std::move(streams)), m_version(version)
{
}

std::uint64_t Subscription::sinceStart(std::uint64_t time) const
{
    return time > m_start ? time - m_start : 0;
}

Subscription::Block Subscription::fetch(const ModuleModel& model, const Window& window,
                                        std::size_t mostBytes)
{
    const std::uint64_t version = model.parameters.version();
    const bool isReconfigured = std::exchange(m_version, version) != version;
    for (SignalStream& stream : m_streams)
        stream.look(model, isReconfigured);

    Block block;
    if (window.until < m_start)
        return block;
    drop(window.keptFrom);
    const std::uint64_t until = window.until - m_start;
    block.bytes.resize(sizeReady(until, mostBytes));
    const MutableBytes room{reinterpret_cast<std::byte*>(block.bytes.data()), block.bytes.size()};
    std::size_t used = 0;
    SignalStream* stream = oldestReady(until);
    block.isTooSmall = stream != nullptr && stream->smallestRecord() > mostBytes;
    for (; stream != nullptr; stream = oldestReady(until)) {
        const std::size_t size =
            stream->writeRecord(m_start, stream->countUntil(until), room.subspan(used));
        if (size == 0)
            break;
        used += size;
    }
    block.bytes.resize(used);
    return block;
}

std::optional<SignalPlace> Subscription::overrunSignal(std::uint64_t keptFrom) const
{
    if (m_overrun)
        return m_overrun;
    const auto found = std::ranges::find_if(m_streams, [&](const SignalStream& stream) {
        return stream.nextTime() < sinceStart(keptFrom);
    });
    return found == m_streams.end() ? std::nullopt : std::optional{found->place()};
}

void Subscription::drop(std::uint64_t keptFrom)
{
    for (SignalStream& stream : m_streams)
        if (stream.dropBefore(sinceStart(keptFrom)) && !m_overrun)
            m_overrun = stream.place();
}

/// The stream whose next sample is the oldest of all.
SignalStream* Subscription::oldestReady(std::uint64_t until)
{
    const auto oldest = std::ranges::min_element(m_streams, {}, &SignalStream::nextTime);
    return oldest != m_streams.end() && oldest->nextTime() <= until ? &*oldest : nullptr;
}

std::size_t Subscription::sizeReady(std::uint64_t until, std::size_t most) const
{
    std::size_t size = 0;
    for (const SignalStream& stream : m_streams)
        size += stream.sizeOf(std::min<std::uint64_t>(stream.countUntil(until), most));
    return std::min(size, most);
}

} // namespace zel::simulator
