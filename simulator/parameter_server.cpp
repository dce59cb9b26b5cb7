#include "module_codes.h"
#include "module_model.h"
#include "module_service.h"
#include "service_document.h"

namespace zel::simulator {

using wire::ParameterMethod;

namespace {

Outcome readDocument(ModuleModel& model, ServiceRequest& request)
{
    const auto view = request.number("View");
    const bool currentOnly = request.number("CurrChoicesOnly") == 1;
    return request.isGood() ? model.parameters.readSection(view, "", currentOnly)
                            : request.failure();
}

Outcome writeDocument(ModuleModel& model, ServiceRequest& request)
{
    const auto view = request.number("View");
    const std::string section = request.text("XmlSection");
    return request.isGood() ? model.parameters.writeSection(view, "", section) : request.failure();
}

Outcome readSchema(ModuleModel& model, ServiceRequest& request)
{
    const auto view = request.number("View");
    return request.isGood() ? model.parameters.readSchema(view, "") : request.failure();
}

Outcome readStyleSheet(ModuleModel& model, ServiceRequest& request)
{
    const auto view = request.number("View");
    return request.isGood() ? model.parameters.readStyleSheet(view) : request.failure();
}

Outcome readSection(ModuleModel& model, ServiceRequest& request)
{
    const auto view = request.number("View");
    const std::string path = request.text("Path");
    // The requests for network settings leave it out.
    const bool currentOnly =
        !request.has("CurrChoicesOnly") || request.number("CurrChoicesOnly") == 1;
    return request.isGood() ? model.parameters.readSection(view, path, currentOnly)
                            : request.failure();
}

Outcome writeSection(ModuleModel& model, ServiceRequest& request)
{
    const auto view = request.number("View");
    const std::string path = request.text("Path");
    const std::string section = request.text("XmlSection");
    return request.isGood() ? model.parameters.writeSection(view, path, section)
                            : request.failure();
}

Outcome readSectionSchema(ModuleModel& model, ServiceRequest& request)
{
    const auto view = request.number("View");
    const std::string path = request.text("Path");
    return request.isGood() ? model.parameters.readSchema(view, path) : request.failure();
}

Outcome writeValue(ModuleModel& model, ServiceRequest& request)
{
    const auto view = request.number("View");
    const std::string path = request.text("Path");
    const std::string value = request.text("XmlSection");
    return request.isGood() ? model.parameters.writeValue(view, path, value) : request.failure();
}

Outcome readValue(ModuleModel& model, ServiceRequest& request)
{
    const auto view = request.number("View");
    const std::string path = request.text("Path");
    return request.isGood() ? model.parameters.readValue(view, path) : request.failure();
}

Outcome activateDefaults(ModuleModel& model, ServiceRequest& request)
{
    if (request.isGood() && !request.has("View") && !request.has("Xpath")) {
        model.parameters.resetAll();
        return {};
    }
    const auto view = request.number("View");
    const std::string path = request.text("Xpath");
    return request.isGood() ? model.parameters.resetSelected(view, path) : request.failure();
}

Outcome readTeds(ModuleModel& model, ServiceRequest& request)
{
    const auto channel = request.number("Channel");
    if (!request.isGood())
        return request.failure();
    const TedsMemory* memory = model.teds.find(channel);
    if (memory == nullptr)
        return {kNoTeds, "no TEDS at connector " + std::to_string(channel + 1)};
    return ServiceAnswer{}
        .add("Tid", memory->id)
        .add("BinData", toHexadecimal(memory->bytes))
        .outcome();
}

Outcome writeTeds(ModuleModel& model, ServiceRequest& request)
{
    const auto channel = request.number("Channel");
    const std::string digits = request.text("BinData");
    if (!request.isGood())
        return request.failure();
    if (Outcome outcome = model.teds.write(channel, digits); !outcome.isGood())
        return outcome;
    return ServiceAnswer{}.add("Tid", model.teds.find(channel)->id).outcome();
}

} // namespace

MethodAnswer answerParameters(ModuleModel& model, const MethodCall& call)
{
    if (call.id == ParameterMethod::getViews && !call.data.empty())
        return {kInvalidParameters, "this method takes no parameters"};
    ServiceRequest request{call.data};
    switch (ParameterMethod{call.id.method}) {
    case ParameterMethod::readDocument:
        return readDocument(model, request);
    case ParameterMethod::writeDocument:
        return writeDocument(model, request);
    case ParameterMethod::readSchema:
        return readSchema(model, request);
    case ParameterMethod::readStyleSheet:
        return readStyleSheet(model, request);
    case ParameterMethod::readSection:
        return readSection(model, request);
    case ParameterMethod::writeSection:
        return writeSection(model, request);
    case ParameterMethod::readSectionSchema:
        return readSectionSchema(model, request);
    case ParameterMethod::writeParameter:
        return writeValue(model, request);
    case ParameterMethod::readParameter:
        return readValue(model, request);
    case ParameterMethod::getViews:
        return {0, composeViewList()};
    case ParameterMethod::activateDefault:
        return activateDefaults(model, request);
    case ParameterMethod::readTeds:
        return readTeds(model, request);
    case ParameterMethod::writeTeds:
        return writeTeds(model, request);
    }
    return unknownMethod(call.id);
}

} // namespace zel::simulator
