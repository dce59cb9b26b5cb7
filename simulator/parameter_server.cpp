#include "parameter_server.h"

#include "module_codes.h"
#include "module_model.h"
#include "service_document.h"

namespace zel::simulator {

using wire::ParameterMethod;

MethodAnswer ParameterServer::call(const MethodCall& call)
{
    switch (ParameterMethod{call.id.method}) {
    case ParameterMethod::readDocument:
        return readDocument(call);
    case ParameterMethod::writeDocument:
        return writeDocument(call);
    case ParameterMethod::readSchema:
        return readSchema(call);
    case ParameterMethod::readStyleSheet:
        return readStyleSheet(call);
    case ParameterMethod::readSection:
        return readSection(call);
    case ParameterMethod::writeSection:
        return writeSection(call);
    case ParameterMethod::readSectionSchema:
        return readSectionSchema(call);
    case ParameterMethod::writeParameter:
        return writeValue(call);
    case ParameterMethod::readParameter:
        return readValue(call);
    case ParameterMethod::getViews:
        return listViews(call);
    case ParameterMethod::activateDefault:
        return activateDefaults(call);
    case ParameterMethod::readTeds:
        return readTeds(call);
    case ParameterMethod::writeTeds:
        return writeTeds(call);
    }
    return unknownMethod(call.id);
}

Outcome ParameterServer::readDocument(const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto view = request.number("View");
    const bool currentOnly = request.number("CurrChoicesOnly") == 1;
    return request.isGood() ? m_model.parameters.readSection(view, "", currentOnly)
                            : request.failure();
}

Outcome ParameterServer::writeDocument(const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto view = request.number("View");
    const std::string section = request.text("XmlSection");
    return request.isGood() ? m_model.parameters.writeSection(view, "", section)
                            : request.failure();
}

Outcome ParameterServer::readSchema(const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto view = request.number("View");
    return request.isGood() ? m_model.parameters.readSchema(view, "") : request.failure();
}

Outcome ParameterServer::readStyleSheet(const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto view = request.number("View");
    return request.isGood() ? m_model.parameters.readStyleSheet(view) : request.failure();
}

Outcome ParameterServer::readSection(const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto view = request.number("View");
    const std::string path = request.text("Path");
    // The requests for network settings leave it out.
    const bool currentOnly =
        !request.has("CurrChoicesOnly") || request.number("CurrChoicesOnly") == 1;
    return request.isGood() ? m_model.parameters.readSection(view, path, currentOnly)
                            : request.failure();
}

Outcome ParameterServer::writeSection(const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto view = request.number("View");
    const std::string path = request.text("Path");
    const std::string section = request.text("XmlSection");
    return request.isGood() ? m_model.parameters.writeSection(view, path, section)
                            : request.failure();
}

Outcome ParameterServer::readSectionSchema(const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto view = request.number("View");
    const std::string path = request.text("Path");
    return request.isGood() ? m_model.parameters.readSchema(view, path) : request.failure();
}

Outcome ParameterServer::writeValue(const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto view = request.number("View");
    const std::string path = request.text("Path");
    const std::string value = request.text("XmlSection");
    return request.isGood() ? m_model.parameters.writeValue(view, path, value) : request.failure();
}

Outcome ParameterServer::readValue(const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto view = request.number("View");
    const std::string path = request.text("Path");
    return request.isGood() ? m_model.parameters.readValue(view, path) : request.failure();
}

Outcome ParameterServer::listViews(const MethodCall& call)
{
    if (!call.data.empty())
        return {kInvalidParameters, "this method takes no parameters"};
    return {0, composeViewList()};
}

Outcome ParameterServer::activateDefaults(const MethodCall& call)
{
    ServiceRequest request{call.data};
    if (request.isGood() && !request.has("View") && !request.has("Xpath")) {
        m_model.parameters.resetAll();
        return {};
    }
    const auto view = request.number("View");
    const std::string path = request.text("Xpath");
    return request.isGood() ? m_model.parameters.resetSelected(view, path) : request.failure();
}

Outcome ParameterServer::readTeds(const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto channel = request.number("Channel");
    if (!request.isGood())
        return request.failure();
    const TedsMemory* memory = m_model.teds.find(channel);
    if (memory == nullptr)
        return {kNoTeds, "no TEDS at connector " + std::to_string(channel + 1)};
    return ServiceAnswer{}
        .add("Tid", memory->id)
        .add("BinData", toHexadecimal(memory->bytes))
        .outcome();
}

Outcome ParameterServer::writeTeds(const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto channel = request.number("Channel");
    const std::string digits = request.text("BinData");
    if (!request.isGood())
        return request.failure();
    if (Outcome outcome = m_model.teds.write(channel, digits); !outcome.isGood())
        return outcome;
    return ServiceAnswer{}.add("Tid", m_model.teds.find(channel)->id).outcome();
}

} // namespace zel::simulator
