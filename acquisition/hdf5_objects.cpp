#include "hdf5_objects.h"

#include "iso_time.h"

#include <algorithm>
#include <bit>

namespace zel::acquisition::hdf5 {

namespace {

constexpr std::uint64_t kMillihertz = 1000;
constexpr std::size_t kTableChunk = 64;
constexpr std::size_t kTimedChunk = 1024;

/// Elements of a chunk: about a second of them, so that a flush has little to write again, and
/// never so many that memory or a single write becomes large.
std::size_t chunkFor(const SignalInfo& signal, unsigned deflate)
{
    if (!signal.isEven)
        return kTimedChunk;
    constexpr std::uint64_t kLargest = 1 << 20;
    const std::uint64_t least = deflate != 0 ? 16384 : 4096;
    const std::uint64_t second = std::min(signal.rate / kMillihertz, kLargest) * sizeOf(signal.type);
    return std::bit_floor(std::clamp(second, least, kLargest)) / sizeOf(signal.type);
}

void describeFile(const Handle& file, const Setup& setup, const std::string& first)
{
    const Handle root = openGroup(file, "/");
    setText(root, "NX_class", "NXroot");
    setText(root, "format", kFormat);
    setNumber(root, "format_version", kFormatVersion);
    if (!first.empty())
        setText(root, "default", first);
    setText(root, "begin_time", isoTime(setup.begin));
    setNumber(root, "begin_time_ns", static_cast<std::int64_t>(setup.begin));
    setText(root, "time_base", setup.isOnHostTime ? "host" : "module");
    setFixedText(root, "state", kStateRecording, kStateLength);
    setFixedText(root, "cause", "", kCauseLength);
    setFixedText(root, "end_time", "", kTimeLength);
    setNumber(root, "end_time_ns", std::int64_t{0});
}

void describeModule(const Handle& group, const ModuleInfo& module, std::size_t position)
{
    setText(group, "NX_class", "NXentry");
    setText(group, "default", "data");
    setText(group, "label", module.label);
    setText(group, "address", module.address);
    setNumber(group, "uuid", module.uuid);
    setText(group, "name", module.name);
    setNumber(group, "position", static_cast<std::int64_t>(position));

    const Handle type = textType(std::max<std::size_t>(module.parameters.size(), 1));
    const Handle space{"make a space", H5Sclose, [] { return H5Screate(H5S_SCALAR); }};
    const Handle document{"make a dataset", H5Dclose, [&] {
                              return H5Dcreate2(group.id(), "parameters", type.id(), space.id(),
                                                H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
                          }};
    call("write the parameters of a module", [&] {
        return H5Dwrite(document.id(), type.id(), H5S_ALL, H5S_ALL, H5P_DEFAULT,
                        module.parameters.c_str());
    });
}

void describeSignal(const Handle& dataset, const SignalInfo& signal, std::size_t position)
{
    setText(dataset, "units", signal.unit);
    setText(dataset, "long_name", signal.name);
    setText(dataset, "reference", signal.reference);
    setText(dataset, "column", signal.column);
    setText(dataset, "path", signal.path);
    setValue(dataset, "_FillValue", typeOf(signal.type), fillerOf(signal.type).data());
    setNumber(dataset, "position", static_cast<std::int64_t>(position));
    if (signal.isEven)
        setNumber(dataset, "sample_rate", static_cast<double>(signal.rate) / kMillihertz);
    setNumber(dataset, "first_index", std::uint64_t{0});
    setNumber(dataset, "start_time_ns", std::int64_t{0});
    setFixedText(dataset, "start_time", "", kTimeLength);
    for (const auto& [name, value] : signal.calibration)
        setText(dataset, kCalibration + name, value);
}

Series makeTimes(const Handle& data, const std::string& name, const Series& values)
{
    Series times(data, name, {typeOf(ValueType::int64), 8, kTimedChunk, {}, 0});
    setText(times.dataset(), "units", "nanoseconds since 1970-01-01 00:00:00");
    setText(times.dataset(), "calendar", "proleptic_gregorian");
    setText(times.dataset(), "long_name", "time");
    call("make a dataset", [&] {
        return std::min({H5DSset_scale(times.dataset().id(), name.c_str()),
                         H5DSattach_scale(values.dataset().id(), times.dataset().id(), 0)});
    });
    return times;
}

SignalObjects makeSignal(const SignalInfo& info, std::size_t position, const Handle& data,
                         ObjectNames& names, unsigned deflate)
{
    const std::string name = names.next(info.column);
    Series values(data, name,
                  {typeOf(info.type), sizeOf(info.type), chunkFor(info, deflate),
                   fillerOf(info.type), deflate});
    describeSignal(values.dataset(), info, position);
    std::optional<Series> times;
    if (!info.isEven) {
        const std::string nameOfTimes = names.next(name + "_time");
        times = makeTimes(data, nameOfTimes, values);
        setText(values.dataset(), "time", nameOfTimes);
    }
    return {.name = name,
            .module = info.module,
            .valueSize = sizeOf(info.type),
            .values = std::move(values),
            .times = std::move(times),
            .rate = info.rate};
}

Series makeTable(const Handle& group, const std::string& name, const RowType& rows)
{
    return {group, name, {rows.type().id(), rows.size(), kTableChunk, {}, 0}};
}

/// Of a fixed size, and with its place in the file from the beginning.
Handle makeTotals(const Handle& group, std::size_t signals, std::size_t nameLength)
{
    if (signals == 0)
        return {};
    const hsize_t size = signals;
    const RowType rows = totalsRows(nameLength);
    const Handle space{"make a dataset", H5Sclose,
                       [&] { return H5Screate_simple(1, &size, nullptr); }};
    const Handle creation{"make a dataset", H5Pclose,
                          [] { return H5Pcreate(H5P_DATASET_CREATE); }};
    call("make a dataset", [&] { return H5Pset_chunk(creation.id(), 1, &size); });
    return {"make a dataset", H5Dclose, [&] {
                return H5Dcreate2(group.id(), "totals", rows.type().id(), space.id(), H5P_DEFAULT,
                                  creation.id(), H5P_DEFAULT);
            }};
}

ModuleObjects makeModule(const Handle& file, const std::string& name, const Setup& setup,
                         std::size_t position, unsigned deflate,
                         std::vector<std::optional<SignalObjects>>& signals)
{
    const Handle group = createGroup(file, name);
    describeModule(group, setup.modules[position], position);
    const Handle data = createGroup(group, "data");
    setText(data, "NX_class", "NXdata");
    ObjectNames names;
    std::vector<std::size_t> own;
    std::size_t nameLength = 1;
    for (std::size_t i = 0; i < setup.signals.size(); ++i) {
        if (setup.signals[i].module != position)
            continue;
        signals[i] = makeSignal(setup.signals[i], i, data, names, deflate);
        nameLength = std::max(nameLength, signals[i]->name.size());
        if (own.empty()) {
            // What a viewer shows first.
            setText(data, "signal", signals[i]->name);
            setText(data, "axes", textOf(signals[i]->values.dataset(), "time").value_or("."));
        }
        own.push_back(i);
    }
    return {.signals = own,
            .nameLength = nameLength,
            .gaps = makeTable(group, "gaps", gapRows(nameLength)),
            .anchors = makeTable(group, "anchors", anchorRows(nameLength)),
            .clock = makeTable(group, "clock", clockRows()),
            .totals = makeTotals(group, own.size(), nameLength)};
}

} // namespace

void RecordingObjects::close()
{
    signals.clear();
    modules.clear();
    file.close("close the file");
}

void createObjects(RecordingObjects& objects, const Setup& setup, unsigned deflate)
{
    std::vector<std::optional<SignalObjects>> signals(setup.signals.size());
    ObjectNames names;
    std::string first;
    for (std::size_t i = 0; i < setup.modules.size(); ++i) {
        const std::string name = names.next(setup.modules[i].label);
        first = i == 0 ? name : first;
        objects.modules.push_back(makeModule(objects.file, name, setup, i, deflate, signals));
    }
    // Each one belongs to one of the modules.
    for (auto& signal : signals)
        objects.signals.push_back(std::move(signal.value()));
    describeFile(objects.file, setup, first);
}

std::uint64_t roomForObjects(const Setup& setup)
{
    std::uint64_t room = 64 * 1024;
    for (const ModuleInfo& module : setup.modules)
        room += 16 * 1024 + module.parameters.size();
    for (const SignalInfo& signal : setup.signals) {
        room += 16 * 1024;
        for (const auto& [name, value] : signal.calibration)
            room += 256 + name.size() + 2 * value.size();
    }
    return room;
}

} // namespace zel::acquisition::hdf5
