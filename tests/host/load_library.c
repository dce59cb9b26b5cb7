/* Loads and unloads the library as a host does that knows nothing but its file and its header:
 * again and again, and without stopping it first. */

#include "ZEL_VR_Framework.h"

#include <stdio.h>
#include <string.h>

#ifdef _WIN32
#include <windows.h>
typedef HMODULE Library;
#else
#include <dlfcn.h>
typedef void* Library;
#endif

#define LOADS 20

/* Naming the function as well makes sure that the header declares it. */
#define NAME(function)                                                                             \
    {                                                                                              \
#function, sizeof(&function)                                                               \
    }

static const struct {
    const char* name;
    size_t ignored;
} exports[] = {
    NAME(ZEL_Init),
    NAME(ZEL_Unload),
    NAME(ZEL_XCOM_Async_ReadData),
    NAME(ZEL_XCOM_Async_ReadData_Timeout),
    NAME(ZEL_XCOM_ConnectToTcpIpDev),
    NAME(ZEL_XCOM_DisableZELDevice),
    NAME(ZEL_XCOM_Disconnect),
    NAME(ZEL_XCOM_DisconnectFromTcpIpDev),
    NAME(ZEL_XCOM_DoFirewireScan),
    NAME(ZEL_XCOM_DoNetScan),
    NAME(ZEL_XCOM_GetNetAdapter),
    NAME(ZEL_XCOM_GetOwnUUID),
    NAME(ZEL_XCOM_GetSyncReqrSrvLastErrDat),
    NAME(ZEL_XCOM_GetSyncReqrSrvLastErrDatByUuid),
    NAME(ZEL_XCOM_ReadNetSetting),
    NAME(ZEL_XCOM_ReadNetSettings),
    NAME(ZEL_XCOM_ScanEthSegment),
    NAME(ZEL_XCOM_ScanFirewireSegment),
    NAME(ZEL_XCOM_WriteNetSetting),
    NAME(ZEL_XCTRL_ActivateTeds),
    NAME(ZEL_XCTRL_Execute),
    NAME(ZEL_XCTRL_ExecuteXMLPars),
    NAME(ZEL_XCTRL_GetControls),
    NAME(ZEL_XCTRL_GetControlsString),
    NAME(ZEL_XCTRL_GetSignalGeneratorClock),
    NAME(ZEL_XCTRL_ReadXML),
    NAME(ZEL_XCTRL_ReadXSD),
    NAME(ZEL_XCTRL_ReadXSLT),
    NAME(ZEL_XCTRL_SetArbitrarySignalGenerator),
    NAME(ZEL_XCTRL_SetCalPoint),
    NAME(ZEL_XCTRL_SetI2SToCal),
    NAME(ZEL_XCTRL_SetInputSource),
    NAME(ZEL_XCTRL_SetLedMode),
    NAME(ZEL_XCTRL_SetPllVoltage),
    NAME(ZEL_XCTRL_SetZero),
    NAME(ZEL_XCTRL_SetZeroWithTarget),
    NAME(ZEL_XCTRL_TransmitUserCanMsg),
    NAME(ZEL_XDAQ_ActivateTrigger),
    NAME(ZEL_XDAQ_AddSignal),
    NAME(ZEL_XDAQ_Async_GetMeasValBlock),
    NAME(ZEL_XDAQ_ClearSubscription),
    NAME(ZEL_XDAQ_ClearTrigger),
    NAME(ZEL_XDAQ_FinishSubscription),
    NAME(ZEL_XDAQ_GetAllMeasVals),
    NAME(ZEL_XDAQ_GetAnalogMeasVal),
    NAME(ZEL_XDAQ_GetCanMeasVal),
    NAME(ZEL_XDAQ_GetMeasVal),
    NAME(ZEL_XDAQ_GetMeasValBlock),
    NAME(ZEL_XDAQ_GetMeasValByType),
    NAME(ZEL_XDAQ_GetSignalList),
    NAME(ZEL_XDAQ_GetSignalListEx),
    NAME(ZEL_XDAQ_GetSignalListString),
    NAME(ZEL_XDAQ_OpenSubscription),
    NAME(ZEL_XDAQ_WaitForTrigger),
    NAME(ZEL_XPAR_ActivateAllDefaultSettings),
    NAME(ZEL_XPAR_ActivateDefaultSetting),
    NAME(ZEL_XPAR_GetLastErrMsg),
    NAME(ZEL_XPAR_GetLastErrMsgByUuid),
    NAME(ZEL_XPAR_GetMaxCount),
    NAME(ZEL_XPAR_GetParViews),
    NAME(ZEL_XPAR_GetParViewsString),
    NAME(ZEL_XPAR_ReadDoublePar),
    NAME(ZEL_XPAR_ReadPar),
    NAME(ZEL_XPAR_ReadTedsBinary),
    NAME(ZEL_XPAR_ReadXML),
    NAME(ZEL_XPAR_ReadXMLSect),
    NAME(ZEL_XPAR_ReadXSD),
    NAME(ZEL_XPAR_ReadXSDSect),
    NAME(ZEL_XPAR_ReadXSLT),
    NAME(ZEL_XPAR_WriteDoublePar),
    NAME(ZEL_XPAR_WriteIntPar),
    NAME(ZEL_XPAR_WriteStringPar),
    NAME(ZEL_XPAR_WriteTedsBinary),
    NAME(ZEL_XPAR_WriteXML),
    NAME(ZEL_XPAR_WriteXMLSect),
    NAME(ZEL_XSTAT_GetConnectedModules),
    NAME(ZEL_XSTAT_GetErrorStatus),
    NAME(ZEL_XSTAT_GetErrorStatusEx),
    NAME(ZEL_XSTAT_GetErrorStatusString),
    NAME(ZEL_XSTAT_GetModuleStatus),
    NAME(ZEL_XSTAT_GetModuleStatusEx),
    NAME(ZEL_XSTAT_GetModuleStatusString),
    NAME(ZEL_XSTAT_GetTedsStatus),
    NAME(ZEL_XSTAT_GetTopology),
    NAME(ZEL_XSTAT_GetTopologyString),
    NAME(ZEL_XSYS_DoRestartSystem),
    NAME(ZEL_XSYS_GetBackgroundServiceResult),
    NAME(ZEL_XSYS_GetFlashStatus),
    NAME(ZEL_XSYS_GetTr620CalUgMeasUx),
    NAME(ZEL_XSYS_GetTr620RgRx),
    NAME(ZEL_XSYS_ReadFile),
    NAME(ZEL_XSYS_RequestDebugInfo),
    NAME(ZEL_XSYS_SetSimValue),
    NAME(ZEL_XSYS_StartFlashing),
    NAME(ZEL_XSYS_StartMSPFlashing),
    NAME(ZEL_XSYS_WriteFile),
    NAME(ZEL_XSYS_WriteFirmware),
    NAME(ZEL_XUTIL_ComposeAlarmPath),
    NAME(ZEL_XUTIL_ComposeAmplifierPath),
    NAME(ZEL_XUTIL_ComposeCanSensor),
    NAME(ZEL_XUTIL_ComposeCanSignal),
    NAME(ZEL_XUTIL_ComposeChannelPath),
    NAME(ZEL_XUTIL_ComposeGateIndex),
    NAME(ZEL_XUTIL_ComposeGatePath),
    NAME(ZEL_XUTIL_ComposeMathIndexPath),
    NAME(ZEL_XUTIL_ComposePeakIndexPath),
    NAME(ZEL_XUTIL_ComposePeakPath),
    NAME(ZEL_XUTIL_ComposeSensor),
    NAME(ZEL_XUTIL_ComposeSensorPath),
    NAME(ZEL_XUTIL_ComposeSignal),
    NAME(ZEL_XUTIL_ComposeSignalPath),
    NAME(ZEL_XUTIL_GetDaqData),
    NAME(ZEL_XUTIL_GetDaqHeader),
    NAME(ZEL_XUTIL_GetDllVersion),
    NAME(ZEL_XUTIL_GetLastXmlError),
    NAME(ZEL_XUTIL_GetNilValues),
    NAME(ZEL_XUTIL_GetText),
    NAME(ZEL_XUTIL_GetTextFromModule),
    NAME(ZEL_XUTIL_GetUnitCodeFromName),
    NAME(ZEL_XUTIL_GetUnitNameFromCode),
    NAME(ZEL_XUTIL_ParseCanSensor),
    NAME(ZEL_XUTIL_ParseCanSignal),
    NAME(ZEL_XUTIL_ParseErrors),
    NAME(ZEL_XUTIL_ParseGateIndex),
    NAME(ZEL_XUTIL_ParseSensor),
    NAME(ZEL_XUTIL_ParseSignal),
    NAME(ZEL_XUTIL_ParseSignalPath),
    NAME(ZEL_XUTIL_SetWorkDir),
};

static Library load(const char* path)
{
#ifdef _WIN32
    return LoadLibraryA(path);
#else
    return dlopen(path, RTLD_NOW | RTLD_LOCAL);
#endif
}

static int isLoaded(const char* path)
{
#ifdef _WIN32
    (void)path;
    return GetModuleHandleA("ZEL_VR_Framework.dll") != NULL;
#else
    Library library = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (library)
        dlclose(library);
    return library != NULL;
#endif
}

/* Function pointers come as data pointers on one platform and as other functions on the other. */
static int find(Library library, const char* name, void* function, size_t size)
{
#ifdef _WIN32
    FARPROC address = GetProcAddress(library, name);
#else
    void* address = dlsym(library, name);
#endif
    if (address)
        memcpy(function, &address, size);
    return address != NULL;
}

static void unload(Library library)
{
#ifdef _WIN32
    FreeLibrary(library);
#else
    dlclose(library);
#endif
}

static int useOnce(Library library)
{
    int32_t (*init)(void) = NULL;
    int32_t (*disconnect)(uint64_t) = NULL;
    const char* (*getText)(int32_t) = NULL;
    const char* text;
    size_t i;

    for (i = 0; i < sizeof exports / sizeof exports[0]; ++i) {
        void (*function)(void);
        if (!find(library, exports[i].name, &function, sizeof function)) {
            fprintf(stderr, "the library does not export %s\n", exports[i].name);
            return 1;
        }
    }
    find(library, "ZEL_Init", &init, sizeof init);
    find(library, "ZEL_XCOM_Disconnect", &disconnect, sizeof disconnect);
    find(library, "ZEL_XUTIL_GetText", &getText, sizeof getText);

    if (disconnect(1) != ZEL_SYS_NOT_STARTED) {
        fprintf(stderr, "the library is still started from the time before\n");
        return 1;
    }
    if (init() != 1 || disconnect(1) != ZEL_CONN_UNKNOWN_UUID) {
        fprintf(stderr, "the library does not start\n");
        return 1;
    }
    text = getText(ZEL_SYS_NOT_STARTED);
    if (strcmp(text, "SYS: Framework not started") != 0) {
        fprintf(stderr, "the text of ZEL_SYS_NOT_STARTED is \"%s\"\n", text);
        return 1;
    }
    return 0;
}

int main(int count, char** arguments)
{
    int i;
    if (count != 2) {
        fprintf(stderr, "usage: %s LIBRARY\n", arguments[0]);
        return 2;
    }
    if (sizeof exports / sizeof exports[0] != 128) {
        fprintf(stderr, "the library has 128 exports for hosts\n");
        return 1;
    }
    for (i = 0; i < LOADS; ++i) {
        Library library = load(arguments[1]);
        if (!library) {
            fprintf(stderr, "%s cannot be loaded\n", arguments[1]);
            return 1;
        }
        if (useOnce(library) != 0)
            return 1;
        unload(library);
        if (isLoaded(arguments[1])) {
            fprintf(stderr, "the library is still loaded after it has been unloaded\n");
            return 1;
        }
    }
    return 0;
}
