#pragma once

#include "module_service.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace zel::simulator {

class ServiceRequest;
class SignalStream;

/// Service 5: measured values, one by one and in blocks, and the lists of signals.
class MeasurementServer : public ModuleService {
public:
    explicit MeasurementServer(ModuleModel& model) : m_model(model) {}

    wire::Service service() const override { return wire::Service::measurement; }
    MethodAnswer call(const MethodCall& call) override;

private:
    MethodAnswer fetchBlock(const MethodCall& call);
    Outcome subscribe(const MethodCall& call);
    Outcome unsubscribe(const MethodCall& call);
    Outcome listSignals(const MethodCall& call);
    Outcome listAsText(const MethodCall& call);
    Outcome currentValues(const MethodCall& call);
    Outcome oneCurrentValue(ServiceRequest& request);
    Outcome allCurrentValues(bool enabledOnly);
    Outcome addStream(ServiceRequest request, std::vector<SignalStream>& streams) const;

    ModuleModel& m_model;
    /// Bytes of blocks that are on their way; shared with those, which may outlive the service.
    std::shared_ptr<std::size_t> m_underWay = std::make_shared<std::size_t>(0);
};

} // namespace zel::simulator
