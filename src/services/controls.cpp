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

std::int32_t performWith(const RemoteModule& module, const char* control,
                         clControlParameters& parameters)
{
    return send(module, ControlMethod::execute, controlRequest(control, parameters.take().c_str()));
}

template <class... Parameters>
std::int32_t perform(const RemoteModule& module, const char* control,
                     const Parameters&... parameters)
{
    clControlParameters all;
    (all.add(parameters), ...);
    return performWith(module, control, all);
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

std::int32_t execute(const RemoteModule& module, const char* control, std::uint32_t count,
                     const char* const* parameters)
{
    if (count != 0 && parameters == nullptr)
        return ZEL_SYS_BAD_PARAMETER;
    clControlParameters document;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (parameters[i] == nullptr)
            return ZEL_SYS_BAD_PARAMETER;
        document.add(std::string_view{parameters[i]});
    }
    return performWith(module, control, document);
}

std::int32_t executeDocument(const RemoteModule& module, const char* control,
                             const char* parameterDocument, const TextBuffer& buffer)
{
    return sendForText(module, ControlMethod::execute, controlRequest(control, parameterDocument),
                       buffer);
}

std::int32_t describe(const RemoteModule& module, ControlMethod document, const char* control,
                      const TextBuffer& buffer)
{
    return sendForText(module, document, clRequestDocument{}.addVerbatim("Control", control).take(),
                       buffer);
}

std::int32_t activateTeds(const RemoteModule& module, std::uint32_t connector)
{
    return perform(module, "CONNECTORRECONNECT", connector);
}

std::int32_t setZero(const RemoteModule& module, std::uint32_t connector, std::uint32_t signal)
{
    return perform(module, "SETZERO", connector, signal, std::string_view{});
}

std::int32_t setZeroWithTarget(const RemoteModule& module, std::uint32_t connector,
                               std::uint32_t signal, double target)
{
    return perform(module, "SETZERO", connector, signal, formatParameterDouble(target));
}

std::int32_t setCalibrationPoint(const RemoteModule& module, std::uint32_t connector,
                                 std::uint32_t signal, std::int32_t point, double value)
{
    return perform(module, "INITADJ", connector, signal, std::to_string(point),
                   formatParameterDouble(value, kCalibrationDecimals));
}

std::int32_t setI2SToCalibration(const RemoteModule& module, std::uint32_t connector)
{
    return perform(module, "SETI2STOCAL", connector);
}

std::int32_t setInputSource(const RemoteModule& module, std::uint32_t connector,
                            std::uint32_t channel, std::uint32_t source)
{
    return perform(module, "INPUTSRC", connector, channel, source);
}

std::int32_t setLedMode(const RemoteModule& module, std::uint32_t led, std::uint32_t mode)
{
    return perform(module, "LEDFLASH", led, mode);
}

std::int32_t transmitCanMessage(const RemoteModule& module, std::uint32_t connector,
                                std::uint32_t identifier, const std::array<std::uint8_t, 9>& bytes)
{
    clControlParameters parameters;
    parameters.add(connector).add(identifier);
    for (const std::uint8_t byte : bytes)
        parameters.add(byte);
    return performWith(module, "CANTRANSMITUSERCANMSG", parameters);
}

std::int32_t readSignalGeneratorClock(const RemoteModule& module, std::uint32_t generator,
                                      double& frequency)
{
    frequency = 0;
    std::array<char, kClockAnswerSize> answer{};
    std::uint64_t length = 0;
    const std::string parameters = clControlParameters{}.add(generator).take();
    const std::int32_t result =
        executeDocument(module, "GETSIGNALGENERATORCLOCK", parameters.c_str(),
                        {answer.data(), &length, answer.size()});
    if (hasFailed(result))
        return result;
    pugi::xml_document document;
    if (!loadXml(document, asBytes(answer.data(), static_cast<std::size_t>(length))))
        return result;
    const pugi::xml_node told = document.child("Frequency");
    return told ? firstOf(result, parseNumber(wholeText(told), frequency)) : result;
}

std::int32_t setArbitrarySignalGenerator(const RemoteModule& module, std::uint32_t generator,
                                         const SignalGeneratorCurve& curve)
{
    // Each takes two characters at least.
    if (curve.samples != nullptr && curve.count > kLongestRequest / 2)
        return ZEL_SRV_INVALID_PARAMETERS;
    return perform(module, "SETARBITRARYSIGNALGENERATOR", generator,
                   samplesText(curve.samples, curve.count), curve.numbers[0], curve.numbers[1],
                   curve.numbers[2], curve.lastNumber);
}

} // namespace zel::controls
