#include "csv_table.h"

#include "csv_lines.h"

#include <algorithm>
#include <cstring>

namespace zel::acquisition {

namespace {

constexpr std::uint64_t kMillisecond = 1'000'000;
constexpr std::uint64_t kSecond = 1000 * kMillisecond;

/// Rows leave within a second, also when a signal does not come.
constexpr std::uint64_t kLongestWait = 600 * kMillisecond;
/// A late signal that is no further behind is waited for again.
constexpr std::uint64_t kCaughtUp = 300 * kMillisecond;
/// How long rows wait for modules of which nobody knows when they have something.
constexpr std::uint64_t kHold = 300 * kMillisecond;

/// Two equal times that are both rounded down are at most this far apart.
constexpr std::uint64_t kRounding = 2;

constexpr std::uint64_t kLatest = std::numeric_limits<std::uint64_t>::max() - 2 * kRounding;
constexpr std::size_t kPiece = 1U << 18U;
constexpr std::size_t kMostNotes = 10'000;

template <class T>
T at(const std::byte* bytes, std::size_t position)
{
    T value;
    std::memcpy(&value, bytes + position * sizeof(T), sizeof(T));
    return value;
}

char* putTyped(char* place, ValueType type, const std::byte* values, std::size_t position)
{
    return withValueType(type, [&]<class T>() { return putValue(place, at<T>(values, position)); });
}

} // namespace

std::uint64_t CsvTable::Piece::time(std::size_t sample) const
{
    return std::min(times != nullptr ? at<std::uint64_t>(times, sample) : line.at(index + sample),
                    kLatest);
}

CsvTable::CsvTable(const Setup& setup, std::vector<std::size_t> signals, const OutputTarget& target,
                   std::size_t memory, bool isFromFile)
    : m_setup(setup),
      m_signals(std::move(signals)),
      m_memory(memory),
      m_isFromFile(isFromFile),
      m_output(target),
      m_text(m_output.waiting()),
      m_tracks(m_signals.size()),
      m_due(m_signals.size(), kEverything),
      m_trackOf(setup.signals.size(), kNoTrack)
{
    std::set<std::size_t> evenModules;
    for (std::size_t i = 0; i < m_signals.size(); ++i) {
        const SignalInfo& signal = setup.signals[m_signals[i]];
        m_trackOf[m_signals[i]] = i;
        m_tracks[i].signal = m_signals[i];
        m_tracks[i].type = signal.type;
        m_tracks[i].isEven = signal.isEven;
        m_tolerance.push_back(signal.isEven ? kRounding : 0);
        m_modules.insert(signal.module);
        if (signal.isEven)
            evenModules.insert(signal.module);
    }
    m_holds = !isFromFile && m_modules.size() > 1 && evenModules.size() < m_modules.size();
}

void CsvTable::take(const Batch& batch, std::uint64_t now)
{
    m_writeAt = kPiece;
    try {
        std::vector<const Chunk*> behind;
        const bool stepsBack = findStepsBack(batch);
        for (const Chunk& chunk : batch.chunks) {
            const std::size_t track = m_trackOf[chunk.signal];
            if (track == kNoTrack || chunk.count == 0)
                continue;
            if (chunk.index >= m_tracks[track].stepsBackAt)
                behind.push_back(&chunk);
            else
                queue(batch, chunk, now);
        }
        if (stepsBack)
            writeModule(batch.module);
        noteGaps(batch);
        if (m_isFromFile)
            noteOldest(batch);
        for (const Chunk* const chunk : behind)
            queue(batch, *chunk, now);
        catchUp(batch);
        noteClock(batch);
        writeReady(now);
        keep();
    } catch (...) {
        forget();
        throw;
    }
}

void CsvTable::releaseOld(std::uint64_t now)
{
    m_writeAt = kPiece;
    writeReady(now);
}

/// What comes behind a step back of the clock cannot be put in order with what came before.
bool CsvTable::findStepsBack(const Batch& batch)
{
    bool stepsBack = false;
    for (const Gap& gap : batch.gaps)
        if (m_trackOf[gap.signal] != kNoTrack)
            m_tracks[m_trackOf[gap.signal]].stepsBackAt = kEverything;
    for (const Gap& gap : batch.gaps) {
        if (m_trackOf[gap.signal] == kNoTrack || gap.end >= gap.begin)
            continue;
        Track& track = m_tracks[m_trackOf[gap.signal]];
        track.stepsBackAt = std::min(track.stepsBackAt, gap.index + gap.count);
        stepsBack = true;
    }
    return stepsBack;
}

void CsvTable::queue(const Batch& batch, const Chunk& chunk, std::uint64_t now)
{
    const std::size_t position = m_trackOf[chunk.signal];
    Track& track = m_tracks[position];
    Piece& piece = track.pieces.emplace_back();
    piece.values = batch.bytes.data() + chunk.values;
    piece.times = chunk.line.rate == 0 ? batch.bytes.data() + chunk.times : nullptr;
    piece.count = chunk.count;
    piece.line = chunk.line;
    piece.index = chunk.index;
    piece.arrival = now;
    count(track, piece);
    if (track.pieces.size() == 1)
        startPiece(position);
    track.nextIndex = chunk.index + chunk.count;
    track.next =
        chunk.line.rate == 0 ? piece.time(chunk.count - 1) + 1 : chunk.line.at(track.nextIndex);
    if (track.isLate && !track.isToldLate && piece.time(0) <= m_latest) {
        track.isToldLate = true;
        ++m_late;
        m_text.add(lateLine(m_setup, track.signal));
    }
}

void CsvTable::count(const Track& track, Piece& piece)
{
    const std::size_t timeSize = piece.times != nullptr ? sizeof(std::uint64_t) : 0;
    m_waiting -= piece.size;
    piece.size = sizeof piece + piece.count * (sizeOf(track.type) + timeSize);
    m_waiting += piece.size;
}

/// Of one module, all that waits, and what belongs before.
void CsvTable::writeModule(std::size_t module)
{
    std::uint64_t newest = 0;
    for (const Track& track : m_tracks)
        if (m_setup.signals[track.signal].module == module && !track.pieces.empty())
            newest = std::max(newest, track.pieces.back().time(track.pieces.back().count - 1));
    if (newest > 0)
        writeUntil(newest + 1);
}

void CsvTable::noteGaps(const Batch& batch)
{
    for (const Gap& gap : batch.gaps) {
        if (m_trackOf[gap.signal] == kNoTrack)
            continue;
        Track& track = m_tracks[m_trackOf[gap.signal]];
        if (gap.index >= track.nextIndex) {
            track.nextIndex = gap.index + gap.count;
            track.next = gap.end;
        }
        m_lost += gap.count;
        if (gap.end >= gap.begin)
            m_notes.insert({gap.begin, gapLine(m_setup, gap)});
        else if (m_hasHeading)
            m_text.add(gapLine(m_setup, gap));
        else
            m_notes.insert({0, gapLine(m_setup, gap)});
    }
}

/// Batches that come out of a file do so in the order of their oldest samples.
void CsvTable::noteOldest(const Batch& batch)
{
    std::uint64_t oldest = kEverything;
    for (const Chunk& chunk : batch.chunks)
        oldest = std::min(oldest, batch.timeOf(chunk, 0));
    if (oldest != kEverything)
        m_oldestToCome = oldest;
}

void CsvTable::noteClock(const Batch& batch)
{
    if (batch.clock && m_modules.contains(batch.clock->module) && m_clocks.isNotable(*batch.clock))
        m_notes.insert({batch.clock->moduleTime, clockLine(m_setup, *batch.clock)});
}

/// Those that were late and are not far behind any more are waited for again.
void CsvTable::catchUp(const Batch& batch)
{
    if (std::ranges::none_of(m_tracks, &Track::isLate))
        return;
    const std::uint64_t others = readyUntil();
    const auto look = [&](std::size_t signal) {
        if (m_trackOf[signal] == kNoTrack)
            return;
        Track& track = m_tracks[m_trackOf[signal]];
        if (others == kEverything || track.next >= others || others - track.next <= kCaughtUp)
            track.isLate = false;
    };
    for (const Chunk& chunk : batch.chunks)
        look(chunk.signal);
    for (const Gap& gap : batch.gaps)
        look(gap.signal);
}

/// The batch goes: what still waits gets memory of its own.
void CsvTable::keep()
{
    for (std::size_t i = 0; i < m_tracks.size(); ++i) {
        Track& track = m_tracks[i];
        for (auto piece = track.pieces.rbegin(); piece != track.pieces.rend() && !piece->own;
             ++piece) {
            const bool isFirst = &*piece == &track.pieces.front();
            keep(track, *piece, isFirst ? track.position : 0);
            if (isFirst)
                startPiece(i);
        }
    }
}

void CsvTable::keep(const Track& track, Piece& piece, std::size_t from)
{
    const std::size_t size = sizeOf(track.type);
    piece.count -= from;
    piece.index += from;
    const std::size_t values = piece.count * size;
    const std::size_t times = piece.times != nullptr ? piece.count * sizeof(std::uint64_t) : 0;
    piece.own = std::make_unique_for_overwrite<std::byte[]>(values + times);
    std::memcpy(piece.own.get(), piece.values + from * size, values);
    piece.values = piece.own.get();
    if (times > 0) {
        std::memcpy(piece.own.get() + values, piece.times + from * sizeof(std::uint64_t), times);
        piece.times = piece.own.get() + values;
    }
    count(track, piece);
}

void CsvTable::forget()
{
    for (std::size_t i = 0; i < m_tracks.size(); ++i) {
        auto& pieces = m_tracks[i].pieces;
        while (!pieces.empty() && !pieces.back().own)
            pieces.pop_back();
        if (pieces.empty())
            m_due[i] = kEverything;
    }
}

void CsvTable::writeReady(std::uint64_t now)
{
    const auto write = [&] {
        writeUntil(std::min(readyUntil(), m_holds ? heldFrom(now) : kEverything));
    };
    write();
    if (makeOldLate(now))
        write();
    if (waiting() > m_memory)
        writeUntil(readyUntil());
    while (waiting() > m_memory) {
        Track* const track = slowest();
        if (track != nullptr)
            track->isLate = true;
        writeUntil(track != nullptr ? readyUntil() : kEverything);
    }
    if (m_notes.size() > kMostNotes) {
        if (!m_hasHeading)
            begin(m_notes.begin()->first);
        writeNotesUntil(kEverything);
    }
}

/// No signal that the others wait for has a sample before this time that is still to come.
std::uint64_t CsvTable::readyUntil() const
{
    if (m_isFromFile)
        return m_oldestToCome;
    std::uint64_t until = kEverything;
    for (const Track& track : m_tracks)
        if (track.isEven && !track.isLate)
            until = std::min(until, track.next);
    return until;
}

std::uint64_t CsvTable::heldFrom(std::uint64_t now) const
{
    std::uint64_t first = kEverything;
    for (std::size_t i = 0; i < m_tracks.size(); ++i) {
        for (const Piece& piece : m_tracks[i].pieces) {
            if (piece.arrival + kHold <= now)
                continue;
            const bool isFirst = &piece == &m_tracks[i].pieces.front();
            first = std::min(first, isFirst ? m_due[i] : piece.time(0));
            break;
        }
    }
    return first;
}

/// Gives whether there is any that nobody waits for from now on.
bool CsvTable::makeOldLate(std::uint64_t now)
{
    std::uint64_t until = 0;
    for (const Track& track : m_tracks) {
        for (const Piece& piece : track.pieces) {
            if (m_isFromFile || piece.arrival + kLongestWait > now)
                break;
            until = std::max(until, piece.time(piece.count - 1));
        }
    }
    bool isAny = false;
    for (Track& track : m_tracks) {
        const bool holdsUp = until > 0 && track.isEven && !track.isLate && track.next <= until;
        track.isLate = track.isLate || holdsUp;
        isAny = isAny || holdsUp;
    }
    return isAny;
}

CsvTable::Track* CsvTable::slowest()
{
    Track* slowest = nullptr;
    for (Track& track : m_tracks)
        if (!m_isFromFile && track.isEven && !track.isLate &&
            (slowest == nullptr || track.next < slowest->next))
            slowest = &track;
    return slowest;
}

/// Bytes.
std::size_t CsvTable::waiting() const
{
    std::size_t done = 0;
    if (m_waiting > m_memory) // else it does not matter
        for (const Track& track : m_tracks)
            done += track.pieces.empty() ? 0 : track.position * sizeOf(track.type);
    return m_waiting - done;
}

void CsvTable::writeUntil(std::uint64_t time)
{
    for (;;) {
        std::uint64_t next = kEverything;
        for (const std::uint64_t due : m_due)
            next = std::min(next, due);
        if (next >= time)
            return;
        if (!m_hasHeading)
            begin(next);
        if (!m_notes.empty())
            writeNotesUntil(next);
        writeRow(next);
        if (m_text.size() >= m_writeAt && !m_output.write())
            m_writeAt = kEverything; // there is no room for any more in this turn
    }
}

void CsvTable::begin(std::uint64_t time)
{
    m_hasHeading = true;
    m_start = time;
    m_latest = time;
    m_text.add(csvHeading(m_setup, m_signals, time));
}

void CsvTable::writeNotesUntil(std::uint64_t time)
{
    while (!m_notes.empty() && m_notes.begin()->first <= time) {
        m_text.add(m_notes.begin()->second);
        m_notes.erase(m_notes.begin());
    }
}

void CsvTable::writeRow(std::uint64_t time)
{
    char* place = m_text.room((m_tracks.size() + 1) * (kLongestNumber + 2));
    if (time >= m_start) {
        place = putSeconds(place, time - m_start);
    } else {
        *place++ = '-';
        place = putSeconds(place, m_start - time);
    }
    for (std::size_t i = 0; i < m_tracks.size(); ++i) {
        *place++ = ',';
        if (m_due[i] - time > m_tolerance[i])
            continue;
        const Track& track = m_tracks[i];
        place = putTyped(place, track.type, track.values, track.position);
        advance(i);
        ++m_samples;
    }
    *place++ = '\n';
    m_text.end(place);
    m_latest = time;
    ++m_rows;
}

void CsvTable::startPiece(std::size_t track)
{
    constexpr std::uint64_t kPicoseconds = 1'000'000'000'000;
    Track& started = m_tracks[track];
    const Piece& piece = started.pieces.front();
    started.position = 0;
    started.values = piece.values;
    started.rate = piece.times != nullptr ? 0 : piece.line.rate;
    m_due[track] = piece.time(0);
    if (started.rate == 0)
        return;
    const std::uint64_t turned = (piece.index - piece.line.firstIndex) * 1000;
    started.time = piece.line.at(piece.index);
    started.rest = turned % started.rate * kSecond % started.rate;
    started.step = kPicoseconds / started.rate;
    started.stepRest = kPicoseconds % started.rate;
}

/// The track's next sample is the one behind. Adds up to what TimeLine::at() gives.
void CsvTable::advance(std::size_t track)
{
    Track& advanced = m_tracks[track];
    const Piece& piece = advanced.pieces.front();
    ++advanced.position;
    if (advanced.position == piece.count) {
        m_waiting -= piece.size;
        advanced.pieces.pop_front();
        advanced.position = 0;
        if (advanced.pieces.empty())
            m_due[track] = kEverything;
        else
            startPiece(track);
    } else if (advanced.rate == 0) {
        m_due[track] = piece.time(advanced.position);
    } else {
        advanced.time += advanced.step;
        advanced.rest += advanced.stepRest;
        if (advanced.rest >= advanced.rate) {
            advanced.rest -= advanced.rate;
            ++advanced.time;
        }
        m_due[track] = std::min(advanced.time, kLatest);
    }
}

void CsvTable::finish(const std::string& cause)
{
    m_writeAt = kPiece;
    writeUntil(kEverything);
    if (!m_hasHeading)
        m_text.add(csvHeading(m_setup, m_signals, std::nullopt));
    writeNotesUntil(kEverything);
    m_text.add(cause.empty() ? endLine(m_latest, m_rows, m_samples, m_lost) : brokenOffLine(cause));
    m_output.finish(brokenOffLine, cause);
}

} // namespace zel::acquisition
