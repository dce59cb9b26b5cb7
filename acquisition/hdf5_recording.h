#pragma once

#include "batch.h"
#include "guarded_file.h"
#include "hdf5_objects.h"
#include "hdf5_sink.h"
#include "setup.h"

#include <chrono>
#include <string>

namespace zel::acquisition::hdf5 {

/// What Hdf5Sink writes. Everything throws Failure and GuardedFile::Failure.
class Recording {
public:
    Recording(const Hdf5Options& options, const Setup& setup);
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;
    ~Recording();

    /// Takes the batch, or nothing of it: false.
    bool write(const Batch& batch);
    bool flush(bool isLast);
    void finish(const std::string& cause);

    std::uint64_t fileSize() const { return m_fileSize; }

private:
    std::uint64_t roomFor(const Batch& batch) const;
    bool reserve(std::uint64_t end);
    bool settle(bool isLast);

    void take(const Batch& batch, const Chunk& chunk);
    void takeLine(SignalObjects& signal, const Chunk& chunk);
    void take(const Gap& gap);
    void take(const ClockEstimate& clock);
    void begin(SignalObjects& signal, std::uint64_t index, std::uint64_t time);

    void tellStart(SignalObjects& signal);
    void writeTotals(ModuleObjects& module);
    void syncIfDue(bool isLast);

    const Hdf5Options m_options;
    GuardedFile m_guard;
    RecordingObjects m_objects;
    std::uint64_t m_fileSize = 0;
    std::uint64_t m_planned = 0;  // size at most once everything that was taken is written
    std::uint64_t m_reserved = 0; // size for which there is room
    bool m_isShort = false;   // something that was taken could not be written
    bool m_hasChanged = true; // since the last flush
    std::chrono::steady_clock::time_point m_synced = std::chrono::steady_clock::now();
    RowWriter m_row;
};

} // namespace zel::acquisition::hdf5
