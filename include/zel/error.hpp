/**
 * @file error.hpp
 * What the C++ interface throws. Included by ZEL_VR_Framework.hpp.
 */
#ifndef ZEL_ERROR_HPP
#define ZEL_ERROR_HPP

#include "../ZEL_VR_Framework.h"

#include <charconv>
#include <cstdint>
#include <iterator>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace zel {

/// A call of the library gave a negative code. Copying one never throws, so that it can be caught
/// by value and passed between threads (std::exception_ptr).
///
/// An argument that makes no sense is a std::invalid_argument instead, and then nothing was sent;
/// std::bad_alloc means what it always does.
class Error : public std::runtime_error {
public:
    /// The pieces that the message is made of; texts are UTF-8.
    struct Report {
        std::int32_t code = ZEL_FAILED; ///< what the library answered, below 0
        std::string tried{};            ///< what was tried: "read System/Name"
        std::string address{};          ///< of the module; "" where none was asked
        std::string codeText{};         ///< text of the code, also the module's; "" without one
        std::string moduleText{};       ///< the module's own explanation; "" without one
    };

    explicit Error(Report report)
        : std::runtime_error(message(report)),
          m_report(std::make_shared<const Report>(std::move(report)))
    {
    }

    /// One of the negative codes of ZEL_VR_Framework.h, or of the module's own.
    std::int32_t code() const noexcept { return m_report->code; }
    const std::string& tried() const noexcept { return m_report->tried; }
    const std::string& address() const noexcept { return m_report->address; }
    const std::string& codeText() const noexcept { return m_report->codeText; }
    const std::string& moduleText() const noexcept { return m_report->moduleText; }

    /// Whether the connection to the module is gone: no other call by it succeeds, and connecting
    /// anew is what helps.
    bool isConnectionLost() const noexcept
    {
        return code() == ZEL_CONN_UNKNOWN_UUID || code() == ZEL_CONN_SEND_FAILED ||
               code() == ZEL_CONN_RECEIVE_FAILED;
    }

private:
    static std::string message(const Report& report)
    {
        char digits[16];
        const auto end = std::to_chars(std::begin(digits), std::end(digits), report.code);
        std::string text = "could not " + report.tried;
        if (!report.address.empty())
            text += " on " + report.address;
        text +=
            ": " + (report.codeText.empty() ? "no text is known for this code" : report.codeText);
        text += " (" + std::string(std::begin(digits), end.ptr) + ")";
        if (!report.moduleText.empty())
            text += "; the module says: " + report.moduleText;
        return text;
    }

    std::shared_ptr<const Report> m_report;
};

/// A positive code: the module did what it was asked, and has something to say about it.
struct Warning {
    std::int32_t code = 0;    ///< the module's own, above 0
    std::string tried{};      ///< what it was asked
    std::string codeText{};   ///< text of the code; "" without one
    std::string moduleText{}; ///< the module's explanation; "" without one
};

/// What a module said itself about the last request that it refused or warned of; "" for nothing
/// (ZEL_XPAR_GetLastErrMsgByUuid). Returns at once. Where several threads ask one module, the words
/// may be those that another thread got.
inline std::string lastModuleText(std::uint64_t uuid)
{
    const char* text = nullptr;
    std::uint64_t length = 0;
    const bool isKnown = ZEL_XPAR_GetLastErrMsgByUuid(uuid, &text, &length) == ZEL_OK;
    return isKnown && text != nullptr ? std::string(text, length) : std::string{};
}

namespace detail {

/// A text of the library; "" where it has none or is not started.
inline std::string knownText(const char* text)
{
    const std::string_view known = text == nullptr ? "" : text;
    return known == "## text missing ##" || known == "ERR_SYS_FRAMEWORK_START" ? std::string{}
                                                                               : std::string(known);
}

/// The text of a code, "" without one; asks the module for one that the library does not know.
inline std::string codeText(std::uint64_t uuid, std::int32_t code)
{
    static std::mutex oneAtATime; // what the module tells is kept in one place for all
    std::string text = knownText(ZEL_XUTIL_GetText(code));
    if (text.empty() && uuid != ZEL_NO_MODULE) {
        const std::lock_guard lock(oneAtATime);
        text = knownText(ZEL_XUTIL_GetTextFromModule(uuid, code));
    }
    return text;
}

/// Throws Error for a failed call that asked no module.
inline void check(std::int32_t code, std::string_view tried)
{
    if (code < ZEL_OK)
        throw Error(
            {.code = code, .tried = std::string(tried), .codeText = codeText(ZEL_NO_MODULE, code)});
}

/// The text for an export. One with a zero byte inside would be cut there.
inline const char* terminated(const std::string& text)
{
    if (text.find('\0') != std::string::npos)
        throw std::invalid_argument("a text for the library holds a zero byte: '" +
                                    text.substr(0, text.find('\0')) + "...'");
    return text.c_str();
}

} // namespace detail

} // namespace zel

#endif
