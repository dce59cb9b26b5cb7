#include "module_session.h"

#include "command_failure.h"
#include "interrupt.h"
#include "network_scan.h"
#include "number_text.h"
#include "ZEL_VR_Framework.h"

#include <cstdio>
#include <exception>

#include <nlohmann/json.hpp>

namespace zel::cli {

namespace {

/// What the library answers instead of a null pointer when it has no text.
constexpr std::string_view kNoText = "## text missing ##";

std::string knownText(const char* text)
{
    return text == nullptr || text == kNoText ? std::string{} : std::string(text);
}

} // namespace

std::string lastModuleText(std::uint64_t uuid)
{
    const char* text = nullptr;
    std::uint64_t length = 0;
    const bool isKnown = ZEL_XPAR_GetLastErrMsgByUuid(uuid, &text, &length) == ZEL_OK;
    return isKnown && text != nullptr ? std::string(text, length) : std::string{};
}

bool isSilence(std::int32_t code)
{
    return code == ZEL_CONN_RECEIVE_FAILED || code == ZEL_TRANS_CANCELED ||
           code == ZEL_TRANS_TIMEOUT_ACKNOWLEDGE || code == ZEL_TRANS_TIMEOUT_RESPONSE;
}

StartedLibrary::StartedLibrary()
{
    try {
        ZEL_Init();
    } catch (const std::exception& error) {
        throw CommandFailure(
            {.problem = std::string{"the library could not be started: "} + error.what(),
             .advice = "it needs a thread and some descriptors of its own: is this host out of "
                       "them or of memory (on Linux 'ulimit -u', 'ulimit -n' and 'ulimit -v' show "
                       "what this user may have)?"});
    }
}

StartedLibrary::~StartedLibrary()
{
    ZEL_Unload();
}

std::string StartedLibrary::textOf(std::int32_t code)
{
    return knownText(ZEL_XUTIL_GetText(code));
}

std::int32_t ModuleConnection::connect(const ModuleAddress& address)
{
    m_reached = address;
    m_address = address.text();
    return ZEL_XCOM_ConnectToTcpIpDev(address.host.c_str(), address.port, &m_uuid);
}

ModuleConnection::ModuleConnection(const ModuleTarget& target)
{
    std::int32_t code = target.address ? connect(*target.address) : ZEL_TCP_CONNECT_FAILED;
    std::string advice;
    if (code == ZEL_TCP_CONNECT_FAILED && target.mayBeName && !isInterrupted()) {
        const FoundModule found = findModule(target);
        code = connect(found.tcpAddress());
        advice = found.fits() ? "" : misfitText(found);
    }
    if (isInterrupted()) {
        if (code == ZEL_OK)
            ZEL_XCOM_Disconnect(m_uuid);
        throw Interrupted{};
    }
    if (code != ZEL_OK) {
        throw CommandFailure({.problem = "could not connect to " + m_address,
                              .code = code,
                              .codeText = StartedLibrary::textOf(code),
                              .advice = advice});
    }
}

// A connection that is lost already answers "unknown": there is nothing left to do about that.
ModuleConnection::~ModuleConnection()
{
    ZEL_XCOM_Disconnect(m_uuid);
}

void ModuleConnection::check(std::int32_t code, const std::string& tried,
                             const std::string& advice) const
{
    stopIfInterrupted();
    judge(code, tried, advice, Answer::words);
}

void ModuleConnection::checkReading(std::int32_t code, const std::string& tried,
                                    const std::string& advice) const
{
    stopIfInterrupted();
    judge(code, tried, advice, Answer::data);
}

void ModuleConnection::judge(std::int32_t code, const std::string& tried, const std::string& advice,
                             Answer answer) const
{
    if (code == ZEL_OK)
        return;
    // The module's words first: asking for the code's text is a request of its own, which
    // overwrites them when it fails.
    const bool mayHaveWords = code < ZEL_OK || answer == Answer::words;
    const std::string moduleText = mayHaveWords ? lastModuleText(m_uuid) : std::string{};
    if (code > ZEL_OK) {
        warn(code, tried, moduleText);
        return;
    }
    const std::string own = adviceAbout(code, answer == Answer::words || !moduleText.empty());
    throw CommandFailure({.problem = "could not " + tried + " on " + m_address,
                          .code = code,
                          .codeText = textOf(code),
                          .moduleText = moduleText,
                          .advice = own.empty() ? advice : own});
}

void ModuleConnection::warn(std::int32_t code, const std::string& tried,
                            const std::string& moduleText) const
{
    const bool isTold = m_told && m_told->code == code && m_told->moduleText == moduleText;
    m_warning = isTold ? *m_told : Warning{code, textOf(code), moduleText};
    if (isTold)
        return;
    m_told = m_warning;
    const CommandFailure warning({.problem = m_address + " warned when asked to " + tried,
                                  .code = code,
                                  .codeText = m_warning->codeText,
                                  .moduleText = moduleText});
    std::fputs(warning.message().c_str(), stderr);
}

std::string ModuleConnection::adviceAbout(std::int32_t code, bool isFromModule) const
{
    constexpr std::int32_t kInvalidView = -1004142; // the modules' own
    if (code == kInvalidView)
        return "'zel views " + m_address + "' lists the views that the module has";
    // The module means the document that it was sent, the library the one that came back.
    return code == ZEL_PARAM_XML_ERROR && isFromModule ? std::string{} : adviceFor(code);
}

std::string ModuleConnection::textOf(std::int32_t code) const
{
    return knownText(ZEL_XUTIL_GetTextFromModule(m_uuid, code));
}

nlohmann::json ModuleConnection::identity() const
{
    // A number of 64 bits would lose its last digits in many readers of JSON.
    nlohmann::json identity{{"address", m_address}, {"uuid", hexadecimal(m_uuid)}};
    if (m_warning) {
        identity["warning"] = {{"code", m_warning->code},
                               {"hex", hexadecimal(m_warning->code)},
                               {"text", m_warning->codeText},
                               {"module", m_warning->moduleText}};
    }
    return identity;
}

} // namespace zel::cli
