#include "guarded_file.h"
#include "hdf5_content.h"
#include "hdf5_failures.h"
#include "hdf5_layout.h"
#include "hdf5_reader.h"
#include "iso_time.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace zel::acquisition {

namespace {

using namespace hdf5;

bool isFine(const std::string& path)
{
    try {
        const Handle file = openFile(path, Access::read);
        const Handle root = openGroup(file, "/");
        return textOf(root, "format") == kFormat && textOf(root, "state") != kStateRecording;
    } catch (const Failure&) {
        return false;
    }
}

/// What a dataset keeps.
struct Part {
    std::string path;
    std::uint64_t size;
};

/// All that was flushed, and when it ends.
std::pair<std::vector<Part>, std::uint64_t> partsOf(const Content& content)
{
    std::vector<Part> parts;
    std::vector<std::uint64_t> gaps(content.groups.size());
    for (std::size_t i = 0; i < content.signals.size(); ++i) {
        const SignalContent& signal = content.signals[i];
        const SignalTotals& totals = content.totals[i];
        gaps[content.setup.signals[i].module] += totals.gaps;
        const std::uint64_t size =
            signal.times ? totals.samples : totals.endIndex - totals.firstIndex;
        parts.push_back({pathOf(signal.values), size});
        if (signal.times)
            parts.push_back({pathOf(signal.times), size});
    }
    for (std::size_t i = 0; i < gaps.size(); ++i)
        parts.push_back({content.groups[i] + "/gaps", gaps[i]});
    return {parts, content.end.time};
}

void shorten(const Handle& file, const Part& part)
{
    const Handle dataset = openDataset(file, part.path);
    const hsize_t size = part.size;
    if (sizeOf(dataset) > size)
        call("shorten a dataset", [&] { return H5Dset_extent(dataset.id(), &size); });
}

} // namespace

Repair repairHdf5(const std::string& path)
{
    return guarded<RecordingFailure>(path, [&] {
        GuardedFile guard(path, GuardedFile::Opening::existing);
        if (isFine(path))
            return Repair::wasFine;
        // Read to its end, and closed, before anything is changed.
        const auto [parts, end] = partsOf(readContent(path));
        Handle file = openFile(path, Access::repair);
        for (const Part& part : parts)
            shorten(file, part);
        {
            const Handle root = openGroup(file, "/");
            changeText(root, "end_time", isoTime(end));
            changeNumber(root, "end_time_ns", static_cast<std::int64_t>(end));
            changeText(root, "state", kStateBrokenOff);
        }
        file.close("close the file");
        guard.trim();
        return Repair::closed;
    });
}

} // namespace zel::acquisition
