#pragma once

#include "batch.h"
#include "setup.h"

#include <optional>
#include <span>
#include <string>

// The lines of a CSV recording that are no rows; each ends with its line end.
namespace zel::acquisition {

/// What a signal is called in a table: by its own column name or its reference, with its module's
/// label in front where there are several modules.
std::string columnName(const Setup& setup, std::size_t signal);

/// "# module: ..." and what else describes the recording, then the names of the columns. `start`:
/// time of the first row, where there is one.
std::string csvHeading(const Setup& setup, std::span<const std::size_t> signals,
                       std::optional<std::uint64_t> start);

std::string gapLine(const Setup& setup, const Gap& gap);
std::string lateLine(const Setup& setup, std::size_t signal);
std::string clockLine(const Setup& setup, const ClockEstimate& clock);
std::string endLine(std::uint64_t latest, std::uint64_t rows, std::uint64_t samples,
                    std::uint64_t lost);
std::string brokenOffLine(const std::string& cause);

} // namespace zel::acquisition
