#include "logger.h"

#include "host_facts.h"
#include "process_wide.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <optional>
#include <string>

namespace zel {

namespace {

constexpr std::array<std::string_view, 8> kLevelWords = {"EMRG ", "ALRT ", "CRIT ", "ERR  ",
                                                         "WARN ", "NOTE ", "INFO ", "DBG  "};

std::optional<std::uint32_t> parseWhole(const char* text, int base)
{
    if (text == nullptr)
        return std::nullopt;
    std::string_view digits = text;
    if (base == 16 && (digits.starts_with("0x") || digits.starts_with("0X")))
        digits.remove_prefix(2);
    std::uint32_t value = 0;
    const char* const end = digits.data() + digits.size();
    const auto parsed = std::from_chars(digits.data(), end, value, base);
    if (parsed.ec != std::errc{} || parsed.ptr != end)
        return std::nullopt;
    return value;
}

void append2Digits(std::string& line, int number)
{
    line += static_cast<char>('0' + number / 10 % 10);
    line += static_cast<char>('0' + number % 10);
}

std::string timeStamp()
{
    const std::tm now = localTime();
    std::string stamp;
    append2Digits(stamp, now.tm_hour);
    stamp += ':';
    append2Digits(stamp, now.tm_min);
    stamp += ':';
    append2Digits(stamp, now.tm_sec);
    stamp += ' ';
    return stamp;
}

void put(std::FILE* stream, std::string_view text)
{
    std::fwrite(text.data(), 1, text.size(), stream);
}

struct LoggerOfTheProcess : clLogger {
    LoggerOfTheProcess()
    {
        configure(environmentText("ZEL_LOG_CATEGORIES").c_str(),
                  environmentText("ZEL_LOG_LEVEL").c_str());
    }
};

} // namespace

void clLogger::write(LogLevel level, LogCategory category, std::string_view text) noexcept
{
    if (!isOn(category))
        return;
    // The category stands as five bytes: the upper one is always zero.
    std::array<char, 32> start{};
    std::snprintf(start.data(), start.size(), "Log %02X%08X: ", 0U,
                  static_cast<unsigned>(category));
    try {
        output(capped(level, category), start.data(), text);
    } catch (const std::exception&) {
    }
}

void clLogger::writePlain(LogLevel level, std::string_view text)
{
    output(level, "Log: ", text);
}

void clLogger::setOpen(bool isOpen)
{
    if (m_isOpen == isOpen)
        return;
    writePlain(LogLevel::info, isOpen ? "logging opened" : "logging closed");
    m_isOpen = isOpen;
}

void clLogger::configure(const char* categories, const char* level)
{
    constexpr auto kHighest = static_cast<std::uint32_t>(LogLevel::debug);
    if (const auto threshold = parseWhole(level, 10); threshold && *threshold <= kHighest)
        setThreshold(*threshold);
    if (const auto mask = parseWhole(categories, 16)) {
        setMask(*mask);
        setOpen(true);
    }
}

LogLevel clLogger::capped(LogLevel level, LogCategory category) const
{
    if (isIn(m_errorCategories, category))
        return std::min(level, LogLevel::error);
    if (isIn(m_warningCategories, category))
        return std::min(level, LogLevel::warning);
    if (isIn(m_infoCategories, category))
        return std::min(level, LogLevel::info);
    return level;
}

void clLogger::output(LogLevel level, std::string_view start, std::string_view text)
{
    const auto number = static_cast<std::uint32_t>(level);
    if (number > m_threshold.load(std::memory_order_relaxed))
        return;
    std::string line = timeStamp();
    if (number >= kLevelWords.size()) {
        put(stdout, line);
        return;
    }
    // The time stamp of a severe line stays on standard output, its text goes to standard error.
    std::FILE* stream = stdout;
    if (level <= LogLevel::error) {
        put(stdout, line);
        line.clear();
        stream = stderr;
    }
    line.append(kLevelWords[number]).append(start).append(text).append(1, '\n');
    put(stream, line);
    std::fflush(stream);
}

clLogger& logger()
{
    // It has no lock, and a child's may be its parent's: so it never needs memory.
    static constinit ProcessWide<LoggerOfTheProcess, InChild::kept> instance;
    return *instance;
}

} // namespace zel
