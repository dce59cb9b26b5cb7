#pragma once

#include "method_call.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace zel::simulator {

struct ModuleModel;

/// One service of a module: takes its methods' requests, works on the model, answers. Runs on the
/// simulator's thread. What takes time says so in the answer; a service never blocks.
class ModuleService {
public:
    virtual ~ModuleService() = default;

    virtual wire::Service service() const = 0;
    virtual MethodAnswer call(const MethodCall& call) = 0;
};

/// What a module answers to a service or a method that it does not have.
MethodAnswer unknownMethod(MethodId id);

/// Every service that a simulated module offers.
std::vector<std::unique_ptr<ModuleService>> makeServices(ModuleModel& model);

} // namespace zel::simulator
