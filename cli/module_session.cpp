#include "module_session.h"

#include "command_failure.h"
#include "interrupt.h"
#include "network_scan.h"
#include "number_text.h"

#include <cstdio>

#include <nlohmann/json.hpp>

namespace zel::cli {

namespace {

std::unique_ptr<Module> connected(const Address& address, const std::string& advice = {})
{
    try {
        auto module = std::make_unique<Module>(address);
        stopIfInterrupted();
        return module;
    } catch (const Error& error) {
        stopIfInterrupted();
        throw CommandFailure({.problem = "could not " + error.tried(),
                              .code = error.code(),
                              .codeText = error.codeText(),
                              .advice = advice});
    }
}

std::unique_ptr<Module> connected(const ModuleTarget& target)
{
    try {
        if (target.address)
            return connected(*target.address);
    } catch (const CommandFailure& failure) {
        if (failure.report().code != ZEL_TCP_CONNECT_FAILED || !target.mayBeName)
            throw;
    }
    const FoundModule found = findModule(target);
    return connected(addressOf(found), found.fits() ? "" : misfitText(found));
}

} // namespace

bool isSilence(std::int32_t code)
{
    return code == ZEL_CONN_RECEIVE_FAILED || code == ZEL_TRANS_CANCELED ||
           code == ZEL_TRANS_TIMEOUT_ACKNOWLEDGE || code == ZEL_TRANS_TIMEOUT_RESPONSE;
}

StartedLibrary::StartedLibrary()
try : m_library() {
} catch (const Error& error) {
    throw CommandFailure(
        {.problem = "the library could not be started: " + error.codeText(),
         .advice = "it needs a thread and some descriptors of its own: is this host out of them or "
                   "of memory (on Linux 'ulimit -u', 'ulimit -n' and 'ulimit -v' show what this "
                   "user may have)?"});
}

ModuleConnection::ModuleConnection(const ModuleTarget& target)
    : m_module(connected(target)), m_address(m_module->address().text())
{
}

ModuleConnection::ModuleConnection(const Address& address)
    : m_module(connected(address)), m_address(m_module->address().text())
{
}

void ModuleConnection::check(std::int32_t code, const std::string& tried,
                             const std::string& advice) const
{
    ask({tried, advice, Answer::words},
        [&](const Module& module) { module.check(code, tried, Answer::words); });
}

void ModuleConnection::judge(std::int32_t code, const std::string& tried, const std::string& advice,
                             Answer answer) const
{
    m_module->forgetWarning();
    try {
        m_module->check(code, tried, answer);
        tellWarning(tried);
    } catch (const Error& error) {
        fail(error, {tried, advice, answer});
    }
}

void ModuleConnection::goOn(const Attempt& attempt) const
{
    stopIfInterrupted();
    tellWarning(attempt.tried);
}

void ModuleConnection::giveUp(const Error& error, const Attempt& attempt) const
{
    stopIfInterrupted();
    fail(error, attempt);
}

void ModuleConnection::fail(const Error& error, const Attempt& attempt) const
{
    const std::string own =
        adviceAbout(error.code(), attempt.answer == Answer::words || !error.moduleText().empty());
    throw CommandFailure({.problem = "could not " + attempt.tried + " on " + m_address,
                          .code = error.code(),
                          .codeText = error.codeText(),
                          .moduleText = error.moduleText(),
                          .advice = own.empty() ? attempt.advice : own});
}

void ModuleConnection::tellWarning(const std::string& tried) const
{
    const auto warning = m_module->lastWarning();
    if (!warning)
        return;
    m_warning = warning;
    if (m_told && m_told->code == warning->code && m_told->moduleText == warning->moduleText)
        return;
    m_told = warning;
    const CommandFailure told({.problem = m_address + " warned when asked to " + tried,
                               .code = warning->code,
                               .codeText = warning->codeText,
                               .moduleText = warning->moduleText});
    std::fputs(told.message().c_str(), stderr);
}

std::string ModuleConnection::adviceAbout(std::int32_t code, bool isFromModule) const
{
    constexpr std::int32_t kInvalidView = -1004142; // the modules' own
    if (code == kInvalidView)
        return "'zel views " + m_address + "' lists the views that the module has";
    // The module means the document that it was sent, the library the one that came back.
    return code == ZEL_PARAM_XML_ERROR && isFromModule ? std::string{} : adviceFor(code);
}

nlohmann::json ModuleConnection::identity() const
{
    // A number of 64 bits would lose its last digits in many readers of JSON.
    nlohmann::json identity{{"address", m_address}, {"uuid", hexadecimal(uuid())}};
    if (m_warning) {
        identity["warning"] = {{"code", m_warning->code},
                               {"hex", hexadecimal(m_warning->code)},
                               {"text", m_warning->codeText},
                               {"module", m_warning->moduleText}};
    }
    return identity;
}

std::string moduleName(const ModuleConnection& module)
{
    try {
        return module.module().get("System/Name");
    } catch (const Error&) {
        return {};
    }
}

} // namespace zel::cli
