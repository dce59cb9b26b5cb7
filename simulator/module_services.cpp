#include "module_codes.h"
#include "module_service.h"

#include <string>

namespace zel::simulator {

MethodAnswer unknownMethod(MethodId id)
{
    return {kUnknownMethod, "this module has no method " + std::to_string(id.method) +
                                " in service " + std::to_string(id.service)};
}

MethodAnswer answerMethod(ModuleModel& model, const MethodCall& call)
{
    switch (wire::Service{call.id.service}) {
    case wire::Service::parameters:
        return answerParameters(model, call);
    case wire::Service::status:
        return answerStatus(model, call);
    case wire::Service::control:
        return answerControls(model, call);
    case wire::Service::measurement:
        return answerMeasurements(model, call);
    case wire::Service::system:
        return answerSystem(model, call);
    }
    return unknownMethod(call.id);
}

} // namespace zel::simulator
