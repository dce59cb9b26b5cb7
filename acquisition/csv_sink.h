#pragma once

#include "csv_table.h"
#include "receipt_time.h"
#include "sink.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zel::acquisition {

/// A recording as CSV.
///
/// The file begins with lines "# ..." that name modules, start and signals; then comes the line
/// with the columns' names and a row for each time: seconds since the first row with nine decimals,
/// and a cell for each signal: empty where it has no sample at that time, "nan" where the module
/// had no value. Between the rows stand, where they belong by time:
///
///     # gap: SIGNAL: 5 samples lost from 2026-... to 2026-... (outage)
///     # late: SIGNAL, its rows are not in the order of time
///     # clock: at 2026-... offset 0.000123456 s, drift 1.5e-06, uncertainty 0.000050000 s
///
/// and at the end "# end: ..." or "# broken off: CAUSE"; neither, where the process was ended.
/// SIGNAL is the column's name. With several modules it has the module's label and a "/" in front,
/// lines "# module:" begin with the label and a comma, lines "# clock:" with the label and a colon.
/// A clock's line comes when the estimate has changed notably, every ten seconds at most: what to
/// add to the module's time for the host's.
///
/// A file ends with a whole line at any time; what is taken is written when its row is complete, at
/// least once a second.
class CsvSink : public iSink {
public:
    /// What has come of it, for any thread.
    struct Counts {
        std::atomic<std::uint64_t> rows = 0;
        std::atomic<std::uint64_t> late = 0; ///< signals whose rows are not in the order of time
    };

    struct Options {
        OutputTarget target;
        /// A file for each rate: "run.1200Hz.csv", "run.timed.csv". Needs the name of a file.
        bool isFileForEachRate = false;
        /// The batches come in the order of their oldest samples, as readers of recordings give
        /// them: rows wait for no signal any longer than for that.
        bool isFromFile = false;
        std::size_t memory = std::size_t{64} << 20U; ///< bytes of values that may wait for others
        std::shared_ptr<Counts> counts = nullptr;    ///< may be null
    };

    /// Makes the files. The setup must outlive this. Throws SinkFailure; then there is no file
    /// that was not there before.
    CsvSink(const Setup& setup, const Options& options);

    bool write(const Batch& batch) override;
    bool flush() override;
    void finish(const std::string& cause) override;
    std::uint64_t bytesWritten() const override;
    std::string name() const override { return m_name; }

private:
    void makeTables(const Setup& setup, const Options& options);
    bool writeTables();
    void count();

    std::string m_name;
    const std::shared_ptr<Counts> m_counts;
    std::vector<std::unique_ptr<CsvTable>> m_tables;
    ReceiptTime m_time;
};

} // namespace zel::acquisition
