#pragma once

#include "preparation.h"
#include "recorder.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zel::cli {

enum class RecordingFormat : std::uint8_t { csv, hdf5, jsonLines, float32 };

/// What 'zel record' is asked for, from its command line or from a file.
struct RecordRequest {
    std::vector<acquisition::ModuleRequest> modules;
    std::string out;                       ///< empty: standard output
    std::optional<RecordingFormat> format; ///< empty: by the file's name
    bool mayReplace = false;
    bool hasFileForEachRate = false;
    unsigned deflate = 0;
    double sync = 0; ///< seconds

    acquisition::RecordingPlan plan;
    std::string triggerModule;  ///< label or address; empty: the first one
    std::string triggerSignal;  ///< reference, name or column
    std::string libraryTrigger; ///< text of a trigger of the library
    bool mayReconnect = true;
    bool isOnHostTime = false;
};

/// Each address begins a module, and what follows are its signals. A module's own name is told
/// from a signal's by an "@" before it. Throws CommandFailure.
std::vector<acquisition::ModuleRequest> modulesOf(const std::vector<std::string>& words);

// Texts that people type; nothing where they make no sense.

/// "90", "90s", "500ms", "15min", "1h", "2d": nanoseconds, above 0.
std::optional<std::uint64_t> timeSpan(const std::string& text);
/// "500MB", "1.5 GiB", "1GB"
std::optional<std::uint64_t> dataSize(const std::string& text);
/// "2026-11-21T18:00:00Z", "2026-11-21T18:00:00.5", "18:00", "18:00:30" (the next time the clock
/// shows it), without Z by the host's clock: nanoseconds since 1970.
std::optional<std::uint64_t> pointInTime(const std::string& text);
std::optional<RecordingFormat> formatNamed(const std::string& name);

/// By the name: ".h5" and ".hdf5" are HDF5, ".jsonl" JSON lines, ".f32" raw; all else is CSV.
RecordingFormat formatOf(const RecordRequest& request);

/// The file of one part of a recording that has several: "run-2026-11-21T18-00-00.h5".
std::string partName(const std::string& file, std::uint64_t begin);

} // namespace zel::cli
