#include "call_pattern.h"
#include "firmware.h"
#include "module_files.h"
#include "system_functions.h"

using namespace zel;

int32_t ZEL_XSYS_DoRestartSystem(uint64_t uuid, uint32_t, int32_t cold)
{
    return forward({}, [&](clSystemMgr& mgr) {
        if (isTrue(cold)) {
            clDatagramWays datagrams = mgr.byDatagram();
            return system_functions::restart({datagrams.path(), uuid});
        }
        const std::int32_t result = system_functions::restart(mgr.module(uuid));
        // The module goes away: it no longer belongs to the topology.
        mgr.connections().erase(uuid);
        return result;
    });
}

int32_t ZEL_XSYS_GetBackgroundServiceResult(uint64_t uuid, uint32_t service, uint32_t, char* buffer,
                                            uint64_t* length, uint64_t capacity)
{
    return forward({buffer, length}, [&](clSystemMgr& mgr) {
        return system_functions::readBackgroundServiceResult(mgr.module(uuid), service,
                                                             {buffer, length, capacity});
    });
}

int32_t ZEL_XSYS_WriteFirmware(uint64_t uuid, const char* folder)
{
    return forward({folder},
                   [&](clSystemMgr& mgr) { return firmware::transfer(mgr.module(uuid), folder); });
}

int32_t ZEL_XSYS_StartFlashing(uint64_t uuid)
{
    return forward({}, [&](clSystemMgr& mgr) {
        return send(mgr.module(uuid), wire::SystemMethod::flash, {});
    });
}

int32_t ZEL_XSYS_StartMSPFlashing(uint64_t uuid, uint32_t channel)
{
    return forward({}, [&](clSystemMgr& mgr) {
        return system_functions::startMspFlashing(mgr.module(uuid), channel);
    });
}

int32_t ZEL_XSYS_GetFlashStatus(uint64_t uuid, uint32_t* status, uint32_t* progress)
{
    return forward({status, progress}, [&](clSystemMgr& mgr) {
        return system_functions::readFlashStatus(mgr.module(uuid), *status, *progress);
    });
}

int32_t ZEL_XSYS_WriteFile(uint64_t uuid, const char* hostFile, const char* moduleFolder,
                           const char* moduleFile)
{
    return forward({hostFile, moduleFolder, moduleFile}, [&](clSystemMgr& mgr) {
        return module_files::write(mgr.module(uuid), hostFile, moduleFolder, moduleFile);
    });
}

int32_t ZEL_XSYS_ReadFile(uint64_t uuid, const char* moduleFolder, const char* moduleFile,
                          const char* hostFile)
{
    return forward({moduleFolder, moduleFile, hostFile}, [&](clSystemMgr& mgr) {
        return module_files::read(mgr.module(uuid), moduleFolder, moduleFile, hostFile);
    });
}

int32_t ZEL_XSYS_RequestDebugInfo(uint64_t uuid, uint32_t debugId, const char* parameter1,
                                  const char* parameter2, const char* parameter3,
                                  const char* parameter4, const char* parameter5, char* buffer,
                                  uint64_t capacity)
{
    return forward({parameter1, parameter2, parameter3, parameter4, parameter5, buffer},
                   [&](clSystemMgr& mgr) {
                       return system_functions::requestDebugInfo(
                           mgr.module(uuid), debugId,
                           {parameter1, parameter2, parameter3, parameter4, parameter5}, buffer,
                           capacity);
                   });
}

int32_t ZEL_XSYS_SetSimValue(uint64_t uuid, uint32_t connector, uint32_t channel, uint32_t signal,
                             uint32_t mode, double value)
{
    return forward({}, [&](clSystemMgr& mgr) {
        return system_functions::setSimulatedValue(mgr.module(uuid), connector, channel, signal,
                                                   mode, value);
    });
}

int32_t ZEL_XSYS_GetTr620CalUgMeasUx(uint64_t uuid, uint32_t connector, uint32_t* calUg,
                                     uint32_t* measUx)
{
    return forward({calUg, measUx}, [&](clSystemMgr& mgr) {
        return system_functions::readTr620CalUgMeasUx(mgr.module(uuid), connector, *calUg, *measUx);
    });
}

int32_t ZEL_XSYS_GetTr620RgRx(uint64_t uuid, uint32_t connector, uint32_t* rg, uint32_t* rx)
{
    return forward({rg, rx}, [&](clSystemMgr& mgr) {
        return system_functions::readTr620RgRx(mgr.module(uuid), connector, *rg, *rx);
    });
}
