#pragma once

#include "module_service.h"

namespace zel::simulator {

/// Service 6: restart, firmware, files, texts and what else belongs to the module as a device.
class SystemServer : public ModuleService {
public:
    explicit SystemServer(ModuleModel& model) : m_model(model) {}

    wire::Service service() const override { return wire::Service::system; }
    MethodAnswer call(const MethodCall& call) override;

private:
    Outcome flashStatus();
    Outcome announceFirmware(const MethodCall& call);
    Outcome flashChannel(const MethodCall& call);
    Outcome readRegister(const MethodCall& call);
    Outcome writeRegister(const MethodCall& call);
    Outcome setSimulatedValue(const MethodCall& call);
    MethodAnswer restart(const MethodCall& call);
    Outcome describeModule();
    Outcome debugInfo(const MethodCall& call);
    Outcome backgroundResult(const MethodCall& call);
    Outcome chooseFile(const MethodCall& call);
    Outcome bridgeValues(const MethodCall& call);
    Outcome textOfCode(const MethodCall& call);

    ModuleModel& m_model;
};

} // namespace zel::simulator
