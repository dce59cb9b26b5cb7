#pragma once

#include "batch.h"

#include <stdexcept>
#include <string>

namespace zel::acquisition {

/// A sink cannot go on: what() tells a person why. What it has taken before is in its file as far
/// as the system let it.
class SinkFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Where a recording goes. Used by one thread; made with the Setup that its batches belong to.
class iSink {
public:
    virtual ~iSink() = default;

    /// Takes a batch, whole; or nothing of it, and answers false, because there is no room on the
    /// disk now: it will be given again. Throws SinkFailure.
    virtual bool write(const Batch& batch) = 0;
    /// Brings to others (readers of the file, the reader of a pipe) what has been taken; called
    /// twice a second at least, also when nothing comes. False when there is no room on the disk.
    /// Throws SinkFailure.
    virtual bool flush() = 0;
    /// The last call: writes all that is left, how the recording ended, and closes. `cause` is
    /// empty for an end as it should be. Throws SinkFailure.
    virtual void finish(const std::string& cause) = 0;

    /// Bytes that have been written.
    virtual std::uint64_t bytesWritten() const = 0;
    /// For people: "run.h5", "standard output".
    virtual std::string name() const = 0;
};

} // namespace zel::acquisition
