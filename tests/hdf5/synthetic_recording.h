#pragma once

#include "batch.h"
#include "hdf5_sink.h"
#include "setup.h"

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace zel::test {

/// Two modules with a signal of every kind, which make the same in every run: gaps of every cause,
/// other rates, clocks that are set.
class SyntheticRecording {
public:
    static acquisition::Setup setup();

    /// The next batch: of either module in turns.
    acquisition::Batch next();

private:
    void addGap(acquisition::Batch& batch, std::size_t signal, acquisition::Cause cause,
                std::uint64_t count);
    void addChunk(acquisition::Batch& batch, std::size_t signal, std::size_t count);

    struct Track {
        std::uint64_t index = 0;
        acquisition::TimeLine line;
        std::uint64_t time = 0; // of the next sample, where each has its own
    };
    std::uint64_t m_step = 0;
    std::map<std::size_t, Track> m_tracks;
};

/// What batches hold, however it is split among them.
struct Collected {
    using Sample = std::tuple<std::uint64_t, std::uint64_t, std::uint64_t>; // index, time, bits
    using Row = std::tuple<std::uint64_t, std::uint64_t, std::uint64_t, std::uint64_t, int>;
    using Clock = std::tuple<std::uint64_t, std::int64_t, double, std::uint64_t>;

    std::map<std::size_t, std::vector<Sample>> samples;
    std::map<std::size_t, std::vector<Row>> gaps;
    std::map<std::size_t, std::vector<Clock>> clocks;

    void add(const acquisition::Batch& batch);
    bool operator==(const Collected&) const = default;
    /// Whether a module's samples and gaps are the same.
    bool isSame(const Collected& other, std::size_t module) const;

    /// What so many batches hold.
    static Collected ofSteps(std::uint64_t steps);
    /// What a file holds.
    static Collected ofFile(const std::string& path);
};

/// Batches between two flushes of the recorder process.
inline constexpr std::uint64_t kStepsPerFlush = 5;

/// Records so many batches and ends; tells in `progress` how many have been flushed.
int record(const std::string& path, const std::string& progress, std::uint64_t steps,
           unsigned deflate);

} // namespace zel::test
