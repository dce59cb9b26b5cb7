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
std::int32_t readTwoNumbers(const RequestPath& requests, const MethodAddress& address,
                            std::string request, const char* firstName, std::uint32_t& first,
                            const char* secondName, std::uint32_t& second)
{
    const Response response = sendForResponse(requests, address, std::move(request));
    if (hasFailed(response.result))
        return response.result;
    clResponseDocument document;
    std::int32_t result = document.parse(response.payload());
    std::uint32_t numbers[2] = {};
    if (result == ZEL_OK)
        result = takeNumber(document, firstName, numbers[0]);
    if (result == ZEL_OK)
        result = takeNumber(document, secondName, numbers[1]);
    if (result != ZEL_OK)
        return result;
    first = numbers[0];
    second = numbers[1];
    return response.result;
}

std::string connectorRequest(std::uint32_t connector)
{
    return clRequestDocument{}.addNumber("Connector", connector).take();
}

} // namespace

std::int32_t restart(const RequestPath& requests, std::uint64_t uuid)
{
    return send(requests, {uuid, SystemMethod::restart},
                clRequestDocument{}.addFlag("Cold", true).take());
}

std::int32_t readBackgroundServiceResult(const RequestPath& requests, std::uint64_t uuid,
                                         std::uint32_t service, const TextBuffer& buffer)
{
    return sendForText(requests, {uuid, SystemMethod::getBackgroundServiceResult},
                       clRequestDocument{}.addNumber("Service", service).take(), buffer);
}

std::int32_t startFlashing(const RequestPath& requests, std::uint64_t uuid)
{
    return send(requests, {uuid, SystemMethod::flash}, {});
}

std::int32_t startMspFlashing(const RequestPath& requests, std::uint64_t uuid,
                              std::uint32_t channel)
{
    return send(requests, {uuid, SystemMethod::flashMsp},
                clRequestDocument{}.addNumber("Channel", channel).take());
}

std::int32_t readFlashStatus(const RequestPath& requests, std::uint64_t uuid, std::uint32_t& status,
                             std::uint32_t& progress)
{
    return readTwoNumbers(requests, {uuid, SystemMethod::getFlashStatus}, {}, "Status", status,
                          "Progress", progress);
}

std::int32_t requestDebugInfo(const RequestPath& requests, std::uint64_t uuid,
                              std::uint32_t debugId, const std::array<const char*, 5>& parameters,
                              char* buffer, std::uint64_t capacity)
{
    clRequestDocument request;
    request.addNumber("DebugId", debugId);
    for (std::size_t i = 0; i < parameters.size(); ++i)
        request.addText("Par" + std::to_string(i + 1), parameters[i]);
    const Response response =
        sendForResponse(requests, {uuid, SystemMethod::requestDebugInfo}, request.take());
    if (hasFailed(response.result))
        return response.result;
    clResponseDocument document;
    std::int32_t result = document.parse(response.payload());
    std::string answer;
    if (result == ZEL_OK)
        result = document.requireText("RetPar1", answer);
    if (result != ZEL_OK)
        return result;
    return firstOf(response.result,
                   copyText(asBytes(answer.data(), answer.size()), buffer, capacity).result);
}

std::int32_t setSimulatedValue(const RequestPath& requests, std::uint64_t uuid,
                               std::uint32_t connector, std::uint32_t channel, std::uint32_t signal,
                               std::uint32_t mode, double value)
{
    return send(requests, {uuid, SystemMethod::setSimulatedValue},
                clRequestDocument{}
                    .addNumber("Connector", connector)
                    .addNumber("Channel", channel)
                    .addNumber("Signal", signal)
                    .addNumber("Mode", mode)
                    .addDouble("Value", value)
                    .take());
}

std::int32_t readTr620CalUgMeasUx(const RequestPath& requests, std::uint64_t uuid,
                                  std::uint32_t connector, std::uint32_t& calUg,
                                  std::uint32_t& measUx)
{
    return readTwoNumbers(requests, {uuid, SystemMethod::getTr620CalUgMeasUx},
                          connectorRequest(connector), "Tr620CalUg", calUg, "Tr620MeasUx", measUx);
}

std::int32_t readTr620RgRx(const RequestPath& requests, std::uint64_t uuid, std::uint32_t connector,
                           std::uint32_t& rg, std::uint32_t& rx)
{
    return readTwoNumbers(requests, {uuid, SystemMethod::getTr620RgRx}, connectorRequest(connector),
                          "Tr620Rg", rg, "Tr620Rx", rx);
}

} // namespace zel::system_functions
