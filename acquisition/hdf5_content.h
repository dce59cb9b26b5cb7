#pragma once

#include "batch.h"
#include "hdf5_layout.h"
#include "hdf5_library.h"
#include "hdf5_reader.h"
#include "setup.h"
#include "signal_totals.h"

#include <string>
#include <vector>

namespace zel::acquisition::hdf5 {

/// A signal's part of a file that is read.
struct SignalContent {
    Handle values;
    Handle times;                  ///< where each sample has its own
    std::vector<TimeLine> lines;   ///< each from its first index on; at least one where it is even
    std::vector<std::size_t> gaps; ///< positions in Content::gaps
};

/// All of a file but the samples. Nothing that it says is believed unseen.
struct Content {
    Handle file;
    Setup setup;
    std::vector<std::string> groups; ///< of the modules
    RecordingEnd end;
    std::vector<SignalContent> signals; ///< as in the setup
    std::vector<SignalTotals> totals;
    std::vector<Gap> gaps;
    std::vector<ClockEstimate> clocks;
};

/// Throws Failure, GuardedFile::Failure and RecordingFailure.
Content readContent(const std::string& path);

} // namespace zel::acquisition::hdf5
