#include "float32_sink.h"

#include "batch_parts.h"
#include "ZEL_VR_Framework.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace zel::acquisition {

namespace {

static_assert(std::endian::native == std::endian::little);

constexpr std::uint64_t kLongestWait = 600'000'000;
constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();
constexpr std::uint64_t kCaughtUp = 300'000'000;
// A clock that is so far off is not on the host's time; rows would be filled with NaN until there.
constexpr std::uint64_t kFurthest = 3'600'000'000'000;
constexpr std::uint64_t kLongestGap = std::uint64_t{1} << 40U;
constexpr std::int64_t kPiece = 1 << 18;

/// The one that all signals have.
std::uint64_t rateOfAll(const Setup& setup)
{
    if (setup.signals.empty())
        throw SinkFailure("there is no signal to be written as f32");
    const SignalInfo& first = setup.signals.front();
    for (const SignalInfo& signal : setup.signals) {
        if (!signal.isEven || signal.rate == 0)
            throw SinkFailure("f32 has no times, and " + signal.reference +
                              " is not sampled evenly; csv and jsonl take it");
        if (signal.rate != first.rate)
            throw SinkFailure("f32 takes signals of one rate: " + first.reference + " has " +
                              rateText(first.rate) + " Hz, " + signal.reference + " " +
                              rateText(signal.rate) + " Hz");
    }
    if (setup.modules.size() > 1 && !setup.isOnHostTime)
        throw SinkFailure("f32 has no times, and the modules' clocks differ: several of them need "
                          "to be put on the host's time");
    return first.rate;
}

template <class T>
float asFloat(T value)
{
    return isNoValue(value) ? std::numeric_limits<float>::quiet_NaN() : static_cast<float>(value);
}

std::int64_t rowsIn(std::uint64_t from, std::uint64_t to, std::uint64_t rate)
{
    return to >= from ? std::llround(samplesIn(to - from, rate))
                      : -std::llround(samplesIn(from - to, rate));
}

} // namespace

Float32Sink::Float32Sink(const Setup& setup, const Options& options)
    : m_setup(setup),
      m_memory(options.memory),
      m_isFromFile(options.isFromFile),
      m_leftOut(options.leftOut),
      m_rate(rateOfAll(setup)),
      m_output(options.target, setup.signals.size() * sizeof(float)),
      m_tracks(setup.signals.size())
{
    m_output.file().clear();
}

bool Float32Sink::write(const Batch& batch)
{
    m_time.called();
    if (!writeRows())
        return false;
    m_time.pass(batch.receivedAt);
    for (const BatchPart& part : partsOf(batch)) {
        if (part.gap != nullptr)
            take(*part.gap);
        else if (part.chunk->count > 0)
            take(batch, *part.chunk);
    }
    release();
    writeRows(); // what finds no room comes first the next time
    return true;
}

bool Float32Sink::flush()
{
    m_time.idle();
    release();
    return writeRows();
}

/// With a signal's first sample it is known which row that belongs to.
void Float32Sink::place(std::size_t signal, std::uint64_t index, std::uint64_t time)
{
    Track& track = m_tracks[signal];
    if (track.hasBegun)
        return;
    std::int64_t latest = 0;
    if (!m_hasOrigin) {
        m_hasOrigin = true;
        m_origin = time;
    }
    for (const Track& other : m_tracks)
        latest = std::max(latest, other.next);
    const std::int64_t row = rowsIn(m_origin, time, m_rate);
    if (std::abs(row - latest) > rowsIn(0, kFurthest, m_rate))
        throw SinkFailure(m_setup.signals[signal].reference +
                          " begins hours before or after the others: f32 cannot hold that");
    track.hasBegun = true;
    track.shift = row - static_cast<std::int64_t>(index);
    track.next = row;
    m_first = std::min(m_first, row);
}

void Float32Sink::take(const Gap& gap)
{
    if (gap.count > kLongestGap)
        throw SinkFailure("a gap of " + std::to_string(gap.count) +
                          " samples is more than f32 can hold");
    place(gap.signal, gap.index, gap.begin);
    Track& track = m_tracks[gap.signal];
    track.next =
        std::max(track.next, static_cast<std::int64_t>(gap.index + gap.count) + track.shift);
    catchUp(track);
}

void Float32Sink::take(const Batch& batch, const Chunk& chunk)
{
    place(chunk.signal, chunk.index, batch.timeOf(chunk, 0));
    Track& track = m_tracks[chunk.signal];
    const std::int64_t row = static_cast<std::int64_t>(chunk.index) + track.shift;
    const std::int64_t end = row + static_cast<std::int64_t>(chunk.count);
    const std::int64_t from =
        std::clamp(m_hasRows ? std::max(m_row, track.next) : track.next, row, end);
    track.next = std::max(track.next, end);
    catchUp(track);
    const auto leftOut = static_cast<std::size_t>(from - row);
    if (m_leftOut)
        *m_leftOut += leftOut;
    if (from == end)
        return;
    Piece& piece = track.pieces.emplace_back();
    piece.row = from;
    piece.arrival = m_time.now();
    withValueType(m_setup.signals[chunk.signal].type, [&]<class T>() {
        const auto values = batch.valuesOf<T>(chunk).subspan(leftOut);
        piece.values.resize(values.size());
        std::ranges::transform(values, piece.values.begin(), asFloat<T>);
    });
}

/// One that was late and is not far behind any more is waited for again.
void Float32Sink::catchUp(Track& track)
{
    const std::int64_t others = readyUntil();
    if (track.isLate && (others == kNever || track.next + rowsIn(0, kCaughtUp, m_rate) >= others))
        track.isLate = false;
}

/// Rows before this one lack no sample that anybody waits for.
std::int64_t Float32Sink::readyUntil() const
{
    std::int64_t until = kNever;
    for (const Track& track : m_tracks)
        if (!track.isLate)
            until = std::min(until, track.hasBegun ? track.next : -kNever);
    return until;
}

void Float32Sink::makeOldLate()
{
    std::int64_t until = -kNever;
    for (const Track& track : m_tracks) {
        for (const Piece& piece : track.pieces) {
            if (m_isFromFile || piece.arrival + kLongestWait > m_time.now())
                break;
            until = std::max(until, piece.end());
        }
    }
    for (Track& track : m_tracks)
        track.isLate =
            track.isLate || (until != -kNever && (!track.hasBegun || track.next < until));
}

void Float32Sink::release()
{
    makeReady(readyUntil());
    makeOldLate();
    makeReady(readyUntil());
    while (waiting() > m_memory && readyUntil() != kNever) {
        const std::int64_t slowest = readyUntil();
        for (Track& track : m_tracks)
            track.isLate = track.isLate || !track.hasBegun || track.next == slowest;
        makeReady(readyUntil());
    }
}

/// Bytes of values whose rows are not complete.
std::size_t Float32Sink::waiting() const
{
    std::size_t samples = 0;
    for (const Track& track : m_tracks)
        for (const Piece& piece : track.pieces)
            if (!m_hasRows || piece.end() > m_ready)
                samples += piece.values.size();
    return samples * sizeof(float);
}

/// `until`: a row, or kNever for all there are.
void Float32Sink::makeReady(std::int64_t until)
{
    if (until == kNever) {
        until = -kNever;
        for (const Track& track : m_tracks)
            until = std::max(until, track.hasBegun ? track.next : -kNever);
    }
    if (until <= m_first)
        return;
    if (!m_hasRows)
        m_row = m_first;
    m_hasRows = true;
    m_ready = std::max(m_ready, until);
}

bool Float32Sink::writeRows()
{
    for (;;) {
        if (!m_output.write())
            return false;
        if (!m_hasRows || m_row >= m_ready)
            return true;
        const auto size = static_cast<std::int64_t>(m_tracks.size() * sizeof(float));
        addRows(std::min(m_ready - m_row, kPiece / size + 1));
    }
}

void Float32Sink::addRows(std::int64_t count)
{
    const std::size_t columns = m_tracks.size();
    const std::size_t cells = static_cast<std::size_t>(count) * columns;
    char* const rows = m_output.waiting().room(cells * sizeof(float));
    const auto put = [rows](std::size_t cell, float value) {
        std::memcpy(rows + cell * sizeof value, &value, sizeof value);
    };
    for (std::size_t i = 0; i < cells; ++i)
        put(i, std::numeric_limits<float>::quiet_NaN());
    const std::int64_t end = m_row + count;
    for (std::size_t i = 0; i < columns; ++i) {
        auto& pieces = m_tracks[i].pieces;
        while (!pieces.empty() && pieces.front().row < end) {
            Piece& piece = pieces.front();
            const auto row = static_cast<std::size_t>(piece.row - m_row);
            const auto used = static_cast<std::size_t>(std::min(piece.end(), end) - piece.row);
            for (std::size_t j = 0; j < used; ++j)
                put((row + j) * columns + i, piece.values[piece.used + j]);
            piece.used += used;
            piece.row += static_cast<std::int64_t>(used);
            if (piece.used == piece.values.size())
                pieces.pop_front();
        }
    }
    m_output.waiting().end(rows + cells * sizeof(float));
    m_row = end;
}

void Float32Sink::finish(const std::string&)
{
    makeReady(kNever);
    const bool isAll = writeRows();
    m_output.finish();
    if (!isAll) // room came too late
        throw SinkFailure("could not write to " + name() + ": the disk was full");
}

} // namespace zel::acquisition
