#include "csv_sink.h"

#include <map>

namespace zel::acquisition {

namespace {

/// The name with something before its ".csv".
std::string nameWith(const std::string& name, const std::string& inserted)
{
    constexpr std::string_view kEnding = ".csv";
    const bool hasEnding = name.ends_with(kEnding);
    const std::string stem = hasEnding ? name.substr(0, name.size() - kEnding.size()) : name;
    return stem + '.' + inserted + std::string(kEnding);
}

} // namespace

CsvSink::CsvSink(const Setup& setup, const Options& options)
    : m_name(options.target.name.empty() ? "standard output" : options.target.name),
      m_counts(options.counts ? options.counts : std::make_shared<Counts>())
{
    try {
        makeTables(setup, options);
        for (const auto& table : m_tables)
            table->file().clear();
    } catch (...) {
        for (const auto& table : m_tables)
            table->file().undo();
        throw;
    }
}

void CsvSink::makeTables(const Setup& setup, const Options& options)
{
    std::map<std::uint64_t, std::vector<std::size_t>> signals; // by rate
    for (std::size_t i = 0; i < setup.signals.size(); ++i) {
        const SignalInfo& signal = setup.signals[i];
        signals[options.isFileForEachRate && signal.isEven ? signal.rate : 0].push_back(i);
    }
    if (!options.isFileForEachRate) {
        m_tables.push_back(std::make_unique<CsvTable>(setup, signals[0], options.target,
                                                      options.memory, options.isFromFile));
        return;
    }
    if (options.target.name.empty())
        throw SinkFailure("a file for each rate needs the name of a file");
    m_name = nameWith(options.target.name, "*");
    for (const auto& [rate, positions] : signals) {
        OutputTarget target = options.target;
        target.name = nameWith(target.name, rate > 0 ? rateText(rate) + "Hz" : "timed");
        m_tables.push_back(std::make_unique<CsvTable>(
            setup, positions, target, options.memory / signals.size(), options.isFromFile));
    }
}

bool CsvSink::write(const Batch& batch)
{
    m_time.called();
    if (!writeTables())
        return false;
    m_time.pass(batch.receivedAt);
    for (const auto& table : m_tables)
        table->take(batch, m_time.now());
    writeTables(); // what finds no room comes first the next time
    count();
    return true;
}

bool CsvSink::flush()
{
    m_time.idle();
    for (const auto& table : m_tables)
        table->releaseOld(m_time.now());
    const bool hasRoom = writeTables();
    count();
    return hasRoom;
}

bool CsvSink::writeTables()
{
    bool isAll = true;
    for (const auto& table : m_tables)
        isAll = table->write() && isAll;
    return isAll;
}

void CsvSink::finish(const std::string& cause)
{
    std::string failure;
    for (const auto& table : m_tables) {
        try {
            table->finish(cause);
        } catch (const ReaderGone&) {
            throw;
        } catch (const SinkFailure& error) {
            failure = error.what();
        }
    }
    count();
    if (!failure.empty())
        throw SinkFailure(failure);
}

void CsvSink::count()
{
    std::uint64_t rows = 0;
    std::uint64_t late = 0;
    for (const auto& table : m_tables) {
        rows += table->rows();
        late += table->late();
    }
    m_counts->rows = rows;
    m_counts->late = late;
}

std::uint64_t CsvSink::bytesWritten() const
{
    std::uint64_t bytes = 0;
    for (const auto& table : m_tables)
        bytes += table->file().written();
    return bytes;
}

} // namespace zel::acquisition
