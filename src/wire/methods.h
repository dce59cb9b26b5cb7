#pragma once

#include <compare>
#include <cstdint>
#include <string>

namespace zel::wire {

// What a module can be asked for, a list for each of its services.

enum class ParameterMethod : std::uint16_t {
    readDocument = 1,
    writeDocument = 2,
    readSchema = 3,
    readStyleSheet = 4,
    readSection = 5,
    writeSection = 6,
    readSectionSchema = 7,
    writeParameter = 9,
    readParameter = 10,
    getViews = 11,
    activateDefault = 12,
    readTeds = 13,
    writeTeds = 14,
};

enum class StatusMethod : std::uint16_t {
    getConnectedModules = 1,
    getErrors = 2,
    getStatuses = 3,
    getTedsStatus = 4,
};

enum class ControlMethod : std::uint16_t {
    execute = 1,
    readDocument = 2,
    readSchema = 3,
    readStyleSheet = 4,
    getControls = 5,
};

enum class MeasurementMethod : std::uint16_t {
    readBlock = 1,
    subscribe = 2,
    unsubscribe = 3,
    listSignals = 6,
    readValues = 7,
    listSignalsAsText = 8,
};

enum class SystemMethod : std::uint16_t {
    sendImage = 1,
    receiveImage = 2,
    flash = 3,
    getFlashStatus = 4,
    getMspRegister = 7,
    setMspRegister = 8,
    setSimulatedValue = 9,
    restart = 12,
    describeModule = 13,
    announceImage = 14,
    flashMsp = 15,
    requestDebugInfo = 17,
    getBackgroundServiceResult = 18,
    setFilePath = 19,
    writeFile = 20,
    readFile = 21,
    getTr620RgRx = 22,
    getText = 23,
    getTr620CalUgMeasUx = 24,
};

enum class Service : std::uint16_t {
    parameters = 1,
    status = 2,
    control = 3,
    measurement = 5,
    system = 6,
};

/// A method as its requests and their answers name it. Numbers outside the lists come off the wire.
struct MethodId {
    std::uint16_t service = 0;
    std::uint16_t method = 0;

    constexpr MethodId() = default;
    constexpr MethodId(std::uint16_t serviceNumber, std::uint16_t methodNumber)
        : service(serviceNumber), method(methodNumber)
    {
    }
    // Before those that use it: not every compiler looks further.
    template <class Method>
    constexpr MethodId(Service its, Method known)
        : MethodId(static_cast<std::uint16_t>(its), static_cast<std::uint16_t>(known))
    {
    }
    constexpr MethodId(ParameterMethod known) : MethodId(Service::parameters, known) {}
    constexpr MethodId(StatusMethod known) : MethodId(Service::status, known) {}
    constexpr MethodId(ControlMethod known) : MethodId(Service::control, known) {}
    constexpr MethodId(MeasurementMethod known) : MethodId(Service::measurement, known) {}
    constexpr MethodId(SystemMethod known) : MethodId(Service::system, known) {}

    auto operator<=>(const MethodId&) const = default;
};

/// How the log names a method: "Srv: PARAM Mthd: readPar"; numbers stand where there is no name.
std::string logName(MethodId id);

} // namespace zel::wire
