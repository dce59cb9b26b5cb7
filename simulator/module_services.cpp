#include "control_server.h"
#include "measurement_server.h"
#include "module_codes.h"
#include "module_service.h"
#include "parameter_server.h"
#include "status_server.h"
#include "system_server.h"

#include <string>

namespace zel::simulator {

MethodAnswer unknownMethod(MethodId id)
{
    return {kUnknownMethod, "this module has no method " + std::to_string(id.method) +
                                " in service " + std::to_string(id.service)};
}

std::vector<std::unique_ptr<ModuleService>> makeServices(ModuleModel& model)
{
    std::vector<std::unique_ptr<ModuleService>> services;
    services.push_back(std::make_unique<ParameterServer>(model));
    services.push_back(std::make_unique<StatusServer>(model));
    services.push_back(std::make_unique<ControlServer>(model));
    services.push_back(std::make_unique<SystemServer>(model));
    services.push_back(std::make_unique<MeasurementServer>(model));
    return services;
}

} // namespace zel::simulator
