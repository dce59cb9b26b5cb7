#include "hdf5_reader.h"

#include "hdf5_content.h"
#include "hdf5_failures.h"
#include "hdf5_track.h"

#include <algorithm>

namespace zel::acquisition {

namespace {

/// One module on its way out of the file.
struct ModuleStream {
    std::vector<hdf5::Track> tracks;
    std::vector<ClockEstimate> clocks;
    std::size_t clock = 0;

    std::uint64_t timeOfClock() const
    {
        return clock < clocks.size() ? std::min(clocks[clock].moduleTime, hdf5::kNever - 1)
                                     : hdf5::kNever;
    }
    std::uint64_t time() const
    {
        std::uint64_t time = timeOfClock();
        for (const hdf5::Track& track : tracks)
            time = std::min(time, track.time());
        return time;
    }
};

} // namespace

class Hdf5Reader::Stream {
public:
    explicit Stream(const std::string& path)
        : m_path(path), m_content(hdf5::readContent(path)), m_modules(m_content.setup.modules.size())
    {
        std::uint64_t fastest = 1;
        for (std::size_t i = 0; i < m_content.signals.size(); ++i) {
            const SignalInfo& signal = m_content.setup.signals[i];
            m_modules[signal.module].tracks.emplace_back(m_content, i);
            fastest = std::max(fastest, signal.rate);
        }
        for (const ClockEstimate& clock : m_content.clocks)
            m_modules[clock.module].clocks.push_back(clock);
        // The fastest signal fills a batch; modules come in small enough turns.
        constexpr std::uint64_t kLongest = 10'000'000'000;
        m_span = std::min(hdf5::kMostSamples * 1'000'000'000'000 / fastest + 1, kLongest);
    }

    const std::string& path() const { return m_path; }
    const hdf5::Content& content() const { return m_content; }

    SharedBatch next()
    {
        const auto module = std::ranges::min_element(m_modules, {}, &ModuleStream::time);
        const std::uint64_t from = module != m_modules.end() ? module->time() : hdf5::kNever;
        if (from == hdf5::kNever)
            return nullptr;
        auto batch = std::make_shared<Batch>();
        batch->module = static_cast<std::size_t>(module - m_modules.begin());
        batch->receivedAt = from;
        if (module->timeOfClock() <= from)
            batch->clock = module->clocks[module->clock++];
        // One estimate a batch: the next one comes with what is as late as it.
        const std::uint64_t until =
            std::min(from + std::min(m_span, hdf5::kNever - from), module->timeOfClock());
        for (hdf5::Track& track : module->tracks)
            track.take(*batch, until);
        return batch;
    }

private:
    std::string m_path;
    hdf5::Content m_content;
    std::vector<ModuleStream> m_modules;
    std::uint64_t m_span = 0;
};

Hdf5Reader::Hdf5Reader(const std::string& path)
    : m_stream(hdf5::guarded<RecordingFailure>(path, [&] { return std::make_unique<Stream>(path); }))
{
}

Hdf5Reader::~Hdf5Reader() = default;
Hdf5Reader::Hdf5Reader(Hdf5Reader&&) noexcept = default;

const Setup& Hdf5Reader::setup() const
{
    return m_stream->content().setup;
}

const RecordingEnd& Hdf5Reader::end() const
{
    return m_stream->content().end;
}

const std::vector<SignalTotals>& Hdf5Reader::totals() const
{
    return m_stream->content().totals;
}

const std::vector<Gap>& Hdf5Reader::gaps() const
{
    return m_stream->content().gaps;
}

const std::vector<ClockEstimate>& Hdf5Reader::clocks() const
{
    return m_stream->content().clocks;
}

SharedBatch Hdf5Reader::next()
{
    return hdf5::guarded<RecordingFailure>(m_stream->path(), [&] { return m_stream->next(); });
}

} // namespace zel::acquisition
