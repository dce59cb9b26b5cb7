#include "call_pattern.h"

using namespace zel;

int32_t ZEL_XSYS_DoRestartSystem(uint64_t uuid, uint32_t, int32_t cold)
{
    return forward({}, [&](clSystemMgr&) { return notAvailable(uuid, isTrue(cold)); });
}

int32_t ZEL_XSYS_GetBackgroundServiceResult(uint64_t uuid, uint32_t service, uint32_t, char* buffer,
                                            uint64_t* length, uint64_t capacity)
{
    return forward({buffer, length},
                   [&](clSystemMgr&) { return notAvailable(uuid, service, capacity); });
}

int32_t ZEL_XSYS_WriteFirmware(uint64_t uuid, const char* folder)
{
    return forward({folder}, [&](clSystemMgr&) { return notAvailable(uuid); });
}

int32_t ZEL_XSYS_StartFlashing(uint64_t uuid)
{
    return forward({}, [&](clSystemMgr&) { return notAvailable(uuid); });
}

int32_t ZEL_XSYS_StartMSPFlashing(uint64_t uuid, uint32_t channel)
{
    return forward({}, [&](clSystemMgr&) { return notAvailable(uuid, channel); });
}

int32_t ZEL_XSYS_GetFlashStatus(uint64_t uuid, uint32_t* status, uint32_t* progress)
{
    return forward({status, progress}, [&](clSystemMgr&) { return notAvailable(uuid); });
}

int32_t ZEL_XSYS_WriteFile(uint64_t uuid, const char* hostFile, const char* moduleFolder,
                           const char* moduleFile)
{
    return forward({hostFile, moduleFolder, moduleFile},
                   [&](clSystemMgr&) { return notAvailable(uuid); });
}

int32_t ZEL_XSYS_ReadFile(uint64_t uuid, const char* moduleFolder, const char* moduleFile,
                          const char* hostFile)
{
    return forward({moduleFolder, moduleFile, hostFile},
                   [&](clSystemMgr&) { return notAvailable(uuid); });
}

int32_t ZEL_XSYS_RequestDebugInfo(uint64_t uuid, uint32_t debugId, const char* parameter1,
                                  const char* parameter2, const char* parameter3,
                                  const char* parameter4, const char* parameter5, char* buffer,
                                  uint64_t capacity)
{
    return forward({parameter1, parameter2, parameter3, parameter4, parameter5, buffer},
                   [&](clSystemMgr&) { return notAvailable(uuid, debugId, capacity); });
}

int32_t ZEL_XSYS_SetSimValue(uint64_t uuid, uint32_t connector, uint32_t channel, uint32_t signal,
                             uint32_t mode, double value)
{
    return forward({}, [&](clSystemMgr&) {
        return notAvailable(uuid, connector, channel, signal, mode, value);
    });
}

int32_t ZEL_XSYS_GetTr620CalUgMeasUx(uint64_t uuid, uint32_t connector, uint32_t* calUg,
                                     uint32_t* measUx)
{
    return forward({calUg, measUx}, [&](clSystemMgr&) { return notAvailable(uuid, connector); });
}

int32_t ZEL_XSYS_GetTr620RgRx(uint64_t uuid, uint32_t connector, uint32_t* rg, uint32_t* rx)
{
    return forward({rg, rx}, [&](clSystemMgr&) { return notAvailable(uuid, connector); });
}
