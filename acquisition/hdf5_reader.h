#pragma once

#include "batch.h"
#include "setup.h"
#include "signal_totals.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace zel::acquisition {

/// A file cannot be read as a recording, or not be repaired: what() tells a person why.
class RecordingFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// How a recording ended.
struct RecordingEnd {
    enum class How {
        complete,
        brokenOff, ///< for `cause`; where that is empty nobody could write why
        recording  ///< it is still going on
    };
    How how = How::brokenOff;
    std::string cause;
    /// Nanoseconds since 1970: by the host's clock where it is complete, else of the latest sample.
    std::uint64_t time = 0;
};

/// A recording made by Hdf5Sink, as of the last flush before it is opened: a finished one, one that
/// broke off, or one that is going on. One thread at a time.
class Hdf5Reader {
public:
    /// Throws RecordingFailure.
    explicit Hdf5Reader(const std::string& path);
    ~Hdf5Reader();
    Hdf5Reader(Hdf5Reader&&) noexcept;

    const Setup& setup() const;
    const RecordingEnd& end() const;
    /// In the order of setup().signals.
    const std::vector<SignalTotals>& totals() const;
    /// Those of a signal in the order of their indices.
    const std::vector<Gap>& gaps() const;
    const std::vector<ClockEstimate>& clocks() const;

    /// The next samples, gaps and estimates: the module whose samples are the oldest first, some
    /// 65,536 of a signal at most. Nothing when all has been given. Throws RecordingFailure.
    SharedBatch next();

private:
    class Stream;
    std::unique_ptr<Stream> m_stream;
};

enum class Repair { wasFine, closed };

/// Closes a recording that broke off, so that any program can open it, and writes down that it did.
/// What came after its last flush is left out. Throws RecordingFailure: it is being recorded, it is
/// no recording, there is no room on the disk.
Repair repairHdf5(const std::string& path);

} // namespace zel::acquisition
