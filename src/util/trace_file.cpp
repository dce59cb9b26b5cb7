#include "trace_file.h"

#include "exception.h"

#include <chrono>
#include <locale>
#include <string>
#include <system_error>

namespace zel {

namespace {

std::string utf8(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

/// "/API_9h_5m_7s_21ms": UTC, without leading zeros.
std::string nameOfThisMoment()
{
    using namespace std::chrono;
    const auto now = floor<milliseconds>(system_clock::now());
    const hh_mm_ss time{now - floor<days>(now)};
    return "/API_" + std::to_string(time.hours().count()) + "h_" +
           std::to_string(time.minutes().count()) + "m_" + std::to_string(time.seconds().count()) +
           "s_" + std::to_string(time.subseconds().count()) + "ms";
}

} // namespace

clTraceFile::clTraceFile(const std::filesystem::path& folder, std::string_view extension)
{
    std::filesystem::path file = folder;
    file += nameOfThisMoment();
    file += extension;
    std::error_code failure; // shows when the file is opened
    std::filesystem::create_directories(folder, failure);
    m_out.imbue(std::locale::classic());
    m_out.open(file, std::ios::binary);
    if (!m_out)
        throw exception("could not open trace file " + utf8(file));
}

void clTraceFile::writeLine(std::string_view line)
{
    m_out << line << '\n' << std::flush;
}

} // namespace zel
