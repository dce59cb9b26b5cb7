#pragma once

#include "hdf5_reader.h"

#include <memory>
#include <string>
#include <vector>

namespace zel::acquisition {

/// What a recording holds in all.
struct RecordingSummary {
    RecordingEnd end;
    std::vector<SignalTotals> totals; ///< in the order of Setup::signals
    std::vector<Gap> gaps;            ///< those of a signal in the order of their indices
    std::vector<ClockEstimate> clocks;
};

/// A recording in a file. One thread at a time. Throws RecordingFailure.
class iRecordingReader {
public:
    virtual ~iRecordingReader() = default;

    virtual const Setup& setup() const = 0;
    virtual RecordingSummary summary() const = 0;
    /// The next samples, gaps and estimates; nothing when all has been given.
    virtual SharedBatch next() = 0;
    /// "HDF5"
    virtual std::string format() const = 0;
};

/// Opens a recording. Throws RecordingFailure.
std::unique_ptr<iRecordingReader> openRecording(const std::string& path);

} // namespace zel::acquisition
