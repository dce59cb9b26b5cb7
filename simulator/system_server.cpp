#include "device_texts.h"
#include "module_codes.h"
#include "module_model.h"
#include "module_service.h"
#include "service_document.h"
#include "signal_description.h"

namespace zel::simulator {

using wire::SystemMethod;

namespace {

constexpr std::uint32_t kRegisters = 256;

Outcome checkConnector(std::uint32_t connector)
{
    if (connector < kConnectorsInAll)
        return {};
    return {kNoSuchConnector, "there is no connector " + std::to_string(connector + 1)};
}

/// Whether the connector has the signal in its present mode. Analog signals have no channel: 0.
bool hasSignal(const ModuleModel& model, std::uint32_t connector, std::uint32_t channel,
               std::uint32_t signal)
{
    return (channel == 0 && describeSignal(model, {SignalKind::analog, connector, 0, signal})) ||
           describeSignal(model, {SignalKind::can, connector, channel, signal}) ||
           describeSignal(model, {SignalKind::fiber, connector, channel, signal});
}

Outcome flashStatus(ModuleModel& model)
{
    const auto progress = model.firmware.progress();
    return ServiceAnswer{}
        .add("Status", static_cast<std::uint32_t>(progress.status))
        .add("Progress", progress.percent)
        .outcome();
}

Outcome announceFirmware(ModuleModel& model, const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto index = request.number("Index");
    return request.isGood() ? model.firmware.announce(index) : request.failure();
}

Outcome flashChannel(ModuleModel& model, const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto channel = request.number("Channel");
    return request.isGood() ? model.firmware.startChannelFlashing(channel) : request.failure();
}

Outcome readRegister(ModuleModel& model, const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto channel = request.number("Channel");
    const auto number = request.number("RegNr");
    if (!request.isGood())
        return request.failure();
    const auto found = model.registers.find({channel, number});
    const std::uint32_t content = found == model.registers.end() ? 0 : found->second;
    return ServiceAnswer{}.add("RegCont", content).outcome();
}

Outcome writeRegister(ModuleModel& model, const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto channel = request.number("Channel");
    const auto number = request.number("RegNr");
    const auto content = request.number("RegCont");
    if (!request.isGood())
        return request.failure();
    if (const Outcome outcome = checkConnector(channel); !outcome.isGood())
        return outcome;
    if (number >= kRegisters)
        return {kIndexOutOfRange, "there is no register " + std::to_string(number)};
    model.registers[{channel, number}] = content;
    return {};
}

Outcome setSimulatedValue(ModuleModel& model, const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto connector = request.number("Connector");
    const auto channel = request.number("Channel");
    const auto signal = request.number("Signal");
    const auto mode = request.number("Mode");
    const auto value = request.real("Value");
    if (!request.isGood())
        return request.failure();
    if (const Outcome outcome = checkConnector(connector); !outcome.isGood())
        return outcome;
    // Mode 0 gives the signal back to the sensor, also one that a new mode of its connector has
    // taken away.
    if (mode == 0 && model.simulatedValues.erase({connector, channel, signal}) > 0)
        return {};
    if (!hasSignal(model, connector, channel, signal))
        return {kSignalUnknown, "connector " + std::to_string(connector + 1) + " has no signal " +
                                    std::to_string(signal + 1) + " of channel " +
                                    std::to_string(channel + 1)};
    if (mode != 0)
        model.simulatedValues[{connector, channel, signal}] = {mode, value};
    return {};
}

MethodAnswer restart(ModuleModel& model, const MethodCall& call)
{
    ServiceRequest request{call.data};
    request.number("Cold");
    if (!request.isGood())
        return request.failure();
    model.isLeaving = true;
    MethodAnswer answer;
    answer.silent = !model.settings.answersRestart;
    answer.afterwards = [&model] { model.restart(model.settings.restartTime); };
    return answer;
}

/// What a scan asks every module for.
Outcome describeModule(ModuleModel& model)
{
    const auto parameter = [&](const char* path) {
        return model.parameters.value(path).value_or("");
    };
    return ServiceAnswer{}
        .add("IpAdr", parameter("Communication/Network/eth0/IpAdr"))
        .add("SubMask", parameter("Communication/Network/eth0/SubMask"))
        .add("TcpPort", model.settings.port)
        .add("Name", parameter("System/Name"))
        .add("Uuid", model.settings.uuid)
        .add("ModuleType", model.settings.type)
        .add("FirmwareVersion", model.settings.firmwareVersion)
        .outcome();
}

/// Gives back what was asked, so that hosts can check their way through.
Outcome debugInfo(const MethodCall& call)
{
    ServiceRequest request{call.data};
    std::string echo = request.text("DebugId");
    for (const char* name : {"Par1", "Par2", "Par3", "Par4", "Par5"})
        echo += "|" + request.text(name);
    if (!request.isGood())
        return request.failure();
    return ServiceAnswer{}.add("RetPar1", echo).outcome();
}

Outcome backgroundResult(const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto service = request.number("Service");
    if (!request.isGood())
        return request.failure();
    return ServiceAnswer{}.add("Service", service).add("Result", "idle").outcome();
}

Outcome chooseFile(ModuleModel& model, const MethodCall& call)
{
    ServiceRequest request{call.data};
    const std::string path = request.text("FilePath");
    return request.isGood() ? model.files.choose(call.source, path) : request.failure();
}

Outcome bridgeValues(const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto connector = request.number("Connector");
    if (!request.isGood())
        return request.failure();
    if (const Outcome outcome = checkConnector(connector); !outcome.isGood())
        return outcome;
    if (call.id == SystemMethod::getTr620RgRx)
        return ServiceAnswer{}
            .add("Tr620Rg", 350000 + connector)
            .add("Tr620Rx", 349000 + connector)
            .outcome();
    return ServiceAnswer{}
        .add("Tr620CalUg", 5000000 + connector)
        .add("Tr620MeasUx", 4999000 + connector)
        .outcome();
}

Outcome textOfCode(const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto code = request.signedNumber("TextHandle");
    if (!request.isGood())
        return request.failure();
    return ServiceAnswer{}.add("Text", moduleText(code)).outcome();
}

} // namespace

MethodAnswer answerSystem(ModuleModel& model, const MethodCall& call)
{
    switch (SystemMethod{call.id.method}) {
    case SystemMethod::sendImage:
        return model.firmware.receive(call.data);
    case SystemMethod::receiveImage: // no module sends its firmware back
        break;
    case SystemMethod::flash:
        return model.firmware.startFlashing();
    case SystemMethod::getFlashStatus:
        return flashStatus(model);
    case SystemMethod::getMspRegister:
        return readRegister(model, call);
    case SystemMethod::setMspRegister:
        return writeRegister(model, call);
    case SystemMethod::setSimulatedValue:
        return setSimulatedValue(model, call);
    case SystemMethod::restart:
        return restart(model, call);
    case SystemMethod::describeModule:
        return describeModule(model);
    case SystemMethod::announceImage:
        return announceFirmware(model, call);
    case SystemMethod::flashMsp:
        return flashChannel(model, call);
    case SystemMethod::requestDebugInfo:
        return debugInfo(call);
    case SystemMethod::getBackgroundServiceResult:
        return backgroundResult(call);
    case SystemMethod::setFilePath:
        return chooseFile(model, call);
    case SystemMethod::writeFile:
        return model.files.write(call.source, call.data);
    case SystemMethod::readFile:
        return model.files.read(call.source);
    case SystemMethod::getTr620RgRx:
    case SystemMethod::getTr620CalUgMeasUx:
        return bridgeValues(call);
    case SystemMethod::getText:
        return textOfCode(call);
    }
    return unknownMethod(call.id);
}

} // namespace zel::simulator
