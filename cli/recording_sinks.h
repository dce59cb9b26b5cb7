#pragma once

#include "command_output.h"
#include "csv_sink.h"
#include "record_request.h"
#include "setup.h"
#include "sink.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zel::cli {

/// Makes the sinks of a recording's parts in the format that is asked for.
class RecordingSinks {
public:
    /// The request must outlive this, and the setup the sinks. `isFromFile`: nothing comes late.
    RecordingSinks(CommandOutput& output, const RecordRequest& request,
                   const acquisition::Setup& setup, bool isFromFile = false);

    /// For a part that begins at this time. Throws SinkFailure.
    std::vector<std::unique_ptr<acquisition::iSink>> make(std::size_t number, std::uint64_t begin);

    /// Rows of all parts; nothing where the format has none.
    std::optional<std::uint64_t> rows() const;
    /// Signals whose rows are not in the order of time.
    std::uint64_t late() const;
    /// Of the latest part.
    std::string name() const;
    std::vector<std::string> names() const;

private:
    std::string partFile(std::uint64_t begin) const;

    CommandOutput& m_output;
    const RecordRequest& m_request;
    const acquisition::Setup& m_setup;
    const RecordingFormat m_format;
    const bool m_isFromFile;

    mutable std::mutex m_mutex;
    // under m_mutex
    std::vector<std::string> m_names;
    std::vector<std::shared_ptr<acquisition::CsvSink::Counts>> m_counts;
};

} // namespace zel::cli
