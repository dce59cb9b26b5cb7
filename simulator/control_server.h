#pragma once

#include "module_controls.h"
#include "module_service.h"

namespace zel::simulator {

/// Service 3: the controls, their descriptions and their execution.
class ControlServer : public ModuleService {
public:
    explicit ControlServer(ModuleModel& model) : m_model(model) {}

    wire::Service service() const override { return wire::Service::control; }
    MethodAnswer call(const MethodCall& call) override;

private:
    MethodAnswer execute(const MethodCall& call);
    MethodAnswer describe(const MethodCall& call);

    ModuleModel& m_model;
};

} // namespace zel::simulator
