#pragma once

#include "setup.h"
#include "sink.h"

#include <chrono>
#include <memory>
#include <string>

namespace zel::acquisition {

namespace hdf5 {
class Recording;
}

struct Hdf5Options {
    std::string path; ///< UTF-8
    bool mayReplace = false;
    /// 1 to 9: whole chunks are shuffled and compressed. A chunk that a flush found unfinished stays
    /// as it is, so what a recording saves depends on how many samples come between two flushes.
    unsigned deflate = 0;
    /// How often what was flushed is brought to the disk itself, in case the power fails: 0 never.
    /// Whoever flushes waits for it.
    std::chrono::milliseconds syncEvery{0};
};

/// A recording as an HDF5 file, which others may read while it grows. What a flush has finished is
/// there whatever comes. Disk space is reserved ahead of the data where the file system can do that:
/// then the disk becomes full between two batches, and what was taken still gets its place.
class Hdf5Sink : public iSink {
public:
    /// Throws SinkFailure: the file is there, is being recorded into, cannot be made.
    Hdf5Sink(const Hdf5Options& options, const Setup& setup);
    /// Without finish() the recording is broken off.
    ~Hdf5Sink() override;

    bool write(const Batch& batch) override;
    bool flush() override;
    void finish(const std::string& cause) override;
    std::uint64_t bytesWritten() const override;
    std::string name() const override;

private:
    template <class Work>
    auto guarded(Work work);

    const std::string m_name;
    std::unique_ptr<hdf5::Recording> m_recording;
    std::uint64_t m_bytes = 0;
};

} // namespace zel::acquisition
