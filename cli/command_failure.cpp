#include "command_failure.h"

#include "number_text.h"
#include "printable.h"
#include "ZEL_VR_Framework.h"

#include <sstream>

#include <nlohmann/json.hpp>

namespace zel::cli {

CommandFailure::CommandFailure(FailureReport report) : m_report(std::move(report))
{
    if (m_report.advice.empty() && m_report.code)
        m_report.advice = adviceFor(*m_report.code);
}

std::string CommandFailure::message() const
{
    static constexpr auto kIndent = "     ";
    std::string text = "zel: " + printable(m_report.problem);
    if (m_report.code) {
        const auto known = trimmed(m_report.codeText);
        text += ": " + (known.empty() ? "no text is known for this code" : printable(known));
        text += " (" + std::to_string(*m_report.code) + ", " + hexadecimal(*m_report.code) + ")";
    }
    text += '\n';
    if (!m_report.moduleText.empty()) {
        text += std::string(kIndent) + "the module says:";
        std::istringstream lines(trimmed(m_report.moduleText));
        const bool isLong = lines.str().find('\n') != std::string::npos;
        for (std::string line; std::getline(lines, line);)
            text += (isLong ? std::string("\n") + kIndent + "  " : " ") + printable(line);
        text += '\n';
    }
    if (!m_report.advice.empty())
        text += kIndent + printable(m_report.advice) + '\n';
    return text;
}

nlohmann::json CommandFailure::asJson() const
{
    nlohmann::json error{{"problem", m_report.problem}};
    if (m_report.code) {
        error["code"] = *m_report.code;
        error["hex"] = hexadecimal(*m_report.code);
        error["text"] = m_report.codeText;
    }
    if (!m_report.moduleText.empty())
        error["moduleText"] = m_report.moduleText;
    if (!m_report.advice.empty())
        error["advice"] = m_report.advice;
    nlohmann::json whole = m_report.result ? *m_report.result : nlohmann::json::object();
    whole["error"] = error;
    return whole;
}

std::string adviceFor(std::int32_t code)
{
    switch (code) {
    case ZEL_TCP_CONNECT_FAILED:
        return "is the module switched on, is its address in this host's subnet, and is the port "
               "right?";
    case ZEL_CONN_NO_ADDRESS_RESPONSE:
        return "something listens there but does not answer as a module does: is the port right?";
    case ZEL_TRANS_TIMEOUT_SEND:
    case ZEL_TRANS_TIMEOUT_ACKNOWLEDGE:
    case ZEL_TRANS_TIMEOUT_RESPONSE:
        return "the module took the connection but did not answer in time: try again; "
               "with --log the telegrams are shown";
    case ZEL_CONN_SEND_FAILED:
    case ZEL_CONN_RECEIVE_FAILED:
    case ZEL_CONN_UNKNOWN_UUID:
    case ZEL_TRANS_CANCELED:
        return "the connection was lost: if the module restarts, try again in some seconds";
    case ZEL_SRV_UNKNOWN_METHOD:
    case ZEL_SRV_CONTROL_UNKNOWN:
        return "this module's firmware does not offer the function";
    case ZEL_PARAM_XML_ERROR:
        return "the module's answer makes no sense to the library; with --log the telegrams are "
               "shown";
    case ZEL_SYS_FILE_TOO_LARGE:
        return "the file is larger than a module takes: is it the right one?";
    case ZEL_FILE_OPEN:
    case ZEL_FILE_READ:
    case ZEL_FILE_WRITE:
        return "is the file's name right, and may you read or write it?";
    default:
        return {};
    }
}

} // namespace zel::cli
