#pragma once

#include <atomic>
#include <concepts>
#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

namespace zel {

/// A lower level is more severe.
enum class LogLevel : std::uint32_t {
    emergency = 0,
    alert,
    critical,
    error,
    warning,
    note,
    info,
    debug
};

/// Single bits of the logger's masks.
enum class LogCategory : std::uint32_t {
    measurement = 0x40000,
    transactions = 0x2000000,
    system = 0x8000000
};

/// Writes time-stamped lines to the process's standard output and standard error, for those
/// categories that its mask names and up to its threshold.
///
/// Any thread may call anything at any time. There is no lock: lines of several threads may
/// interleave where one line goes to both streams.
class clLogger {
public:
    /// Closed, no category on, threshold LogLevel::info.
    clLogger() = default;
    clLogger(const clLogger&) = delete;
    clLogger& operator=(const clLogger&) = delete;

    /// Whether write() with this category can produce a line.
    bool isOn(LogCategory category) const
    {
        return m_isOpen.load(std::memory_order_relaxed) && isIn(m_mask, category);
    }

    // A line that there is no memory for is left out: nothing may fail for the sake of the log.

    /// One line of a category, if logging is open and the category on.
    void write(LogLevel level, LogCategory category, std::string_view text) noexcept;
    /// The same with a text that `compose` makes, only where it is written.
    template <std::invocable Compose>
    void write(LogLevel level, LogCategory category, Compose&& compose) noexcept
    {
        if (!isOn(category))
            return;
        try {
            const std::string text = compose();
            write(level, category, std::string_view{text});
        } catch (const std::exception&) {
        }
    }

    /// One line "Log: " + text, subject to the threshold alone.
    void writePlain(LogLevel level, std::string_view text);

    /// Opens or closes logging and notes the change; setting the state that it has does nothing.
    void setOpen(bool isOpen);

    void setMask(std::uint32_t categories) { m_mask = categories; }

    /// Lines of these categories are written at level 6, 4 or 3 at the most. A category that is in
    /// several takes the most severe.
    void setInfoCategories(std::uint32_t categories) { m_infoCategories = categories; }
    void setWarningCategories(std::uint32_t categories) { m_warningCategories = categories; }
    void setErrorCategories(std::uint32_t categories) { m_errorCategories = categories; }

    /// The highest level that is written.
    void setThreshold(std::uint32_t level) { m_threshold = level; }

    /// Sets mask and threshold from the texts of the environment variables ZEL_LOG_CATEGORIES
    /// (hexadecimal) and ZEL_LOG_LEVEL (0 to 7), and opens logging when a mask is given. A null or
    /// malformed text counts as absent.
    void configure(const char* categories, const char* level);

private:
    static bool isIn(const std::atomic<std::uint32_t>& categories, LogCategory category)
    {
        return (categories.load(std::memory_order_relaxed) &
                static_cast<std::uint32_t>(category)) != 0;
    }
    LogLevel capped(LogLevel level, LogCategory category) const;
    void output(LogLevel level, std::string_view start, std::string_view text);

    // any thread
    std::atomic<std::uint32_t> m_mask = 0;
    std::atomic<std::uint32_t> m_infoCategories = 0;
    std::atomic<std::uint32_t> m_warningCategories = 0;
    std::atomic<std::uint32_t> m_errorCategories = 0;
    std::atomic<bool> m_isOpen = false;
    std::atomic<std::uint32_t> m_threshold = static_cast<std::uint32_t>(LogLevel::info);
};

/// The process's one logger, made and configured from the environment on first use.
clLogger& logger();

/// One line about transactions, see clLogger::write().
template <class Text>
void logTransaction(LogLevel level, Text&& text) noexcept
{
    logger().write(level, LogCategory::transactions, std::forward<Text>(text));
}

} // namespace zel
