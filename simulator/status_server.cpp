#include "module_codes.h"
#include "module_model.h"
#include "module_service.h"
#include "service_document.h"
#include "signal_place.h"
#include "xml_text.h"

namespace zel::simulator {

using wire::StatusMethod;

namespace {

void addPlace(pugi::xml_node element, const auto& entry)
{
    element.append_attribute("Connector").set_value(entry.connector);
    element.append_attribute("Channel").set_value(entry.channel);
    element.append_attribute("Signal").set_value(entry.signal);
}

Outcome connectedModules(ModuleModel& model)
{
    ServiceAnswer answer;
    for (const ConnectedModule& module : model.raised.connectedModules) {
        pugi::xml_node element = answer.params().append_child("ConnectedModule");
        appendText(element, "Uuid", std::to_string(module.uuid));
        appendText(element, "DevType", std::to_string(module.deviceType));
        appendText(element, "ActiveInterface", std::to_string(module.activeInterface));
    }
    return answer.outcome();
}

Outcome errors(ModuleModel& model)
{
    ServiceAnswer answer;
    for (const ModuleError& error : collectErrors(model)) {
        pugi::xml_node element = answer.params().append_child("Error");
        element.append_attribute("ErrLevel").set_value(error.level);
        element.append_attribute("ErrCode").set_value(error.code);
        addPlace(element, error);
        element.append_attribute("Text").set_value(error.text.c_str());
    }
    return answer.outcome();
}

Outcome statuses(ModuleModel& model)
{
    ServiceAnswer answer;
    for (const ModuleStatusEntry& status : collectStatuses(model)) {
        pugi::xml_node element = answer.params().append_child("Status");
        addPlace(element, status);
        element.append_attribute("StatusId").set_value(status.id);
        element.append_attribute("Value").set_value(static_cast<unsigned long long>(status.value));
        element.append_child("Info").text().set(status.info.c_str());
    }
    return answer.outcome();
}

Outcome tedsStatus(ModuleModel& model, const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto connector = request.number("Connector");
    if (!request.isGood())
        return request.failure();
    if (connector >= kAmplifierConnectors)
        return {kNoSuchConnector, "there is no connector " + std::to_string(connector + 1)};
    const TedsMemory* memory = model.teds.find(connector);
    const std::uint32_t state = memory == nullptr ? 0 : memory->error.empty() ? 1 : 2;
    return ServiceAnswer{}
        .add("Status", state)
        .add("error", memory != nullptr ? memory->error : "")
        .add("warning", memory != nullptr ? memory->warning : "")
        .outcome();
}

} // namespace

MethodAnswer answerStatus(ModuleModel& model, const MethodCall& call)
{
    switch (StatusMethod{call.id.method}) {
    case StatusMethod::getConnectedModules:
        return connectedModules(model);
    case StatusMethod::getErrors:
        return errors(model);
    case StatusMethod::getStatuses:
        return statuses(model);
    case StatusMethod::getTedsStatus:
        return tedsStatus(model, call);
    }
    return unknownMethod(call.id);
}

} // namespace zel::simulator
