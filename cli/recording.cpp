#include "recording.h"

#include <algorithm>

#include "command_failure.h"
#include "printable.h"
#include "ZEL_VR_Framework.h"

namespace zel::cli {

namespace {

/// A signal that sends nothing must not make the others wait for ever.
constexpr std::size_t kMostWaiting = 4'000'000;
constexpr std::size_t kPiece = 1U << 18U;

/// A field of the CSV's heading.
std::string quoted(const std::string& text)
{
    std::string field = "\"";
    for (const char c : text) {
        if (c == '"') {
            field += '"';
        }
        field += c;
    }
    return printable(field + '"');
}

} // namespace

Recording::Recording(std::vector<MeasuredSignal> signals, std::vector<std::string> heading,
                     Write write, Notice notice)
    : m_heading(std::move(heading)), m_write(std::move(write)), m_notice(std::move(notice))
{
    for (auto& signal : signals) {
        Track track;
        track.rate = static_cast<std::uint64_t>(signal.sampleRate * 1000 + 0.5);
        track.signal = std::move(signal);
        m_tracks.push_back(std::move(track));
    }
}

void Recording::take(const void* block, std::uint64_t size, bool isAll)
{
    const auto* const bytes = static_cast<const unsigned char*>(block);
    // Record by record: looking each up from the block's start would take ever longer.
    for (std::uint64_t position = 0; position < size;) {
        ZEL_DaqHeader header;
        std::uint64_t offset = 0;
        if (ZEL_XUTIL_GetDaqHeader(ZEL_DAQ_BY_INDEX, 0, bytes + position, size - position, &header,
                                   &offset) != ZEL_OK) {
            throw CommandFailure({.problem = "the module sent bytes that are no measured values",
                                  .advice = "what was recorded before is in the file"});
        }
        takeRecord(bytes + position, header, offset);
        const std::uint64_t element = (header.dataType & 15U) == 0 ? 16 : header.dataType & 15U;
        position += offset + element * header.count;
    }
    std::uint64_t until = kEverything;
    std::size_t waiting = 0;
    for (const Track& track : m_tracks) {
        waiting += track.waiting.size();
        if (track.isEven && track.hasBegun) {
            until = std::min(until, track.start + timeOfIndex(track.count, track.rate));
        } else if (track.signal.sampleRate > 0) {
            until = 0; // its first samples are still to come
        }
    }
    const bool isEnough = isAll || until != kEverything;
    if (waiting > kMostWaiting) {
        writeUntil(kEverything);
    } else if (isEnough) {
        writeUntil(until);
    }
    flush(false);
}

void Recording::takeRecord(const void* block, const ZEL_DaqHeader& header, std::uint64_t offset)
{
    if (header.signalId == 0 || header.signalId > m_tracks.size()) {
        return;
    }
    Track& track = m_tracks[header.signalId - 1U];
    track.isEven = !isTimed(header.dataType);
    if (track.isEven && header.kind == 1 && header.extra.u64 != 0) {
        track.rate = header.extra.u64;
    }
    if (!decodeRecord(block, header, offset, track.rate, m_decoded)) {
        throw CommandFailure({.problem = track.signal.reference + " comes in data type " +
                                         std::to_string(header.dataType) +
                                         ", which this program does not know"});
    }
    if (m_decoded.empty()) {
        return;
    }
    if (track.isEven) {
        const std::uint64_t expected = track.start + timeOfIndex(track.count, track.rate);
        // Half a sample early or late is rounding, not a loss.
        const std::uint64_t half = timeOfIndex(1, track.rate) / 2;
        if (!track.hasBegun || header.timeStamp > expected + half ||
            header.timeStamp + half < expected) {
            if (track.hasBegun) {
                noteGap(track, expected, header.timeStamp);
            }
            track.start = header.timeStamp;
            track.count = 0;
        }
        for (Sample& sample : m_decoded) {
            sample.time = track.start + timeOfIndex(track.count++, track.rate);
        }
    }
    track.hasBegun = true;
    track.waiting.insert(track.waiting.end(), m_decoded.begin(), m_decoded.end());
}

void Recording::noteGap(Track& track, std::uint64_t expected, std::uint64_t found)
{
    if (expected >= m_end) {
        return;
    }
    ++m_gaps;
    std::string note = printable(track.signal.reference);
    if (found < expected) {
        note += ": the module's clock went back";
    } else {
        const std::uint64_t interval = std::max<std::uint64_t>(timeOfIndex(1, track.rate), 1);
        const std::uint64_t lost = (found - expected + interval / 2) / interval;
        m_lost += lost;
        note += ": " + std::to_string(lost) + " samples lost";
    }
    note += " from " + utcText(expected) + " to " + utcText(found);
    m_notice(note);
    // In its place among the rows.
    writeUntil(std::min(expected, found));
    m_text += "# gap: " + note + "\n";
}

void Recording::writeUntil(std::uint64_t time)
{
    for (;;) {
        std::uint64_t next = kEverything;
        for (const Track& track : m_tracks) {
            if (!track.waiting.empty()) {
                next = std::min(next, track.waiting.front().time);
            }
        }
        if (next == kEverything || next >= std::min(time, m_end)) {
            return;
        }
        if (!m_hasHeading) {
            m_start = next;
            m_end = next + std::min(m_length, kEverything - next);
            writeHeading();
        }
        writeRow(next);
        if (m_text.size() >= kPiece) {
            flush(true);
        }
    }
}

void Recording::writeHeading()
{
    m_hasHeading = true;
    for (const std::string& line : m_heading) {
        m_text += "# " + printable(line) + "\n";
    }
    m_text += "# start: " + utcText(m_start) + "\n";
    for (const Track& track : m_tracks) {
        const MeasuredSignal& signal = track.signal;
        m_text += printable("# signal: " + signal.reference + ", name " + quoted(signal.name) +
                            ", unit " + quoted(signal.unit) + ", " +
                            (signal.sampleRate > 0 ? shortNumber(signal.sampleRate) + " Hz"
                                                   : std::string("time-stamped")) +
                            ", " + dataTypeName(signal.dataType)) +
                  "\n";
    }
    m_text += "time [s]";
    for (const Track& track : m_tracks) {
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
    for (Track& track : m_tracks) {
        m_text += ',';
        if (!track.waiting.empty() && track.waiting.front().time == time) {
            appendValue(m_text, track.waiting.front());
            track.waiting.pop_front();
            ++m_samples;
        }
    }
    m_text += '\n';
    ++m_rows;
}

bool Recording::isComplete() const
{
    return std::ranges::all_of(m_tracks, [this](const Track& track) {
        const std::uint64_t reached = track.start + timeOfIndex(track.count, track.rate);
        return track.signal.sampleRate <= 0 || (track.hasBegun && reached >= m_end);
    });
}

void Recording::finish()
{
    writeUntil(kEverything);
    if (!m_hasHeading) {
        writeHeading();
    }
    flush(true);
}

void Recording::flush(bool isLast)
{
    if (!m_text.empty() && (isLast || m_text.size() >= kPiece)) {
        m_write(m_text);
        m_text.clear();
    }
}

} // namespace zel::cli
