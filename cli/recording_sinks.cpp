#include "recording_sinks.h"

#include "file_content.h"
#include "float32_sink.h"
#include "hdf5_sink.h"
#include "jsonl_sink.h"

#include <algorithm>
#include <chrono>
#include <filesystem>

namespace zel::cli {

RecordingSinks::RecordingSinks(CommandOutput& output, const RecordRequest& request,
                               const acquisition::Setup& setup, bool isFromFile)
    : m_output(output),
      m_request(request),
      m_setup(setup),
      m_format(formatOf(request)),
      m_isFromFile(isFromFile)
{
}

/// Two parts may begin within a second.
std::string RecordingSinks::partFile(std::uint64_t begin) const
{
    const auto& plan = m_request.plan;
    const bool isTriggered = plan.trigger || plan.isTriggeredByCall;
    const bool hasParts =
        plan.splitTime != 0 || plan.splitBytes != 0 || (isTriggered && plan.repeats != 1);
    if (m_request.out.empty() || !hasParts)
        return m_request.out;
    const std::string file = partName(m_request.out, begin);
    std::string free = file;
    const auto isTaken = [&] {
        const std::lock_guard lock{m_mutex};
        return std::ranges::find(m_names, free) != m_names.end();
    };
    const auto point = file.rfind('.');
    for (int number = 2; isTaken(); ++number)
        free = point == std::string::npos
                   ? file + '_' + std::to_string(number)
                   : file.substr(0, point) + '_' + std::to_string(number) + file.substr(point);
    return free;
}

std::vector<std::unique_ptr<acquisition::iSink>> RecordingSinks::make(std::size_t,
                                                                      std::uint64_t begin)
{
    using namespace acquisition;
    const std::string file = partFile(begin);
    OutputTarget target;
    target.name = file;
    target.mayReplace = m_request.mayReplace;
    if (file.empty())
        target.descriptor = m_output.descriptor();
    std::vector<std::unique_ptr<iSink>> sinks;
    switch (m_format) {
    case RecordingFormat::hdf5: {
        Hdf5Options options;
        options.path = file;
        options.mayReplace = m_request.mayReplace;
        options.deflate = m_request.deflate;
        options.syncEvery =
            std::chrono::milliseconds(static_cast<std::int64_t>(m_request.sync * 1000));
        sinks.push_back(std::make_unique<Hdf5Sink>(options, m_setup));
        break;
    }
    case RecordingFormat::jsonLines:
        sinks.push_back(std::make_unique<JsonlSink>(m_setup, target));
        break;
    case RecordingFormat::float32: {
        Float32Sink::Options options;
        options.target = target;
        options.isFromFile = m_isFromFile;
        sinks.push_back(std::make_unique<Float32Sink>(m_setup, options));
        break;
    }
    default: {
        CsvSink::Options options;
        options.target = target;
        options.isFromFile = m_isFromFile;
        options.isFileForEachRate = m_request.hasFileForEachRate;
        options.counts = std::make_shared<CsvSink::Counts>();
        sinks.push_back(std::make_unique<CsvSink>(m_setup, options));
        const std::lock_guard lock{m_mutex};
        m_counts.push_back(options.counts);
    }
    }
    const std::lock_guard lock{m_mutex};
    m_names.push_back(file.empty() ? "standard output" : file);
    return sinks;
}

std::optional<std::uint64_t> RecordingSinks::rows() const
{
    if (m_format != RecordingFormat::csv)
        return {};
    const std::lock_guard lock{m_mutex};
    std::uint64_t rows = 0;
    for (const auto& counts : m_counts)
        rows += counts->rows;
    return rows;
}

std::uint64_t RecordingSinks::late() const
{
    const std::lock_guard lock{m_mutex};
    std::uint64_t late = 0;
    for (const auto& counts : m_counts)
        late += counts->late;
    return late;
}

std::string RecordingSinks::name() const
{
    const std::lock_guard lock{m_mutex};
    return !m_names.empty() ? m_names.back() : m_request.out;
}

std::vector<std::string> RecordingSinks::names() const
{
    const std::lock_guard lock{m_mutex};
    return m_names;
}

} // namespace zel::cli
