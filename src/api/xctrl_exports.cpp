#include "call_pattern.h"
#include "controls.h"

using namespace zel;
using wire::ControlMethod;

int32_t ZEL_XCTRL_Execute(uint64_t uuid, const char* control, uint64_t, uint32_t count,
                          const char* const* parameters)
{
    return forward({control}, [&](clSystemMgr& mgr) {
        return controls::execute(mgr.module(uuid), control, count, parameters);
    });
}

// The buffer may be null: then the answer is dropped.
int32_t ZEL_XCTRL_ExecuteXMLPars(uint64_t uuid, const char* control, uint64_t,
                                 const char* parameters, char* buffer, uint64_t* length,
                                 uint64_t capacity)
{
    return forward({control, parameters}, [&](clSystemMgr& mgr) {
        return controls::executeDocument(mgr.module(uuid), control, parameters,
                                         {buffer, length, capacity});
    });
}

int32_t ZEL_XCTRL_GetControls(uint64_t uuid, const char* fileName)
{
    return forward({fileName}, [&](clSystemMgr& mgr) {
        return sendForFile(mgr.module(uuid), ControlMethod::getControls, {}, fileName);
    });
}

int32_t ZEL_XCTRL_GetControlsString(uint64_t uuid, char* buffer, uint64_t* length,
                                    uint64_t capacity)
{
    return forward({buffer, length}, [&](clSystemMgr& mgr) {
        return sendForText(mgr.module(uuid), ControlMethod::getControls, {},
                           {buffer, length, capacity});
    });
}

int32_t ZEL_XCTRL_ReadXML(uint64_t uuid, const char* control, char* buffer, uint64_t* length,
                          uint64_t capacity)
{
    return forward({control, buffer, length}, [&](clSystemMgr& mgr) {
        return controls::describe(mgr.module(uuid), ControlMethod::readDocument, control,
                                  {buffer, length, capacity});
    });
}

int32_t ZEL_XCTRL_ReadXSD(uint64_t uuid, const char* control, char* buffer, uint64_t* length,
                          uint64_t capacity)
{
    return forward({control, buffer, length}, [&](clSystemMgr& mgr) {
        return controls::describe(mgr.module(uuid), ControlMethod::readSchema, control,
                                  {buffer, length, capacity});
    });
}

int32_t ZEL_XCTRL_ReadXSLT(uint64_t uuid, const char* control, char* buffer, uint64_t* length,
                           uint64_t capacity)
{
    return forward({control}, [&](clSystemMgr& mgr) {
        return controls::describe(mgr.module(uuid), ControlMethod::readStyleSheet, control,
                                  {buffer, length, capacity});
    });
}

int32_t ZEL_XCTRL_ActivateTeds(uint64_t uuid, uint32_t connector)
{
    return forward(
        {}, [&](clSystemMgr& mgr) { return controls::activateTeds(mgr.module(uuid), connector); });
}

int32_t ZEL_XCTRL_SetZero(uint64_t uuid, uint32_t connector, uint32_t signal)
{
    return forward({}, [&](clSystemMgr& mgr) {
        return controls::setZero(mgr.module(uuid), connector, signal);
    });
}

int32_t ZEL_XCTRL_SetZeroWithTarget(uint64_t uuid, uint32_t connector, uint32_t signal,
                                    double target)
{
    return forward({}, [&](clSystemMgr& mgr) {
        return controls::setZeroWithTarget(mgr.module(uuid), connector, signal, target);
    });
}

int32_t ZEL_XCTRL_SetCalPoint(uint64_t uuid, uint32_t connector, uint32_t signal, int32_t point,
                              double value)
{
    return forward({}, [&](clSystemMgr& mgr) {
        return controls::setCalibrationPoint(mgr.module(uuid), connector, signal, point, value);
    });
}

int32_t ZEL_XCTRL_SetI2SToCal(uint64_t uuid, uint32_t number)
{
    return forward({}, [&](clSystemMgr& mgr) {
        return controls::setI2SToCalibration(mgr.module(uuid), number);
    });
}

int32_t ZEL_XCTRL_SetInputSource(uint64_t uuid, uint32_t connector, uint32_t channel,
                                 uint32_t source)
{
    return forward({}, [&](clSystemMgr& mgr) {
        return controls::setInputSource(mgr.module(uuid), connector, channel, source);
    });
}

int32_t ZEL_XCTRL_SetLedMode(uint64_t uuid, uint32_t led, uint32_t mode)
{
    return forward(
        {}, [&](clSystemMgr& mgr) { return controls::setLedMode(mgr.module(uuid), led, mode); });
}

int32_t ZEL_XCTRL_SetPllVoltage(uint64_t, uint32_t)
{
    return ZEL_OK;
}

int32_t ZEL_XCTRL_TransmitUserCanMsg(uint64_t uuid, uint32_t connector, uint32_t identifier,
                                     uint8_t byte1, uint8_t byte2, uint8_t byte3, uint8_t byte4,
                                     uint8_t byte5, uint8_t byte6, uint8_t byte7, uint8_t byte8,
                                     uint8_t byte9)
{
    return forward({}, [&](clSystemMgr& mgr) {
        return controls::transmitCanMessage(
            mgr.module(uuid), connector, identifier,
            {byte1, byte2, byte3, byte4, byte5, byte6, byte7, byte8, byte9});
    });
}

int32_t ZEL_XCTRL_GetSignalGeneratorClock(uint64_t uuid, uint32_t generator, double* frequency)
{
    return forward({frequency}, [&](clSystemMgr& mgr) {
        return controls::readSignalGeneratorClock(mgr.module(uuid), generator, *frequency);
    });
}

// The samples may be null: then the control goes out without a curve.
int32_t ZEL_XCTRL_SetArbitrarySignalGenerator(uint64_t uuid, uint32_t generator,
                                              const float* samples, uint64_t count,
                                              uint32_t number1, uint32_t number2, uint32_t number3,
                                              uint64_t number4)
{
    return forward({}, [&](clSystemMgr& mgr) {
        return controls::setArbitrarySignalGenerator(
            mgr.module(uuid), generator, {samples, count, {number1, number2, number3}, number4});
    });
}
