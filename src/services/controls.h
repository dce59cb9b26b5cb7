#pragma once

#include "service_call.h"

#include <array>
#include <cstdint>

/// The control service: named commands that a module executes, and their descriptions. Every
/// function sends one request, waits for the answer and returns its result.
namespace zel::controls {

/// ZEL_SYS_BAD_PARAMETER, and nothing sent, for a null array or text among `count` parameters.
std::int32_t execute(const RemoteModule& module, const char* control, std::uint32_t count,
                     const char* const* parameters);
/// With a parameter document of the caller's; the answer is copied by the buffer rule.
std::int32_t executeDocument(const RemoteModule& module, const char* control,
                             const char* parameterDocument, const TextBuffer& buffer);

/// The document, schema or style sheet of a control: the method tells which.
std::int32_t describe(const RemoteModule& module, wire::ControlMethod document, const char* control,
                      const TextBuffer& buffer);

std::int32_t activateTeds(const RemoteModule& module, std::uint32_t connector);
std::int32_t setZero(const RemoteModule& module, std::uint32_t connector, std::uint32_t signal);
std::int32_t setZeroWithTarget(const RemoteModule& module, std::uint32_t connector,
                               std::uint32_t signal, double target);
std::int32_t setCalibrationPoint(const RemoteModule& module, std::uint32_t connector,
                                 std::uint32_t signal, std::int32_t point, double value);
std::int32_t setI2SToCalibration(const RemoteModule& module, std::uint32_t connector);
std::int32_t setInputSource(const RemoteModule& module, std::uint32_t connector,
                            std::uint32_t channel, std::uint32_t source);
std::int32_t setLedMode(const RemoteModule& module, std::uint32_t led, std::uint32_t mode);
std::int32_t transmitCanMessage(const RemoteModule& module, std::uint32_t connector,
                                std::uint32_t identifier, const std::array<std::uint8_t, 9>& bytes);
/// The frequency is 0 where the module's answer names none.
std::int32_t readSignalGeneratorClock(const RemoteModule& module, std::uint32_t generator,
                                      double& frequency);

struct SignalGeneratorCurve {
    const float* samples; // null for no curve
    std::uint64_t count;
    std::array<std::uint32_t, 3> numbers;
    std::uint64_t lastNumber;
};
/// The whole curve travels in one request.
std::int32_t setArbitrarySignalGenerator(const RemoteModule& module, std::uint32_t generator,
                                         const SignalGeneratorCurve& curve);

} // namespace zel::controls
