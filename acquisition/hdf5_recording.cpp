#include "hdf5_recording.h"

#include "iso_time.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <limits>

namespace zel::acquisition::hdf5 {

namespace {

// What the file grows by beside the data: the library hands out small things from blocks.
constexpr std::uint64_t kSlack = 64 * 1024;

std::uint64_t sizeOfFile(const Handle& file)
{
    haddr_t end = 0;
    call("tell the size of the file", [&] { return H5Fget_eoa(file.id(), &end); });
    return end;
}

/// Positions that stay empty. Throws where there are more than a file can have.
std::uint64_t missingBefore(const SignalObjects& signal, std::uint64_t index)
{
    const std::uint64_t next = signal.totals.endIndex;
    if (!signal.hasBegun || signal.times || index <= next)
        return 0;
    if (!signal.values.canHold(index - next))
        throw Failure("more samples of " + signal.name + " are missing than a file has places", false);
    return index - next;
}

std::uint64_t now()
{
    const auto time = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(time).count());
}

} // namespace

Recording::Recording(const Hdf5Options& options, const Setup& setup)
    : m_options(options), m_guard(options.path, options.mayReplace ? GuardedFile::Opening::replace
                                                                   : GuardedFile::Opening::create)
{
    try {
        m_objects.file = createFile(options.path);
        if (!reserve(roomForObjects(setup)))
            throw Failure(std::string("could not create the file: ") + std::strerror(ENOSPC), true);
        createObjects(m_objects, setup, options.deflate);
        for (ModuleObjects& module : m_objects.modules)
            writeTotals(module);
        call("open the file to readers", [&] { return H5Fstart_swmr_write(m_objects.file.id()); });
        m_planned = m_fileSize = sizeOfFile(m_objects.file);
    } catch (...) {
        m_objects = {}; // closes the file
        if (m_guard.isNew()) {
            std::error_code ignored;
            std::filesystem::remove(recordingPath(options.path), ignored);
        }
        throw;
    }
}

bool Recording::write(const Batch& batch)
{
    if (m_isShort && !settle(false))
        return false;
    const std::uint64_t planned = m_planned + roomFor(batch);
    if (!reserve(planned))
        return false;
    m_planned = planned;
    m_hasChanged = true;
    for (const Chunk& chunk : batch.chunks)
        take(batch, chunk);
    for (const Gap& gap : batch.gaps)
        take(gap);
    if (batch.clock)
        take(*batch.clock);
    return true;
}

/// By how much the file grows at most. Throws where the batch reaches too far, before anything
/// of it is taken.
std::uint64_t Recording::roomFor(const Batch& batch) const
{
    std::uint64_t room = 0;
    for (const Chunk& chunk : batch.chunks) {
        const SignalObjects& signal = m_objects.signals.at(chunk.signal);
        const std::uint64_t missing = missingBefore(signal, chunk.index);
        room += signal.values.roomFor(chunk.count, missing != 0 ? 1 : 0, missing);
        if (signal.times)
            room += signal.times->roomFor(chunk.count, 0, 0);
        else
            room += m_objects.modules.at(signal.module).anchors.roomFor(1, 0, 0);
    }
    for (const Gap& gap : batch.gaps) {
        const SignalObjects& signal = m_objects.signals.at(gap.signal);
        missingBefore(signal, gap.count <= ~gap.index ? gap.index + gap.count : ~std::uint64_t{0});
        room += m_objects.modules.at(signal.module).gaps.roomFor(1, 0, 0);
    }
    return room;
}

/// Sees to it that the file can get as large: false where there is no room.
bool Recording::reserve(std::uint64_t end)
{
    constexpr std::uint64_t kLeast = 1 << 20;
    constexpr std::uint64_t kMost = 64 << 20;
    end += kSlack;
    if (end <= m_reserved)
        return true;
    // More than is needed, so that it is not asked for each time, where there is so much.
    for (const std::uint64_t ahead : {std::clamp(end / 16, kLeast, kMost), std::uint64_t{0}}) {
        if (m_guard.reserve(end + ahead) != GuardedFile::Room::none) {
            m_reserved = end + ahead;
            return true;
        }
    }
    return false;
}

void Recording::begin(SignalObjects& signal, std::uint64_t index, std::uint64_t time)
{
    signal.hasBegun = true;
    signal.start = time;
    signal.totals.firstIndex = signal.totals.endIndex = index;
}

void Recording::take(const Batch& batch, const Chunk& chunk)
{
    SignalObjects& signal = m_objects.signals[chunk.signal];
    if (!signal.hasBegun) {
        const auto before = std::ranges::find_if(batch.gaps, [&](const Gap& gap) {
            return gap.signal == chunk.signal && gap.index < chunk.index;
        });
        if (before != batch.gaps.end())
            begin(signal, before->index, before->begin);
        else
            begin(signal, chunk.index, batch.timeOf(chunk, 0));
    }
    SignalTotals& totals = signal.totals;
    if (chunk.index < totals.endIndex)
        throw Failure("samples of " + signal.name + " came twice", false);
    const std::span bytes(batch.bytes);
    if (signal.times) {
        signal.times->append(bytes.subspan(chunk.times, chunk.count * sizeof(std::uint64_t)));
    } else {
        takeLine(signal, chunk);
        signal.values.skip(chunk.index - totals.endIndex);
    }
    signal.values.append(bytes.subspan(chunk.values, chunk.count * signal.valueSize));
    totals.samples += chunk.count;
    totals.endIndex = chunk.index + chunk.count;
    m_objects.modules[signal.module].hasChanged = true;
}

/// A row for each new line of time.
void Recording::takeLine(SignalObjects& signal, const Chunk& chunk)
{
    const TimeLine& line = chunk.line;
    if (line == signal.line)
        return;
    if (signal.line.rate == 0) {
        signal.rate = line.rate;
        signal.isStartTold = false;
    }
    // It counts from its first sample on. One that was laid through samples that had come before
    // counts from now on.
    const bool isForward = signal.line.rate == 0 || line.firstIndex >= signal.totals.endIndex;
    const std::uint64_t index = isForward ? line.firstIndex : chunk.index;
    signal.line = line;
    ModuleObjects& module = m_objects.modules[signal.module];
    m_row.clear();
    m_row.text(signal.name, module.nameLength)
        .number(index)
        .number(line.at(index))
        .number(static_cast<double>(line.rate) / 1000);
    module.anchors.append(m_row.bytes());
}

void Recording::take(const Gap& gap)
{
    SignalObjects& signal = m_objects.signals[gap.signal];
    ModuleObjects& module = m_objects.modules[signal.module];
    if (!signal.hasBegun)
        begin(signal, gap.index, gap.begin);
    m_row.clear();
    m_row.text(signal.name, module.nameLength)
        .number(gap.index)
        .number(gap.count)
        .number(gap.begin)
        .number(gap.end)
        .text(nameOf(gap.cause), kCauseColumn);
    module.gaps.append(m_row.bytes());
    module.hasChanged = true;

    SignalTotals& totals = signal.totals;
    ++totals.gaps;
    totals.missing += gap.count;
    const std::uint64_t end = gap.index + gap.count;
    if (end <= totals.endIndex)
        return;
    if (!signal.times)
        signal.values.skip(end - totals.endIndex);
    totals.endIndex = end;
}

void Recording::take(const ClockEstimate& clock)
{
    m_row.clear();
    m_row.number(clock.moduleTime).number(clock.offset).number(clock.drift).number(clock.uncertainty);
    m_objects.modules.at(clock.module).clock.append(m_row.bytes());
}

/// Writes what waits, all of it: false where there is no room for something.
bool Recording::settle(bool isLast)
{
    bool isDone = true;
    const auto write = [&](Series& series) { isDone = series.settle(isLast) && isDone; };
    for (SignalObjects& signal : m_objects.signals) {
        write(signal.values);
        if (signal.times)
            write(*signal.times);
    }
    for (ModuleObjects& module : m_objects.modules) {
        write(module.gaps);
        write(module.anchors);
        write(module.clock);
    }
    m_isShort = !isDone;
    return isDone;
}

bool Recording::flush(bool isLast)
{
    if (m_hasChanged || isLast) {
        if (!settle(isLast))
            return false;
        try {
            for (SignalObjects& signal : m_objects.signals)
                tellStart(signal);
            call("flush the file",
                 [&] { return H5Fflush(m_objects.file.id(), H5F_SCOPE_LOCAL); });
            // These are counted only now that all is where readers find it.
            for (ModuleObjects& module : m_objects.modules)
                writeTotals(module);
        } catch (const Failure& failure) {
            if (!failure.isNoRoom())
                throw;
            return false;
        }
        m_hasChanged = false;
        m_planned = m_fileSize = sizeOfFile(m_objects.file);
    }
    syncIfDue(isLast);
    return true;
}

void Recording::tellStart(SignalObjects& signal)
{
    if (!signal.hasBegun || signal.isStartTold)
        return;
    const Handle& dataset = signal.values.dataset();
    changeNumber(dataset, "first_index", signal.totals.firstIndex);
    changeNumber(dataset, "start_time_ns", static_cast<std::int64_t>(signal.start));
    changeText(dataset, "start_time", isoTime(signal.start));
    if (!signal.times)
        changeNumber(dataset, "sample_rate", static_cast<double>(signal.rate) / 1000);
    signal.isStartTold = true;
}

void Recording::writeTotals(ModuleObjects& module)
{
    if (!module.hasChanged || !module.totals)
        return;
    m_row.clear();
    for (const std::size_t index : module.signals) {
        const SignalObjects& signal = m_objects.signals[index];
        const SignalTotals& totals = signal.totals;
        m_row.text(signal.name, module.nameLength)
            .number(totals.firstIndex)
            .number(totals.endIndex)
            .number(totals.samples)
            .number(totals.missing)
            .number(totals.gaps)
            .number(checkOf(totals));
    }
    const hsize_t begin = 0;
    const auto& rows = m_row.bytes();
    call("write the totals", [&] {
        return H5Dwrite_chunk(module.totals.id(), H5P_DEFAULT, 0, &begin, rows.size(), rows.data());
    });
    module.hasChanged = false;
}

void Recording::syncIfDue(bool isLast)
{
    const auto time = std::chrono::steady_clock::now();
    if (m_options.syncEvery.count() == 0 || (!isLast && time - m_synced < m_options.syncEvery))
        return;
    m_guard.sync();
    m_synced = time;
}

void Recording::finish(const std::string& cause)
{
    if (!flush(true))
        throw Failure(std::string("could not write the end of the recording: ") +
                          std::strerror(ENOSPC),
                      true);
    {
        const Handle root = openGroup(m_objects.file, "/");
        const std::uint64_t end = now();
        changeText(root, "cause", cause);
        changeText(root, "end_time", isoTime(end));
        changeNumber(root, "end_time_ns", static_cast<std::int64_t>(end));
        changeText(root, "state", cause.empty() ? kStateComplete : kStateBrokenOff);
    }
    m_objects.close();
    m_guard.trim();
    if (m_options.syncEvery.count() != 0)
        m_guard.sync();
}

Recording::~Recording()
{
    // What fails here would have failed in finish().
    try {
        m_objects.close();
    } catch (const Failure&) {
        m_objects.file.drop();
    }
    m_guard.trim();
}

} // namespace zel::acquisition::hdf5
