#include "call_pattern.h"
#include "measured_values.h"
#include "signal_path.h"
#include "triggers.h"

using namespace zel;

namespace {

/// Hands the trigger that the text describes to `work`.
template <class Work>
std::int32_t withTrigger(const char* text, Work&& work)
{
    const auto trigger = daq::parseTrigger(text);
    return trigger ? std::int32_t{work(*trigger)} : ZEL_SRV_INVALID_PARAMETERS;
}

} // namespace

int32_t ZEL_XDAQ_OpenSubscription(uint64_t uuid)
{
    return forward({}, [&](clSystemMgr& mgr) {
        mgr.subscriptions().open(uuid);
        return ZEL_OK;
    });
}

int32_t ZEL_XDAQ_AddSignal(uint64_t uuid, const char* reference, uint16_t userSignalId,
                           uint64_t blockSize)
{
    return forward({reference}, [&](clSystemMgr& mgr) {
        return mgr.subscriptions().addSignal(uuid, reference, userSignalId, blockSize);
    });
}

int32_t ZEL_XDAQ_FinishSubscription(uint64_t uuid, uint64_t startTime)
{
    return forward({}, [&](clSystemMgr& mgr) {
        return mgr.subscriptions().finish(mgr.module(uuid), startTime);
    });
}

int32_t ZEL_XDAQ_ClearSubscription(uint64_t uuid)
{
    return forward({},
                   [&](clSystemMgr& mgr) { return mgr.subscriptions().clear(mgr.module(uuid)); });
}

int32_t ZEL_XDAQ_GetMeasValBlock(uint64_t uuid, void* buffer, uint64_t* received, uint64_t size)
{
    return forward({buffer, received, orNull(size)}, [&](clSystemMgr& mgr) {
        return daq::readBlock(mgr.module(uuid), buffer, size, *received);
    });
}

int32_t ZEL_XDAQ_Async_GetMeasValBlock(uint64_t uuid, void* buffer, uint64_t* received,
                                       uint64_t size, uint32_t* handle)
{
    return forward({buffer, received, handle}, [&](clSystemMgr& mgr) {
        return mgr.asyncReads().startBlock(uuid, {buffer, size, received}, *handle);
    });
}

int32_t ZEL_XDAQ_GetMeasVal(uint64_t uuid, const char* reference, double* value)
{
    return ZEL_XDAQ_GetMeasValByType(uuid, reference, daq::kPhysical, value);
}

int32_t ZEL_XDAQ_GetMeasValByType(uint64_t uuid, const char* reference, uint32_t scaleType,
                                  double* value)
{
    return forward({reference, value}, [&](clSystemMgr& mgr) {
        return daq::readValue(mgr.module(uuid), reference, scaleType, *value);
    });
}

int32_t ZEL_XDAQ_GetAnalogMeasVal(uint64_t uuid, uint32_t connector, uint32_t signal, double* value)
{
    return forward({value}, [&](clSystemMgr& mgr) {
        const std::string path = signals::signalPath({connector, 0, signal, ZEL_CONNECTOR_ANALOG},
                                                     signals::PathForm::address);
        return daq::readValue(mgr.module(uuid), path.c_str(), daq::kPhysical, *value);
    });
}

int32_t ZEL_XDAQ_GetCanMeasVal(uint64_t uuid, uint32_t connector, uint32_t channel, double* value)
{
    return forward({value}, [&](clSystemMgr& mgr) {
        const std::string path = signals::signalPath({connector, channel, 1, ZEL_CONNECTOR_CAN},
                                                     signals::PathForm::address);
        return daq::readValue(mgr.module(uuid), path.c_str(), daq::kPhysical, *value);
    });
}

// Unlike the other flags of the interface, this one is true for every value but 0.
int32_t ZEL_XDAQ_GetAllMeasVals(uint64_t uuid, int32_t enabledOnly, ZEL_MeasuredValue* values,
                                uint64_t* count, uint64_t capacity)
{
    return forward({values, count, orNull(capacity)}, [&](clSystemMgr& mgr) {
        return daq::readAllValues(mgr.module(uuid), enabledOnly != 0, {values, capacity}, *count);
    });
}

int32_t ZEL_XDAQ_GetSignalList(uint64_t uuid, ZEL_SignalInfo* signals, uint64_t* count,
                               uint64_t capacity)
{
    return forward({signals, count, orNull(capacity)}, [&](clSystemMgr& mgr) {
        return daq::readSignals(mgr.module(uuid), std::span{signals, capacity}, *count);
    });
}

int32_t ZEL_XDAQ_GetSignalListEx(uint64_t uuid, ZEL_SignalInfoEx* signals, uint64_t* count,
                                 uint64_t capacity)
{
    return forward({signals, count, orNull(capacity)}, [&](clSystemMgr& mgr) {
        return daq::readSignals(mgr.module(uuid), std::span{signals, capacity}, *count);
    });
}

int32_t ZEL_XDAQ_GetSignalListString(uint64_t uuid, char* buffer, uint64_t* length,
                                     uint64_t capacity)
{
    return forward({buffer, length}, [&](clSystemMgr& mgr) {
        return daq::readSignalsText(mgr.module(uuid), {buffer, length, capacity});
    });
}

int32_t ZEL_XDAQ_ActivateTrigger(const char* trigger)
{
    return forward({trigger}, [&](clSystemMgr& mgr) {
        return withTrigger(trigger, [&](const daq::Trigger& described) {
            mgr.triggers().activate(described);
            return ZEL_OK;
        });
    });
}

int32_t ZEL_XDAQ_ClearTrigger(const char* trigger)
{
    return forward({trigger}, [&](clSystemMgr& mgr) {
        return withTrigger(trigger, [&](const daq::Trigger& described) {
            return mgr.triggers().clear(described);
        });
    });
}

int32_t ZEL_XDAQ_WaitForTrigger(uint32_t timeoutMs, const char* trigger, ZEL_TriggerEvent* event)
{
    return forward({trigger, event}, [&](clSystemMgr& mgr) {
        return withTrigger(trigger, [&](const daq::Trigger& described) {
            return mgr.triggers().wait(timeoutMs, described, mgr.modules(), *event);
        });
    });
}
