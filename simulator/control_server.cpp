#include "module_codes.h"
#include "module_model.h"
#include "module_service.h"
#include "parameter_schema.h"
#include "service_document.h"
#include "xml_text.h"

namespace zel::simulator {

using wire::ControlMethod;

namespace {

std::string composeList()
{
    pugi::xml_document document;
    pugi::xml_node list = document.append_child("Controls");
    for (const Control& control : controlCatalogue()) {
        pugi::xml_node element = list.append_child("Control");
        element.append_attribute("name").set_value(std::string{control.name}.c_str());
        element.append_attribute("parameters")
            .set_value(static_cast<unsigned long long>(control.parameters.children.size()));
        element.text().set(std::string{control.text}.c_str());
    }
    return toText(document);
}

std::string composeDocument(const Control& control)
{
    pugi::xml_document document;
    pugi::xml_node params = document.append_child(control.parameters.name.c_str());
    for (const ParameterDefinition& parameter : control.parameters.children)
        appendText(params, parameter.name.c_str(), parameter.initial(0));
    return toText(document);
}

/// Reads which control a request means.
Outcome readControl(ServiceRequest& request, const Control*& control)
{
    const std::string name = request.text("Control");
    if (!request.isGood())
        return request.failure();
    control = findControl(name);
    if (control == nullptr)
        return {kNoSuchControl, "this module has no control '" + name + "'"};
    return {};
}

/// Reads Par1, Par2... into `texts`. Every one that the control has must be there, and no other.
Outcome readParameters(const Control& control, const std::string& document, ControlTexts& texts)
{
    pugi::xml_document parsed;
    if (!document.empty() && !parsed.load_buffer(document.data(), document.size()))
        return {kXmlError, "ControlParams is not XML"};
    const pugi::xml_node params = parsed.child("ControlParams");
    if (!document.empty() && !params)
        return {kXmlError, "ControlParams holds no ControlParams document"};
    for (const pugi::xml_node child : params.children()) {
        if (child.type() == pugi::node_element && control.parameters.child(child.name()) == nullptr)
            return {kInvalidControlParameter,
                    std::string{control.name} + " has no parameter " + child.name()};
    }
    for (const ParameterDefinition& parameter : control.parameters.children) {
        const pugi::xml_node child = params.child(parameter.name.c_str());
        if (!child)
            return {kInvalidControlParameter,
                    std::string{control.name} + " needs " + parameter.name};
        const Outcome checked = parameter.check(child.text().get());
        if (!checked.isGood())
            return {kInvalidControlParameter, checked.text};
        texts.push_back(checked.text);
    }
    return {};
}

MethodAnswer execute(ModuleModel& model, const MethodCall& call)
{
    ServiceRequest request{call.data};
    const Control* control = nullptr;
    if (Outcome outcome = readControl(request, control); !outcome.isGood())
        return outcome;
    ControlTexts texts;
    const std::string document =
        request.has("ControlParams") ? request.text("ControlParams") : std::string{};
    if (const Outcome outcome = readParameters(*control, document, texts); !outcome.isGood())
        return outcome;
    return control->perform(model, texts);
}

MethodAnswer describe(const MethodCall& call)
{
    ServiceRequest request{call.data};
    const Control* control = nullptr;
    if (Outcome outcome = readControl(request, control); !outcome.isGood())
        return outcome;
    if (call.id == ControlMethod::readDocument)
        return {0, composeDocument(*control)};
    if (call.id == ControlMethod::readSchema)
        return {0, composeSectionSchema(control->parameters)};
    return {0, composeStyleSheet(control->name)};
}

} // namespace

MethodAnswer answerControls(ModuleModel& model, const MethodCall& call)
{
    switch (ControlMethod{call.id.method}) {
    case ControlMethod::execute:
        return execute(model, call);
    case ControlMethod::readDocument:
    case ControlMethod::readSchema:
    case ControlMethod::readStyleSheet:
        return describe(call);
    case ControlMethod::getControls:
        return {0, composeList()};
    }
    return unknownMethod(call.id);
}

} // namespace zel::simulator
