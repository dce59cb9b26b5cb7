#include "controls.h"

#include "control_request.h"
#include "number_format.h"
#include "request_document.h"
#include "xml_loading.h"
#include "ZEL_VR_Framework.h"

#include <charconv>
#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace zel::controls {

using wire::ControlMethod;

namespace {

constexpr std::size_t kClockAnswerSize = 1024;
constexpr unsigned kCalibrationDecimals = 8;

std::string describeRequest(const char* control)
{
    return clRequestDocument{}.addVerbatim("Control", control).take();
}

std::int32_t describe(const RequestPath& requests, std::uint64_t uuid, ControlMethod method,
                      const char* control, const TextBuffer& buffer)
{
    return sendForText(requests, {uuid, method}, describeRequest(control), buffer);
}

std::int32_t perform(const RequestPath& requests, std::uint64_t uuid, const char* control,
                     clControlParameters& parameters)
{
    return send(requests, {uuid, ControlMethod::execute},
                controlRequest(control, parameters.take().c_str()));
}

// Few characters, and read back to the same 32-bit value.
std::string samplesText(const float* samples, std::uint64_t count)
{
    std::string text;
    if (samples == nullptr)
        return text;
    char number[32];
    for (std::uint64_t i = 0; i < count; ++i) {
        const auto end = std::to_chars(number, number + sizeof number, samples[i]).ptr;
        text.append(number, end).push_back(' ');
    }
    return text;
}

} // namespace

std::int32_t execute(const RequestPath& requests, std::uint64_t uuid, const char* control,
                     std::uint32_t count, const char* const* parameters)
{
    if (count != 0 && parameters == nullptr)
        return ZEL_SYS_BAD_PARAMETER;
    clControlParameters document;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (parameters[i] == nullptr)
            return ZEL_SYS_BAD_PARAMETER;
        document.add(std::string_view{parameters[i]});
    }
    return perform(requests, uuid, control, document);
}

std::int32_t executeDocument(const RequestPath& requests, std::uint64_t uuid, const char* control,
                             const char* parameterDocument, const TextBuffer& buffer)
{
    return sendForText(requests, {uuid, ControlMethod::execute},
                       controlRequest(control, parameterDocument), buffer);
}

std::int32_t readList(const RequestPath& requests, std::uint64_t uuid, const TextBuffer& buffer)
{
    return sendForText(requests, {uuid, ControlMethod::getControls}, {}, buffer);
}

std::int32_t readListToFile(const RequestPath& requests, std::uint64_t uuid, const char* fileName)
{
    return sendForFile(requests, {uuid, ControlMethod::getControls}, {}, fileName);
}

std::int32_t readDocument(const RequestPath& requests, std::uint64_t uuid, const char* control,
                          const TextBuffer& buffer)
{
    return describe(requests, uuid, ControlMethod::readDocument, control, buffer);
}

std::int32_t readSchema(const RequestPath& requests, std::uint64_t uuid, const char* control,
                        const TextBuffer& buffer)
{
    return describe(requests, uuid, ControlMethod::readSchema, control, buffer);
}

std::int32_t readStyleSheet(const RequestPath& requests, std::uint64_t uuid, const char* control,
                            const TextBuffer& buffer)
{
    return describe(requests, uuid, ControlMethod::readStyleSheet, control, buffer);
}

std::int32_t activateTeds(const RequestPath& requests, std::uint64_t uuid, std::uint32_t connector)
{
    return perform(requests, uuid, "CONNECTORRECONNECT", clControlParameters{}.add(connector));
}

std::int32_t setZero(const RequestPath& requests, std::uint64_t uuid, std::uint32_t connector,
                     std::uint32_t signal)
{
    return perform(requests, uuid, "SETZERO",
                   clControlParameters{}.add(connector).add(signal).add(std::string_view{}));
}

std::int32_t setZeroWithTarget(const RequestPath& requests, std::uint64_t uuid,
                               std::uint32_t connector, std::uint32_t signal, double target)
{
    return perform(
        requests, uuid, "SETZERO",
        clControlParameters{}.add(connector).add(signal).add(formatParameterDouble(target)));
}

std::int32_t setCalibrationPoint(const RequestPath& requests, std::uint64_t uuid,
                                 std::uint32_t connector, std::uint32_t signal, std::int32_t point,
                                 double value)
{
    return perform(requests, uuid, "INITADJ",
                   clControlParameters{}
                       .add(connector)
                       .add(signal)
                       .add(std::to_string(point))
                       .add(formatCalibrationDouble(value, kCalibrationDecimals, true)));
}

std::int32_t setI2SToCalibration(const RequestPath& requests, std::uint64_t uuid,
                                 std::uint32_t connector)
{
    return perform(requests, uuid, "SETI2STOCAL", clControlParameters{}.add(connector));
}

std::int32_t setInputSource(const RequestPath& requests, std::uint64_t uuid,
                            std::uint32_t connector, std::uint32_t channel, std::uint32_t source)
{
    return perform(requests, uuid, "INPUTSRC",
                   clControlParameters{}.add(connector).add(channel).add(source));
}

std::int32_t setLedMode(const RequestPath& requests, std::uint64_t uuid, std::uint32_t led,
                        std::uint32_t mode)
{
    return perform(requests, uuid, "LEDFLASH", clControlParameters{}.add(led).add(mode));
}

std::int32_t transmitCanMessage(const RequestPath& requests, std::uint64_t uuid,
                                std::uint32_t connector, std::uint32_t identifier,
                                const std::array<std::uint8_t, 9>& bytes)
{
    clControlParameters parameters;
    parameters.add(connector).add(identifier);
    for (const std::uint8_t byte : bytes)
        parameters.add(byte);
    return perform(requests, uuid, "CANTRANSMITUSERCANMSG", parameters);
}

std::int32_t readSignalGeneratorClock(const RequestPath& requests, std::uint64_t uuid,
                                      std::uint32_t generator, double& frequency)
{
    frequency = 0;
    std::array<char, kClockAnswerSize> answer{};
    std::uint64_t length = 0;
    const std::string parameters = clControlParameters{}.add(generator).take();
    const std::int32_t result =
        executeDocument(requests, uuid, "GETSIGNALGENERATORCLOCK", parameters.c_str(),
                        {answer.data(), &length, answer.size()});
    if (hasFailed(result))
        return result;
    pugi::xml_document document;
    if (!loadXml(document, asBytes(answer.data(), static_cast<std::size_t>(length))))
        return result;
    const pugi::xml_node told = document.child("Frequency");
    return told ? firstOf(result, parseNumber(wholeText(told), frequency)) : result;
}

std::int32_t setArbitrarySignalGenerator(const RequestPath& requests, std::uint64_t uuid,
                                         std::uint32_t generator, const SignalGeneratorCurve& curve)
{
    // Each takes two characters at least.
    if (curve.samples != nullptr && curve.count > kLongestRequest / 2)
        return ZEL_SRV_INVALID_PARAMETERS;
    clControlParameters parameters;
    parameters.add(generator).add(samplesText(curve.samples, curve.count));
    for (const std::uint32_t number : curve.numbers)
        parameters.add(number);
    parameters.add(curve.lastNumber);
    return perform(requests, uuid, "SETARBITRARYSIGNALGENERATOR", parameters);
}

} // namespace zel::controls
