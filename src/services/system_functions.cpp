#include "system_functions.h"

#include "request_document.h"
#include "response_document.h"

#include <string>

namespace zel::system_functions {

using wire::SystemMethod;

namespace {

std::int32_t takeNumber(const clResponseDocument& document, const char* name, std::uint32_t& value)
{
    const std::int32_t result = document.requireNumber(name, value);
    return result == ZEL_UTIL_STRING_CONVERSION ? ZEL_SYS_NO_OBJECT : result;
}

/// Both numbers are set, or neither is.
std::int32_t readTwoNumbers(const RemoteModule& module, SystemMethod method, std::string request,
                            const char* firstName, std::uint32_t& first, const char* secondName,
                            std::uint32_t& second)
{
    clResponseDocument document;
    const std::int32_t called = sendForDocument(module, method, std::move(request), document);
    if (hasFailed(called))
        return called;
    std::uint32_t numbers[2] = {};
    std::int32_t result = takeNumber(document, firstName, numbers[0]);
    if (result == ZEL_OK)
        result = takeNumber(document, secondName, numbers[1]);
    if (result != ZEL_OK)
        return result;
    first = numbers[0];
    second = numbers[1];
    return called;
}

std::string connectorRequest(std::uint32_t connector)
{
    return clRequestDocument{}.addNumber("Connector", connector).take();
}

} // namespace

std::int32_t restart(const RemoteModule& module)
{
    return send(module, SystemMethod::restart, clRequestDocument{}.addFlag("Cold", true).take());
}

std::int32_t readBackgroundServiceResult(const RemoteModule& module, std::uint32_t service,
                                         const TextBuffer& buffer)
{
    return sendForText(module, SystemMethod::getBackgroundServiceResult,
                       clRequestDocument{}.addNumber("Service", service).take(), buffer);
}

std::int32_t startMspFlashing(const RemoteModule& module, std::uint32_t channel)
{
    return send(module, SystemMethod::flashMsp,
                clRequestDocument{}.addNumber("Channel", channel).take());
}

std::int32_t readFlashStatus(const RemoteModule& module, std::uint32_t& status,
                             std::uint32_t& progress)
{
    return readTwoNumbers(module, SystemMethod::getFlashStatus, {}, "Status", status, "Progress",
                          progress);
}

std::int32_t requestDebugInfo(const RemoteModule& module, std::uint32_t debugId,
                              const std::array<const char*, 5>& parameters, char* buffer,
                              std::uint64_t capacity)
{
    clRequestDocument request;
    request.addNumber("DebugId", debugId);
    for (std::size_t i = 0; i < parameters.size(); ++i)
        request.addText("Par" + std::to_string(i + 1), parameters[i]);
    clResponseDocument document;
    const std::int32_t called =
        sendForDocument(module, SystemMethod::requestDebugInfo, request.take(), document);
    if (hasFailed(called))
        return called;
    std::string answer;
    if (const std::int32_t result = document.requireText("RetPar1", answer); result != ZEL_OK)
        return result;
    return firstOf(called,
                   copyText(asBytes(answer.data(), answer.size()), buffer, capacity).result);
}

std::int32_t setSimulatedValue(const RemoteModule& module, std::uint32_t connector,
                               std::uint32_t channel, std::uint32_t signal, std::uint32_t mode,
                               double value)
{
    return send(module, SystemMethod::setSimulatedValue,
                clRequestDocument{}
                    .addNumber("Connector", connector)
                    .addNumber("Channel", channel)
                    .addNumber("Signal", signal)
                    .addNumber("Mode", mode)
                    .addDouble("Value", value)
                    .take());
}

std::int32_t readTr620CalUgMeasUx(const RemoteModule& module, std::uint32_t connector,
                                  std::uint32_t& calUg, std::uint32_t& measUx)
{
    return readTwoNumbers(module, SystemMethod::getTr620CalUgMeasUx, connectorRequest(connector),
                          "Tr620CalUg", calUg, "Tr620MeasUx", measUx);
}

std::int32_t readTr620RgRx(const RemoteModule& module, std::uint32_t connector, std::uint32_t& rg,
                           std::uint32_t& rx)
{
    return readTwoNumbers(module, SystemMethod::getTr620RgRx, connectorRequest(connector),
                          "Tr620Rg", rg, "Tr620Rx", rx);
}

} // namespace zel::system_functions
