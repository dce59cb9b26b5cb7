#include "block_decoder.h"

#include <algorithm>
#include <numeric>

namespace zel::acquisition {

namespace {

std::size_t aligned(std::size_t position)
{
    return (position + 7) / 8 * 8;
}

} // namespace

BlockDecoder::BlockDecoder(const Setup& setup, std::size_t module, std::vector<std::size_t> signals)
    : m_setup(setup), m_module(module)
{
    for (const std::size_t signal : signals)
        m_tracks.push_back({SignalTracker{signal}, signal, setup.signals[signal].rate});
}

void BlockDecoder::interrupt(Cause cause)
{
    for (Track& track : m_tracks)
        track.tracker.interrupt(cause);
}

void BlockDecoder::restart(std::uint64_t away)
{
    for (Track& track : m_tracks)
        track.tracker.restart(away);
}

bool BlockDecoder::hasBegun() const
{
    return std::ranges::any_of(m_tracks,
                               [](const Track& track) { return track.tracker.hasBegun(); });
}

std::uint64_t BlockDecoder::nextTime() const
{
    std::uint64_t next = 0;
    for (const Track& track : m_tracks)
        if (m_setup.signals[track.signal].isEven)
            next = std::max(next, track.tracker.nextTime());
    return next;
}

std::uint64_t BlockDecoder::commonTime(std::uint64_t from) const
{
    // In steps of what all rates have in common: 1200 Hz and 100 Hz meet each 10 ms.
    constexpr std::uint64_t kLongest = 1'000'000'000;
    std::uint64_t common = 0;
    const Track* first = nullptr;
    for (const Track& track : m_tracks) {
        if (!m_setup.signals[track.signal].isEven || !track.tracker.hasBegun())
            continue;
        common = std::gcd(common, track.rate);
        first = first ? first : &track;
    }
    if (!first || common == 0)
        return 0;
    const TimeLine& line = first->tracker.line();
    const TimeLine steps{0, line.first, common};
    if (steps.at(1) - steps.first > kLongest || from < line.first)
        return 0;
    auto step = static_cast<std::uint64_t>(static_cast<double>(from - line.first) *
                                           static_cast<double>(common) / 1e12);
    while (steps.at(step) < from)
        ++step;
    return steps.at(step);
}

Batch BlockDecoder::decode(const Block& block, const Arrival& arrival)
{
    Batch batch;
    batch.module = m_module;
    batch.receivedAt = arrival.time;
    const std::uint64_t cutBefore = m_cutBlocks;
    findRecords(block);
    batch.bytes.resize(place());
    for (const Record& record : m_records)
        take(record, m_tracks[record.signalId() - 1U], arrival, batch);
    if (m_cutBlocks != cutBefore)
        interrupt(Cause::cut);
    return batch;
}

void BlockDecoder::findRecords(const Block& block)
{
    m_records.clear();
    for (Track& track : m_tracks) {
        track.count = 0;
        track.hasChunk = false;
    }
    try {
        for (const Record& record : block) {
            const std::size_t id = record.signalId();
            if (id == 0 || id > m_tracks.size() || record.count() == 0)
                continue;
            m_records.push_back(record);
            m_tracks[id - 1].count += record.count();
        }
    } catch (const Error&) {
        ++m_cutBlocks;
    }
}

/// Gives each signal a place for what the block has of it, and the size of all.
std::size_t BlockDecoder::place()
{
    std::size_t size = 0;
    for (Track& track : m_tracks) {
        const SignalInfo& signal = m_setup.signals[track.signal];
        track.values = size;
        size = aligned(size + track.count * sizeOf(signal.type));
        track.times = size;
        size += signal.isEven ? 0 : track.count * sizeof(std::uint64_t);
    }
    return size;
}

bool BlockDecoder::isAsAgreed(const Record& record, const SignalInfo& signal) const
{
    return record.isTimed() != signal.isEven &&
           withValueType(signal.type, [&]<class T>() { return record.holds<T>(); });
}

void BlockDecoder::take(const Record& record, Track& track, const Arrival& arrival, Batch& batch)
{
    const SignalInfo& signal = m_setup.signals[track.signal];
    const std::uint64_t count = record.count();
    SignalTracker::Place place;
    if (signal.isEven) {
        if (record.millihertz() != 0)
            track.rate = record.millihertz();
        if (track.rate == 0) // nobody can tell what it is worth
            return interrupt(Cause::changed);
        m_origin = m_origin != 0 ? m_origin : record.timeStamp();
        place = track.tracker.placeEven(record.timeStamp(), track.rate, count, arrival.mostMissing,
                                        m_origin);
    } else {
        m_times.resize(count);
        record.copyTimes(m_times, track.rate);
        place = track.tracker.placeTimed(m_times.front(), m_times.back(), count);
    }
    if (place.before) {
        batch.gaps.push_back(*place.before);
        track.hasChunk = false;
    }
    if (!isAsAgreed(record, signal)) {
        batch.gaps.push_back({track.signal, place.index, count, record.timeStamp(),
                              track.tracker.nextTime(), Cause::changed});
        track.hasChunk = false;
        return;
    }
    if (!track.hasChunk || batch.chunks[track.chunk].line != place.line) {
        track.hasChunk = true;
        track.chunk = batch.chunks.size();
        batch.chunks.push_back(
            {track.signal, place.index, 0, place.line, track.values, track.times});
    }
    convert(record, track, batch);
    batch.chunks[track.chunk].count += count;
}

void BlockDecoder::convert(const Record& record, Track& track, Batch& batch) const
{
    const SignalInfo& signal = m_setup.signals[track.signal];
    withValueType(signal.type, [&]<class T>() {
        record.copyValues(std::span<T>{reinterpret_cast<T*>(batch.bytes.data() + track.values),
                                       record.count()});
    });
    track.values += record.count() * sizeOf(signal.type);
    if (!signal.isEven) {
        std::memcpy(batch.bytes.data() + track.times, m_times.data(),
                    m_times.size() * sizeof(std::uint64_t));
        track.times += m_times.size() * sizeof(std::uint64_t);
    }
}

} // namespace zel::acquisition
