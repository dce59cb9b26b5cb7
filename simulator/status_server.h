#pragma once

#include "module_service.h"

namespace zel::simulator {

/// Service 2: errors, statuses, TEDS states and the modules connected behind this one.
class StatusServer : public ModuleService {
public:
    explicit StatusServer(ModuleModel& model) : m_model(model) {}

    wire::Service service() const override { return wire::Service::status; }
    MethodAnswer call(const MethodCall& call) override;

private:
    Outcome connectedModules();
    Outcome errors();
    Outcome statuses();
    Outcome tedsStatus(const MethodCall& call);

    ModuleModel& m_model;
};

} // namespace zel::simulator
