#pragma once

#include <filesystem>
#include <fstream>
#include <string_view>

namespace zel {

/// A file of the trace, named after the moment in which it is made. Whole lines, each on the disk
/// before the next: a trace is read after a crash.
class clTraceFile {
public:
    /// Throws zel::exception when it cannot be made.
    clTraceFile(const std::filesystem::path& folder, std::string_view extension);

    void writeLine(std::string_view line);

private:
    std::ofstream m_out;
};

} // namespace zel
