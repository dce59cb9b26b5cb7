#include "recording.h"

#include "command_failure.h"
#include "printable.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <cmath>

namespace zel::cli {

namespace {

/// More must not wait in memory for a signal that sends nothing.
constexpr std::size_t kMostWaiting = 4'000'000;
constexpr std::size_t kPiece = 1U << 18U;

/// How much of a sample may be rounding where a signal begins.
constexpr double kTolerance = 1.0 / 16;

/// Values come some time after they were measured.
constexpr std::chrono::seconds kLongestDelay{1};

/// A field of the CSV's heading.
std::string quoted(const std::string& text)
{
    std::string field = "\"";
    for (const char c : text) {
        if (c == '"')
            field += '"';
        field += c;
    }
    return printable(field + '"');
}

} // namespace

Recording::Recording(const std::vector<MeasuredSignal>& signals, std::vector<std::string> heading,
                     Write write, Notice notice)
    : m_tracks(signals.begin(), signals.end()),
      m_heading(std::move(heading)),
      m_write(std::move(write)),
      m_notice(std::move(notice))
{
}

void Recording::limit(std::uint64_t nanoseconds)
{
    m_length = nanoseconds;
    m_due = Clock::now() + std::chrono::nanoseconds(nanoseconds);
}

void Recording::stopNow()
{
    m_isStopping = true;
    m_due = Clock::now();
    if (m_hasOrigin) {
        const auto since = std::chrono::nanoseconds(m_due - m_reachedAt).count();
        const std::uint64_t now = m_reached + static_cast<std::uint64_t>(since);
        m_end = std::min(m_end, std::max(now, newestEven()) + kRounding + 1);
        dropBeyondEnd();
    }
}

void Recording::take(const void* block, std::uint64_t size, bool hasMore)
{
    const auto* const bytes = static_cast<const unsigned char*>(block);
    // Record by record: looking each up from the block's start would take ever longer.
    for (std::uint64_t position = 0; position < size;)
        position += takeRecord(bytes + position, size - position);
    if (!hasMore && m_hasOrigin) {
        m_reached = newestEven();
        m_reachedAt = Clock::now();
    }
    writeReady(hasMore);
}

/// Gives the record's size.
std::uint64_t Recording::takeRecord(const unsigned char* block, std::uint64_t size)
{
    ZEL_DaqHeader header;
    std::uint64_t offset = 0;
    if (ZEL_XUTIL_GetDaqHeader(ZEL_DAQ_BY_INDEX, 0, block, size, &header, &offset) != ZEL_OK)
        throw CommandFailure({.problem = "the module sent bytes that are no measured values"});
    const std::uint64_t used = offset + elementSize(header.dataType) * header.count;
    if (header.signalId == 0 || header.signalId > m_tracks.size())
        return used;
    RecordingTrack& track = m_tracks[header.signalId - 1U];
    track.isEven = !isTimed(header.dataType);
    if (track.isEven && header.kind == ZEL_DAQ_WITH_RATE && header.extra.u64 != 0)
        track.setRate(header.extra.u64);
    if (!decodeRecord(block, header, offset, track.rate, m_decoded)) {
        throw CommandFailure({.problem = track.signal.reference + " comes in data type " +
                                         std::to_string(header.dataType) +
                                         ", which this program does not know"});
    }
    if (!m_decoded.empty()) {
        noteFirstSample(m_decoded.front().time, track.isEven);
        if (!hasCome(track, false))
            m_progress = Clock::now();
        if (track.isEven)
            placeEven(track, header.timeStamp);
        keep(track);
    }
    return used;
}

void Recording::noteFirstSample(std::uint64_t time, bool isEven)
{
    const auto now = Clock::now();
    if (!m_hasSamples && m_length != kEverything)
        m_due = now + std::chrono::nanoseconds(m_length);
    m_hasSamples = true;
    if (isEven && !m_hasOrigin) {
        m_hasOrigin = true;
        m_origin = time;
        m_reached = time;
        m_reachedAt = now;
    }
}

void Recording::placeEven(RecordingTrack& track, std::uint64_t time)
{
    if (!track.goesOnAt(time)) {
        const bool isFirst = !track.hasBegun;
        const std::uint64_t expected = track.next();
        track.countFrom(time, m_origin);
        if (isFirst) {
            noteLateBeginning(track);
        } else if (time < expected) {
            turnBack(track, expected, time);
        } else {
            m_missing.insert({expected, {&track, time, Place::between}});
            track.passed +=
                static_cast<std::uint64_t>(samplesIn(time - expected, track.rate) + 0.5);
        }
    }
    track.place(m_decoded);
}

void Recording::keep(RecordingTrack& track)
{
    track.hasBegun = true;
    track.passed += m_decoded.size();
    track.newest = m_decoded.back().time;
    if (track.isLate && !track.isToldLate && m_decoded.front().time <= m_latest) {
        track.isToldLate = true;
        ++m_late;
        m_text += "# late: " + printable(track.signal.reference) +
                  ", its rows are not in the order of time\n";
    }
    track.isLate = track.isLate && track.newest <= m_latest;
    const auto end = std::ranges::find_if(
        m_decoded, [this](const Sample& sample) { return sample.time >= m_end; });
    track.waiting.insert(track.waiting.end(), m_decoded.begin(), end);
}

void Recording::dropBeyondEnd()
{
    for (RecordingTrack& track : m_tracks)
        while (!track.waiting.empty() && track.waiting.back().time >= m_end)
            track.waiting.pop_back();
}

bool Recording::hasCome(const RecordingTrack& track, bool hasMore) const
{
    if (!track.isEven)
        return !hasMore || track.newest >= m_end;
    // By number too: the module's clock may have been set back.
    const bool isCounted = m_length != kEverything;
    return track.hasBegun &&
           (track.next() >= m_end ||
            (isCounted && static_cast<double>(track.passed) >= samplesIn(m_length, track.rate)));
}

bool Recording::isOver(bool hasMore) const
{
    if (m_length == kEverything && !m_isStopping)
        return false;
    const auto now = Clock::now();
    const bool hasAllCome = std::ranges::all_of(
        m_tracks, [&](const RecordingTrack& track) { return hasCome(track, hasMore); });
    if (hasAllCome) {
        // Values with times of their own come when they come.
        return now >= m_due || std::ranges::any_of(m_tracks, &RecordingTrack::isEven);
    }
    return now >= m_due + kLongestDelay && now >= m_progress + kLongestDelay;
}

std::uint64_t Recording::newestEven() const
{
    std::uint64_t newest = 0;
    for (const RecordingTrack& track : m_tracks)
        newest = std::max(newest, track.isEven ? track.newest : 0);
    return newest;
}

void Recording::writeReady(bool hasMore)
{
    std::uint64_t newestWaiting = 0;
    for (const RecordingTrack& track : m_tracks) {
        newestWaiting =
            std::max(newestWaiting, track.waiting.empty() ? 0 : track.waiting.back().time);
    }
    const bool isAnyWaiting = waiting() > 0;
    for (RecordingTrack& track : m_tracks)
        track.watch(isAnyWaiting, newestWaiting, hasMore);
    writeUntil(readyUntil(hasMore));
    while (waiting() > kMostWaiting) {
        RecordingTrack* const track = slowest();
        if (track == nullptr) {
            writeUntil(kEverything);
            break;
        }
        track->isLate = true;
        writeUntil(readyUntil(hasMore));
    }
    flush();
}

/// No signal that the others wait for has a sample before this time that is still to come.
std::uint64_t Recording::readyUntil(bool hasMore)
{
    const RecordingTrack* const track = slowest();
    return track != nullptr ? track->next() : hasMore ? 0 : kEverything;
}

RecordingTrack* Recording::slowest()
{
    RecordingTrack* slowest = nullptr;
    for (RecordingTrack& track : m_tracks) {
        const bool counts = track.isEven && !track.isLate;
        if (counts && (slowest == nullptr || track.next() < slowest->next()))
            slowest = &track;
    }
    return slowest;
}

std::size_t Recording::waiting() const
{
    std::size_t count = 0;
    for (const RecordingTrack& track : m_tracks)
        count += track.waiting.size();
    return count;
}

void Recording::writeUntil(std::uint64_t time)
{
    for (;;) {
        std::uint64_t next = kEverything;
        for (const RecordingTrack& track : m_tracks)
            if (!track.waiting.empty())
                next = std::min(next, track.waiting.front().time);
        if (next >= std::min(time, m_end))
            return;
        if (!m_hasHeading) {
            begin(next);
            continue; // the end is known now
        }
        writeGapsUntil(next);
        writeRow(next);
        if (m_text.size() >= kPiece)
            flush();
    }
}

void Recording::begin(std::uint64_t time)
{
    m_start = time;
    m_latest = time;
    if (m_length < kEverything - time) {
        // A nanosecond before the end comes from rounding.
        m_end = std::min(m_end, time + std::max(m_length, kRounding + 1) - kRounding);
        dropBeyondEnd();
    }
    writeHeading();
    for (const RecordingTrack& track : m_tracks)
        noteLateBeginning(track);
}

void Recording::writeHeading()
{
    m_hasHeading = true;
    for (const std::string& line : m_heading)
        m_text += "# " + printable(line) + "\n";
    if (m_start > 0)
        m_text += "# start: " + utcText(m_start) + "\n";
    for (const RecordingTrack& track : m_tracks) {
        const MeasuredSignal& signal = track.signal;
        m_text += printable("# signal: " + signal.reference + ", name " + quoted(signal.name) +
                            ", unit " + quoted(signal.unit) + ", " +
                            (signal.sampleRate > 0 ? shortNumber(signal.sampleRate) + " Hz"
                                                   : std::string("time-stamped")) +
                            ", " + dataTypeName(signal.dataType)) +
                  "\n";
    }
    m_text += "time [s]";
    for (const RecordingTrack& track : m_tracks) {
        const MeasuredSignal& signal = track.signal;
        m_text +=
            ',' + quoted(signal.reference + (signal.unit.empty() ? "" : " [" + signal.unit + "]"));
    }
    m_text += '\n';
}

void Recording::writeRow(std::uint64_t time)
{
    if (time >= m_start) {
        appendSeconds(m_text, time - m_start);
    } else {
        m_text += '-';
        appendSeconds(m_text, m_start - time);
    }
    for (RecordingTrack& track : m_tracks) {
        m_text += ',';
        if (!track.waiting.empty() && track.waiting.front().time == time) {
            appendValue(m_text, track.waiting.front());
            track.waiting.pop_front();
            ++m_samples;
        }
    }
    m_text += '\n';
    m_latest = time;
    ++m_rows;
    ++m_rowsInText;
}

void Recording::flush()
{
    if (!m_text.empty()) {
        m_write(m_text, m_rowsInText);
        m_text.clear();
        m_rowsInText = 0;
    }
}

double Recording::seconds() const
{
    return static_cast<double>(static_cast<std::int64_t>(m_latest - m_start)) / 1e9;
}

void Recording::noteLateBeginning(const RecordingTrack& track)
{
    // Signals of different rates need not begin together, but within a sample of theirs.
    if (m_hasHeading && track.isEven && track.first > m_start &&
        samplesIn(track.first - m_start, track.rate) >= 1 - kTolerance)
        m_missing.insert({m_start, {&track, track.first, Place::start}});
}

void Recording::noteMissingEnds()
{
    for (const RecordingTrack& track : m_tracks) {
        if (track.isEven && !hasCome(track, false)) {
            const std::uint64_t begin = track.hasBegun ? track.next() : m_start;
            m_missing.insert({begin, {&track, m_end, Place::end}});
        }
    }
}

void Recording::writeGapsUntil(std::uint64_t time)
{
    while (!m_missing.empty() && m_missing.begin()->first <= time) {
        const auto [begin, gap] = *m_missing.begin();
        m_missing.erase(m_missing.begin());
        writeGap(begin, gap);
    }
}

void Recording::writeGap(std::uint64_t begin, Gap gap)
{
    if (gap.end >= m_end)
        gap = {gap.track, m_end, Place::end};
    if (begin >= gap.end)
        return;
    // From the start the samples are counted back from the first that came; up to the end, all that
    // would have begun.
    const double exact = samplesIn(gap.end - begin, gap.track->rate);
    const double rounded = gap.place == Place::start ? std::floor(exact + kTolerance)
                           : gap.place == Place::end ? std::ceil(exact)
                                                     : std::floor(exact + 0.5);
    const auto lost = static_cast<std::uint64_t>(rounded);
    if (lost > 0) {
        tell(gap.track->signal.reference + ": " + std::to_string(lost) + " samples lost from " +
                 utcText(begin) + " to " + utcText(gap.end),
             lost);
    }
}

/// What is written before cannot be put in order with what comes now.
void Recording::turnBack(const RecordingTrack& track, std::uint64_t expected, std::uint64_t found)
{
    if (!track.waiting.empty()) // else another signal went back before
        writeUntil(kEverything);
    if (!m_hasHeading)
        return; // nothing of it is in the recording
    tell(track.signal.reference + ": the module's clock went back from " + utcText(expected) +
             " to " + utcText(found),
         0);
}

void Recording::tell(const std::string& note, std::uint64_t lost)
{
    ++m_gaps;
    m_lost += lost;
    m_text += "# gap: " + printable(note) + "\n";
    m_notice(note, lost);
}

void Recording::finish()
{
    writeUntil(kEverything);
    if (m_hasHeading && m_end != kEverything)
        noteMissingEnds();
    breakOff();
    m_text = m_rows > 0
                 ? "# end: " + utcText(m_latest) + ", " + std::to_string(m_rows) + " rows, " +
                       std::to_string(m_samples) + " samples, " + std::to_string(m_lost) + " lost\n"
                 : "# end: nothing came\n";
    flush();
}

void Recording::breakOff()
{
    writeUntil(kEverything);
    if (!m_hasHeading)
        writeHeading();
    writeGapsUntil(kEverything);
    flush();
}

} // namespace zel::cli
