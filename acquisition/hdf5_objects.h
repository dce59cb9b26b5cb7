#pragma once

#include "batch.h"
#include "hdf5_layout.h"
#include "hdf5_series.h"
#include "setup.h"

#include <optional>
#include <string>
#include <vector>

namespace zel::acquisition::hdf5 {

/// A signal in the file that is being recorded.
struct SignalObjects {
    std::string name; ///< of its dataset
    std::size_t module = 0;
    std::size_t valueSize = 0;
    Series values;
    std::optional<Series> times; ///< where each sample has its own

    std::uint64_t rate = 0; ///< as its attribute tells it
    TimeLine line{};
    SignalTotals totals{};
    bool hasBegun = false;
    std::uint64_t start = 0;
    bool isStartTold = false;
};

/// A module in it.
struct ModuleObjects {
    std::vector<std::size_t> signals;
    std::size_t nameLength = 0; ///< of its signals in tables
    Series gaps;
    Series anchors;
    Series clock;
    Handle totals; ///< a row for each signal, all in one chunk

    bool hasChanged = true; ///< its totals
};

struct RecordingObjects {
    Handle file;
    std::vector<ModuleObjects> modules;
    std::vector<SignalObjects> signals;

    /// Everything, the file last. Throws Failure.
    void close();
};

/// Puts into an empty file what describes the setup, and all that is going to change: nothing
/// may be added once others read.
void createObjects(RecordingObjects& objects, const Setup& setup, unsigned deflate);

/// At most so much room on the disk is needed for that.
std::uint64_t roomForObjects(const Setup& setup);

} // namespace zel::acquisition::hdf5
