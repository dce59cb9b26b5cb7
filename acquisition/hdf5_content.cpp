#include "hdf5_content.h"

#include "guarded_file.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <utility>

namespace zel::acquisition::hdf5 {

namespace {

[[noreturn]] void damaged(const std::string& what)
{
    throw Failure("the file is damaged: " + what, false);
}

Handle open(const std::string& path)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(recordingPath(path), error))
        throw RecordingFailure(path + (std::filesystem::exists(recordingPath(path), error)
                                           ? " is not a regular file"
                                           : " is not there"));
    try {
        return openFile(path, Access::read);
    } catch (const Failure&) {
        // As long as it is being recorded, and where it has broken off, it opens in this way only.
    }
    try {
        return openFile(path, Access::readWhileWritten);
    } catch (const Failure& failure) {
        const Turn turn;
        if (H5Fis_hdf5(path.c_str()) <= 0)
            throw RecordingFailure(path + " is no HDF5 file");
        throw Failure(failure.what(), failure.isNoRoom());
    }
}

std::string requireText(const Handle& object, const std::string& name)
{
    auto text = textOf(object, name);
    if (!text)
        damaged("attribute " + name + " is missing");
    return std::move(*text);
}

RecordingEnd readEnd(const std::string& path, const Handle& root)
{
    RecordingEnd end;
    const std::string state = requireText(root, "state");
    end.cause = textOf(root, "cause").value_or("");
    end.time = static_cast<std::uint64_t>(numberOf(root, "end_time_ns").value_or(0));
    if (state == kStateComplete)
        end.how = RecordingEnd::How::complete;
    else if (state == kStateRecording && GuardedFile::isHeld(path))
        end.how = RecordingEnd::How::recording;
    return end;
}

std::string readDocument(const Handle& group, std::uint64_t fileSize)
{
    const Handle document = openDataset(group, "parameters");
    const Handle type{"read the parameters", H5Tclose, [&] { return H5Dget_type(document.id()); }};
    const Turn turn;
    const std::size_t size = H5Tget_size(type.id());
    if (H5Tget_class(type.id()) != H5T_STRING || H5Tis_variable_str(type.id()) > 0 ||
        size > fileSize)
        damaged("the parameters of a module are no text");
    const Handle space{"read the parameters", H5Sclose, [&] { return H5Dget_space(document.id()); }};
    if (H5Sget_simple_extent_npoints(space.id()) != 1)
        damaged("the parameters of a module are no text");
    std::string text(size, '\0');
    call("read the parameters", [&] {
        return H5Dread(document.id(), type.id(), H5S_ALL, H5S_ALL, H5P_DEFAULT, text.data());
    });
    text.resize(std::min(text.size(), text.find_last_not_of('\0') + 1));
    return text;
}

ValueType valueTypeOf(const Handle& dataset)
{
    const Handle type{"read a dataset", H5Tclose, [&] { return H5Dget_type(dataset.id()); }};
    const Turn turn;
    const std::size_t size = H5Tget_size(type.id());
    const H5T_class_t kind = H5Tget_class(type.id());
    if (kind == H5T_FLOAT && (size == 4 || size == 8))
        return size == 4 ? ValueType::float32 : ValueType::float64;
    if (kind == H5T_INTEGER && (size == 4 || size == 8)) {
        const bool isSigned = H5Tget_sign(type.id()) == H5T_SGN_2;
        if (size == 4)
            return isSigned ? ValueType::int32 : ValueType::uint32;
        return isSigned ? ValueType::int64 : ValueType::uint64;
    }
    damaged("a signal has values of a type that none has");
}

std::uint64_t millihertz(double hertz)
{
    constexpr double kMost = 1e15;
    const double rate = hertz * 1000;
    if (!(rate >= 0.5 && rate <= kMost))
        damaged("a sample rate is none");
    return static_cast<std::uint64_t>(std::llround(rate));
}

/// Rows of a table; the text in front is as long as that file has it.
class Table {
public:
    Table(const Handle& group, const char* name) : m_dataset(openDataset(group, name))
    {
        const Handle type{"read a table", H5Tclose, [&] { return H5Dget_type(m_dataset.id()); }};
        const Turn turn;
        m_size = sizeOf(m_dataset);
        if (H5Tget_class(type.id()) != H5T_COMPOUND)
            damaged(std::string(name) + " is no table");
        // Tables have no chunks that take no room: what is not there is not read.
        const std::uint64_t room = H5Dget_storage_size(m_dataset.id());
        if (m_size > room / std::max<std::size_t>(H5Tget_size(type.id()), 1))
            damaged(std::string(name) + " is longer than the file");
        const int member = H5Tget_member_index(type.id(), "signal");
        if (member >= 0) {
            const Handle text{"read a table", H5Tclose, [&] {
                                  return H5Tget_member_type(type.id(), static_cast<unsigned>(member));
                              }};
            m_textLength = std::min<std::size_t>(H5Tget_size(text.id()), kMostText);
        }
    }

    std::size_t textLength() const { return m_textLength; }

    void forEach(const RowType& rows, const std::function<void(RowReader&)>& work) const
    {
        constexpr std::uint64_t kAtOnce = 4096;
        std::vector<std::byte> bytes;
        for (std::uint64_t begin = 0; begin < m_size; begin += kAtOnce) {
            const auto count = static_cast<std::size_t>(std::min(kAtOnce, m_size - begin));
            bytes.assign(count * rows.size(), std::byte{0});
            read(m_dataset, rows.type().id(), begin, count, bytes.data());
            for (RowReader reader(bytes); reader.hasMore();)
                work(reader);
        }
    }

private:
    static constexpr std::size_t kMostText = 4096;

    Handle m_dataset;
    std::uint64_t m_size = 0;
    std::size_t m_textLength = 1;
};

/// Reads one module's group.
class ModuleReading {
public:
    /// A signal with its place in the setup that was recorded.
    struct Signal {
        std::int64_t position;
        std::string name;
        SignalInfo info{};
        SignalContent content{};
        SignalTotals totals{};
        std::vector<Gap> gaps{};
    };

    ModuleReading(const Handle& file, const std::string& name, std::uint64_t fileSize)
        : m_group(openGroup(file, name))
    {
        info.label = requireText(m_group, "label");
        info.address = requireText(m_group, "address");
        info.uuid = countOf(m_group, "uuid").value_or(0);
        info.name = requireText(m_group, "name");
        info.parameters = readDocument(m_group, fileSize);
        position = numberOf(m_group, "position").value_or(0);
        const Handle data = openGroup(m_group, "data");
        // Before the datasets: those then have all that this says.
        readTotals();
        for (const std::string& signal : namesIn(data))
            readSignal(data, signal);
        readAnchors();
        readGaps();
        readClocks();
        for (auto& [signalName, signal] : signals)
            complete(signal);
    }

    std::string path() const { return pathOf(m_group); }

    std::int64_t position = 0;
    ModuleInfo info;
    std::map<std::string, Signal, std::less<>> signals;
    std::vector<ClockEstimate> clocks;

private:
    void readTotals();
    void readSignal(const Handle& data, const std::string& name);
    void readAnchors();
    void readGaps();
    void readClocks();
    void complete(Signal& signal) const;

    Handle m_group;
    std::map<std::string, SignalTotals, std::less<>> m_totals;
};

void ModuleReading::readTotals()
{
    if (call("look for totals", [&] {
            return H5Lexists(m_group.id(), "totals", H5P_DEFAULT);
        }) == 0)
        return;
    const Table table(m_group, "totals");
    const std::size_t length = table.textLength();
    table.forEach(totalsRows(length), [&](RowReader& row) {
        const std::string signal = row.text(length);
        SignalTotals totals;
        for (std::uint64_t* part : {&totals.firstIndex, &totals.endIndex, &totals.samples,
                                    &totals.missing, &totals.gaps})
            *part = row.number<std::uint64_t>();
        // A row that a kill has cut in two does not count.
        if (row.number<std::uint64_t>() == checkOf(totals) && totals.firstIndex <= totals.endIndex)
            m_totals[signal] = totals;
    });
}

void ModuleReading::readSignal(const Handle& data, const std::string& name)
{
    Handle dataset = openDataset(data, name);
    const auto place = numberOf(dataset, "position");
    if (!place)
        return; // the times of another one
    Signal signal{.position = *place, .name = name};
    SignalInfo& described = signal.info;
    described.reference = requireText(dataset, "reference");
    described.name = requireText(dataset, "long_name");
    described.column = requireText(dataset, "column");
    described.unit = requireText(dataset, "units");
    described.path = requireText(dataset, "path");
    described.type = valueTypeOf(dataset);
    const std::string times = textOf(dataset, "time").value_or("");
    described.isEven = times.empty();
    if (described.isEven)
        described.rate = millihertz(realOf(dataset, "sample_rate").value_or(0));
    else
        signal.content.times = openDataset(data, times);
    const std::string_view mark = kCalibration;
    for (const std::string& attribute : attributesOf(dataset)) {
        if (attribute.starts_with(mark))
            described.calibration.emplace_back(attribute.substr(mark.size()),
                                          requireText(dataset, attribute));
    }
    signal.totals.firstIndex = countOf(dataset, "first_index").value_or(0);
    signal.content.values = std::move(dataset);
    signals.emplace(name, std::move(signal));
}

void ModuleReading::readAnchors()
{
    const Table table(m_group, "anchors");
    const std::size_t length = table.textLength();
    table.forEach(anchorRows(length), [&](RowReader& row) {
        const auto found = signals.find(row.text(length));
        TimeLine line;
        line.firstIndex = row.number<std::uint64_t>();
        line.first = row.number<std::uint64_t>();
        line.rate = millihertz(row.number<double>());
        if (found != signals.end() && found->second.info.isEven)
            found->second.content.lines.push_back(line);
    });
}

void ModuleReading::readGaps()
{
    const Table table(m_group, "gaps");
    const std::size_t length = table.textLength();
    table.forEach(gapRows(length), [&](RowReader& row) {
        const auto found = signals.find(row.text(length));
        Gap gap;
        gap.index = row.number<std::uint64_t>();
        gap.count = row.number<std::uint64_t>();
        gap.begin = row.number<std::uint64_t>();
        gap.end = row.number<std::uint64_t>();
        const std::string cause = row.text(kCauseColumn);
        const auto known = causeNamed(cause);
        if (!known)
            damaged("a gap has the cause \"" + cause + "\"");
        gap.cause = *known;
        if (found != signals.end())
            found->second.gaps.push_back(gap);
    });
}

void ModuleReading::readClocks()
{
    const Table table(m_group, "clock");
    table.forEach(clockRows(), [&](RowReader& row) {
        ClockEstimate clock;
        clock.moduleTime = row.number<std::uint64_t>();
        clock.offset = row.number<std::int64_t>();
        clock.drift = row.number<double>();
        clock.uncertainty = row.number<std::uint64_t>();
        clocks.push_back(clock);
    });
}

/// Brings what the parts say about a signal together: what one of them does not have does not count.
void ModuleReading::complete(Signal& signal) const
{
    SignalTotals& totals = signal.totals;
    const std::uint64_t rows =
        signal.info.isEven
            ? sizeOf(signal.content.values)
            : std::min(sizeOf(signal.content.values), sizeOf(signal.content.times));
    const auto known = m_totals.find(signal.name);
    if (known != m_totals.end()) {
        totals = known->second;
        // Rows of tables that came after the flush.
        if (signal.gaps.size() > totals.gaps)
            signal.gaps.resize(static_cast<std::size_t>(totals.gaps));
    }
    std::uint64_t missing = 0;
    for (const Gap& gap : signal.gaps) {
        if (gap.count > ~gap.index)
            damaged("a gap has no end");
        missing += gap.count;
    }
    if (known == m_totals.end()) {
        totals.endIndex = totals.firstIndex + rows + (signal.info.isEven ? 0 : missing);
        totals.missing = missing;
        totals.gaps = signal.gaps.size();
        totals.samples = rows - (signal.info.isEven ? std::min(rows, missing) : 0);
    }
    const std::uint64_t needed =
        signal.info.isEven ? totals.endIndex - totals.firstIndex : totals.samples;
    if (needed > rows || missing != totals.missing ||
        totals.endIndex - totals.firstIndex != totals.samples + missing)
        damaged("signal " + signal.name + " has not what it should have");
    if (signal.info.isEven && signal.content.lines.empty() && totals.samples != 0)
        damaged("signal " + signal.name + " has no times");
}

/// Of the latest sample.
std::uint64_t latestTime(const Content& content)
{
    std::uint64_t latest = 0;
    for (std::size_t i = 0; i < content.signals.size(); ++i) {
        const SignalContent& signal = content.signals[i];
        const SignalTotals& totals = content.totals[i];
        std::uint64_t time = 0;
        if (totals.samples != 0 && signal.times)
            read(signal.times, typeOf(ValueType::uint64), totals.samples - 1, 1, &time);
        else if (totals.samples != 0 && signal.lines.back().firstIndex < totals.endIndex)
            time = signal.lines.back().at(totals.endIndex - 1);
        latest = std::max(latest, time);
    }
    return latest;
}

} // namespace

Content readContent(const std::string& path)
{
    Content content;
    content.file = open(path);
    const Handle root = openGroup(content.file, "/");
    if (textOf(root, "format") != kFormat)
        throw RecordingFailure(path + " is an HDF5 file, but no recording");
    if (numberOf(root, "format_version") != kFormatVersion)
        throw RecordingFailure(path + " was recorded by a later version of this program");
    content.end = readEnd(path, root);
    content.setup.begin = static_cast<std::uint64_t>(numberOf(root, "begin_time_ns").value_or(0));
    content.setup.isOnHostTime = textOf(root, "time_base") == "host";

    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(recordingPath(path), error);
    std::vector<ModuleReading> modules;
    for (const std::string& name : namesIn(root))
        modules.emplace_back(content.file, name, size);
    std::ranges::stable_sort(modules, {}, &ModuleReading::position);

    std::vector<ModuleReading::Signal> signals;
    for (std::size_t i = 0; i < modules.size(); ++i) {
        ModuleReading& module = modules[i];
        content.setup.modules.push_back(std::move(module.info));
        content.groups.push_back(module.path());
        for (ClockEstimate& clock : module.clocks) {
            clock.module = i;
            content.clocks.push_back(clock);
        }
        for (auto& [name, signal] : module.signals) {
            signal.info.module = i;
            signals.push_back(std::move(signal));
        }
    }
    std::ranges::stable_sort(signals, {}, &ModuleReading::Signal::position);
    for (std::size_t i = 0; i < signals.size(); ++i) {
        ModuleReading::Signal& signal = signals[i];
        for (Gap& gap : signal.gaps) {
            gap.signal = i;
            signal.content.gaps.push_back(content.gaps.size());
            content.gaps.push_back(gap);
        }
        content.setup.signals.push_back(std::move(signal.info));
        content.signals.push_back(std::move(signal.content));
        content.totals.push_back(signal.totals);
    }
    if (content.end.how != RecordingEnd::How::complete)
        content.end.time = latestTime(content);
    return content;
}

} // namespace zel::acquisition::hdf5
