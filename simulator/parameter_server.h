#pragma once

#include "module_service.h"
#include "parameter_model.h"

namespace zel::simulator {

/// Service 1: the parameter documents, values, schemas and TEDS contents.
class ParameterServer : public ModuleService {
public:
    explicit ParameterServer(ModuleModel& model) : m_model(model) {}

    wire::Service service() const override { return wire::Service::parameters; }
    MethodAnswer call(const MethodCall& call) override;

private:
    Outcome readDocument(const MethodCall& call);
    Outcome writeDocument(const MethodCall& call);
    Outcome readSchema(const MethodCall& call);
    Outcome readStyleSheet(const MethodCall& call);
    Outcome readSection(const MethodCall& call);
    Outcome writeSection(const MethodCall& call);
    Outcome readSectionSchema(const MethodCall& call);
    Outcome writeValue(const MethodCall& call);
    Outcome readValue(const MethodCall& call);
    Outcome listViews(const MethodCall& call);
    Outcome activateDefaults(const MethodCall& call);
    Outcome readTeds(const MethodCall& call);
    Outcome writeTeds(const MethodCall& call);

    ModuleModel& m_model;
};

} // namespace zel::simulator
