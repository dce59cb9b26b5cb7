#pragma once

#include "method_call.h"

namespace zel::simulator {

struct ModuleModel;

// A module's services: each takes its methods' requests, works on the model and answers, on the
// simulator's thread. What takes time says so in the answer; a service never blocks.

/// The parameter documents, values, schemas and TEDS contents.
MethodAnswer answerParameters(ModuleModel& model, const MethodCall& call);
/// Errors, statuses, TEDS states and the modules connected behind this one.
MethodAnswer answerStatus(ModuleModel& model, const MethodCall& call);
/// The controls, their descriptions and their execution.
MethodAnswer answerControls(ModuleModel& model, const MethodCall& call);
/// Measured values, one by one and in blocks, and the lists of signals.
MethodAnswer answerMeasurements(ModuleModel& model, const MethodCall& call);
/// Restart, firmware, files, texts and what else belongs to the module as a device.
MethodAnswer answerSystem(ModuleModel& model, const MethodCall& call);

/// By the service that the call names.
MethodAnswer answerMethod(ModuleModel& model, const MethodCall& call);
/// What a module answers to a service or a method that it does not have.
MethodAnswer unknownMethod(MethodId id);

} // namespace zel::simulator
