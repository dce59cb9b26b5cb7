/* A host program in C that calls every export of the device services against a simulated module and
 * checks what comes back.
 *
 *   every_export PORT FOLDER
 *
 * FOLDER is a scratch folder with an image "pImage" and a file "host.bin" in it.
 */
#include "host_check.h"
#include "ZEL_VR_Framework.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static uint64_t module = 0;
static uint16_t port = 0;
static char text[1 << 20];
static uint64_t length = 0;
static const char* folder = "";

static void show_state(void)
{
    const char* message = "";
    uint64_t size = 0;
    ZEL_XPAR_GetLastErrMsgByUuid(module, &message, &size);
    printf("the module says '%.*s', text '%.200s'", (int)size, message, text);
}

#define OUT text, &length, sizeof text

static const char* in_folder(const char* name)
{
    static char path[4][1024];
    static int next = 0;
    char* const made = path[next++ % 4];
    snprintf(made, sizeof path[0], "%s/%s", folder, name);
    return made;
}

static int has(const char* part)
{
    return strstr(text, part) != NULL && strlen(text) == length;
}

static int file_is(const char* name, const char* expected)
{
    char content[4096] = "";
    FILE* const file = fopen(in_folder(name), "rb");
    if (file == NULL)
        return 0;
    const size_t size = fread(content, 1, sizeof content - 1, file);
    fclose(file);
    content[size] = '\0';
    return strstr(content, expected) != NULL;
}

#define CHANNEL_PATH "Amplifier/Connector1/Mode/AnalogInChannel"

static void parameters(void)
{
    int numbers[4];
    HOLDS(sscanf(ZEL_XUTIL_GetDllVersion(), "%d.%d.%d.%d", &numbers[0], &numbers[1], &numbers[2],
                 &numbers[3]) == 4);
    double range = 0;
    GIVES(0, ZEL_XPAR_ReadPar(module, 1, "System", "Name", OUT));
    HOLDS(has("MOD-1"));
    GIVES(ZEL_SRV_BUFFER_TOO_SMALL,
          ZEL_XPAR_ReadPar(module, 1, "System", "Name", text, &length, 5));
    HOLDS(length == 5 && text[0] == '\0');
    GIVES(0, ZEL_XPAR_WriteStringPar(module, 1, "System", "Name", "<Bench & \"7\">"));
    GIVES(0, ZEL_XPAR_ReadPar(module, 1, "System/Name", "", OUT));
    HOLDS(has("<Bench & \"7\">"));
    GIVES(0, ZEL_XPAR_WriteDoublePar(module, 1, "Amplifier", "Range", 2.5));
    GIVES(0, ZEL_XPAR_ReadDoublePar(module, 1, "Amplifier", "Range", &range));
    HOLDS(range > 2.49 && range < 2.51);
    GIVES(0, ZEL_XPAR_WriteDoublePar(module, 1, CHANNEL_PATH, "ZeroOffset", -250000));
    GIVES(0, ZEL_XPAR_ReadPar(module, 1, CHANNEL_PATH, "ZeroOffset", OUT));
    HOLDS(has("-2.500000e+05"));
    GIVES(0, ZEL_XPAR_ReadDoublePar(module, 1, "Communication/Network/eth0", "TcpPort", &range));
    HOLDS(range == port);
    GIVES(0, ZEL_XPAR_WriteIntPar(module, 1, CHANNEL_PATH, "ZeroOffset", -1000000000));
    GIVES(0, ZEL_XPAR_ReadPar(module, 1, CHANNEL_PATH, "ZeroOffset", OUT));
    HOLDS(has("-1000000000") && length == 11);
    GIVES(ZEL_UTIL_STRING_CONVERSION, ZEL_XPAR_ReadDoublePar(module, 1, "System", "Name", &range));
    HOLDS(ZEL_XPAR_WriteIntPar(module, 1, "Amplifier", "Range", 1000) < 0);
    const char* message = NULL;
    GIVES(0, ZEL_XPAR_GetLastErrMsg(&message, &length));
    HOLDS(length > 0 && strstr(message, "1000") != NULL);

    GIVES(0, ZEL_XPAR_ReadXML(module, 1, 1, OUT));
    HOLDS(has("<Amplifier>"));
    GIVES(0, ZEL_XPAR_WriteXML(module, 1, text, length));
    GIVES(0, ZEL_XPAR_ReadXMLSect(module, 1, 1, "System", OUT));
    HOLDS(has("Bench &amp;"));
    GIVES(0, ZEL_XPAR_WriteXMLSect(module, 1, "System", text, length));
    GIVES(0, ZEL_XPAR_ReadXSD(module, 1, OUT));
    HOLDS(has("schema"));
    GIVES(0, ZEL_XPAR_ReadXSDSect(module, 1, "Amplifier", OUT));
    HOLDS(has("schema"));
    GIVES(0, ZEL_XPAR_ReadXSLT(module, 1, OUT));
    HOLDS(has("stylesheet"));
    GIVES(8, ZEL_XPAR_GetMaxCount(module, 5, "Amplifier", "Connector"));
    GIVES(8, ZEL_XPAR_GetMaxCount(module, 1, "Amplifier", "Connector"));
    GIVES(0, ZEL_XPAR_GetParViewsString(module, OUT));
    HOLDS(length > 0);
    GIVES(0, ZEL_XPAR_GetParViews(module, in_folder("views.xml")));
    HOLDS(file_is("views.xml", "View"));
    GIVES(ZEL_FILE_OPEN, ZEL_XPAR_GetParViews(module, in_folder("no/such/folder")));
    GIVES(0, ZEL_XPAR_ActivateDefaultSetting(module, 1, "//Range"));
    GIVES(0, ZEL_XPAR_ActivateAllDefaultSettings(module));
    GIVES(0, ZEL_XPAR_ReadPar(module, 1, "System", "Name", OUT));
    HOLDS(has("MOD-1"));
}

static int32_t teds_status(uint32_t connector)
{
    uint32_t status = 99;
    char warning[64];
    uint64_t warningLength = 0;
    const int32_t result = ZEL_XSTAT_GetTedsStatus(module, connector, &status, OUT, warning,
                                                   &warningLength, sizeof warning);
    HOLDS(result < 0 || status == 1);
    return result;
}

static void teds(void)
{
    const unsigned char image[8] = {1, 2, 3, 4, 5, 0xFF, 0, 7};
    char written[17] = "", read[17] = "";
    GIVES(0, ZEL_XPAR_WriteTedsBinary(module, 1, written, image, sizeof image));
    GIVES(0, ZEL_XPAR_ReadTedsBinary(module, 1, read, text, &length, sizeof text));
    HOLDS(length == sizeof image && memcmp(text, image, sizeof image) == 0);
    HOLDS(strlen(read) == 16 && strcmp(read, written) == 0);
    GIVES(ZEL_SRV_BUFFER_TOO_SMALL, ZEL_XPAR_ReadTedsBinary(module, 1, read, text, &length, 7));
    GIVES(ZEL_SYS_BAD_PARAMETER, ZEL_XPAR_ReadTedsBinary(module, 1, NULL, text, &length, 7));
    GIVES(0, teds_status(0));
    GIVES(0, ZEL_XCTRL_ActivateTeds(module, 0));
}

static void controls(void)
{
    const char* const zero[] = {"0", "1", ""};
    const char* const torn[] = {"0", NULL};
    const float curve[] = {0.0F, 0.5F, -0.1F};
    double clock = 0;
    GIVES(0, ZEL_XCTRL_GetControlsString(module, OUT));
    HOLDS(has("SETZERO"));
    GIVES(0, ZEL_XCTRL_GetControls(module, in_folder("controls.xml")));
    HOLDS(file_is("controls.xml", "SETZERO"));
    GIVES(0, ZEL_XCTRL_ReadXML(module, "SETZERO", OUT));
    HOLDS(length > 0);
    GIVES(0, ZEL_XCTRL_ReadXSD(module, "SETZERO", OUT));
    HOLDS(has("schema"));
    GIVES(0, ZEL_XCTRL_ReadXSLT(module, "SETZERO", OUT));
    HOLDS(has("stylesheet"));
    GIVES(0, ZEL_XCTRL_Execute(module, "SETZERO", 0, 3, zero));
    GIVES(ZEL_SYS_BAD_PARAMETER, ZEL_XCTRL_Execute(module, "SETZERO", 0, 2, torn));
    GIVES(ZEL_SYS_BAD_PARAMETER, ZEL_XCTRL_Execute(module, "SETZERO", 0, 1, NULL));
    HOLDS(ZEL_XCTRL_Execute(module, "NOSUCHCONTROL", 0, 0, NULL) < 0);
    GIVES(0, ZEL_XCTRL_ExecuteXMLPars(module, "SELFTEST", 0, "", OUT));
    HOLDS(has("passed"));
    GIVES(0, ZEL_XCTRL_SetCalPoint(module, 0, 1, -2, 0.001));
    GIVES(-1014102, ZEL_XCTRL_SetCalPoint(module, 0, 4, -2, 0.001));
    GIVES(0, ZEL_XCTRL_SetI2SToCal(module, 1));
    GIVES(0, ZEL_XCTRL_SetInputSource(module, 0, 1, 2));
    GIVES(0, ZEL_XCTRL_SetLedMode(module, 0, 1));
    GIVES(0, ZEL_XCTRL_SetPllVoltage(module, 1));
    GIVES(0, ZEL_XCTRL_TransmitUserCanMsg(module, 0, 0x123, 8, 1, 2, 3, 4, 5, 6, 7, 255));
    GIVES(0, ZEL_XCTRL_GetSignalGeneratorClock(module, 0, &clock));
    HOLDS(clock > 95999.9 && clock < 96000.1);
    GIVES(0, ZEL_XCTRL_SetArbitrarySignalGenerator(module, 0, curve, 3, 1, 2, 3, 4));
    GIVES(0, ZEL_XCTRL_SetArbitrarySignalGenerator(module, 0, NULL, 3, 1, 2, 3, 4));
}

static void status(void)
{
    static ZEL_ErrorList errors;
    static ZEL_ErrorListEx errorsEx;
    static ZEL_StatusList statuses;
    static ZEL_StatusListEx statusesEx;
    ZEL_ConnectedModule modules[4];
    GIVES(0, ZEL_XSTAT_GetErrorStatus(module, &errors));
    GIVES(0, ZEL_XSTAT_GetErrorStatusEx(module, &errorsEx));
    HOLDS(errors.count == errorsEx.count);
    GIVES(0, ZEL_XSTAT_GetErrorStatusString(module, OUT));
    HOLDS(has("SrvParams"));
    GIVES(0, ZEL_XSTAT_GetModuleStatus(module, &statuses));
    GIVES(0, ZEL_XSTAT_GetModuleStatusEx(module, &statusesEx));
    HOLDS(statuses.count > 0 && statuses.count == statusesEx.count);
    GIVES(0, ZEL_XSTAT_GetModuleStatusString(module, OUT));
    HOLDS(has("Status"));
    length = 99;
    GIVES(0, ZEL_XSTAT_GetConnectedModules(ZEL_NO_MODULE, modules, &length, 4));
    HOLDS(length == 1 && modules[0].uuid == module && modules[0].deviceType == 2);
    GIVES(0, ZEL_XSTAT_GetConnectedModules(module, modules, &length, 4));
    GIVES(0, ZEL_XSTAT_GetTopologyString(OUT));
    HOLDS(has("<Topology><Leaf><Uuid>"));
    GIVES(0, ZEL_XSTAT_GetTopology(in_folder("topology.xml")));
    HOLDS(file_is("topology.xml", "<DevType>2</DevType>"));
}

/* Everything about the second signal of the third connector, by exports that count from 0 and from
 * 1. Its value is beyond the sensor's range. */
static void numbers(void)
{
    static ZEL_ErrorList errors;
    static ZEL_SignalInfoEx signals[200];
    ZEL_TriggerEvent event;
    char trigger[64];
    char tid[17] = "";
    uint64_t count = 0;
    double value = 99;
    GIVES(0, ZEL_XSYS_SetSimValue(module, 2, 0, 1, 1, 12345));
    GIVES(0, ZEL_XDAQ_GetAnalogMeasVal(module, 3, 2, &value));
    HOLDS(value == 12345);
    GIVES(0, ZEL_XDAQ_GetSignalListEx(module, signals, &count, 200));
    for (uint64_t i = 0; i < count; ++i)
        if (strcmp(signals[i].id, "AnalogIn_Connector2.Signal1") == 0)
            HOLDS(signals[i].connector == 3 && signals[i].channel == 1 && signals[i].signal == 2);
    GIVES(0, ZEL_XSTAT_GetErrorStatus(module, &errors));
    HOLDS(errors.count == 1 && errors.entries[0].connector == 3 && errors.entries[0].signal == 2);
    snprintf(trigger, sizeof trigger, "uuid=%llu connector=3 signal=2 status=2",
             (unsigned long long)module);
    GIVES(0, ZEL_XDAQ_ActivateTrigger(trigger));
    GIVES(0, ZEL_XDAQ_WaitForTrigger(0, trigger, &event));
    HOLDS(event.status.connector == 3 && event.status.signal == 2);

    GIVES(0, ZEL_XPAR_WriteStringPar(module, 1, "Amplifier/Connector3/Mode/AnalogInChannel",
                                     "SyncSignal2/Offset", "100"));
    GIVES(0, ZEL_XCTRL_SetZero(module, 2, 1));
    GIVES(0, ZEL_XDAQ_GetMeasVal(module, "AnalogIn_Connector2.Signal1", &value));
    HOLDS(value == 0);
    GIVES(0, ZEL_XCTRL_SetZeroWithTarget(module, 2, 1, 3.25));
    GIVES(0, ZEL_XDAQ_GetAnalogMeasVal(module, 3, 2, &value));
    HOLDS(value == 3.25);
    GIVES(-1014102, ZEL_XCTRL_SetZero(module, 2, 4));
    GIVES(-1014305, ZEL_XCTRL_SetZero(module, 8, 0));

    /* The identifiers of the simulated memories begin with the connector's number. */
    GIVES(0, ZEL_XPAR_ReadTedsBinary(module, 8, tid, text, &length, sizeof text));
    HOLDS(strncmp(tid, "07", 2) == 0);
    HOLDS(ZEL_XPAR_ReadTedsBinary(module, 9, tid, text, &length, sizeof text) < 0);
    GIVES(0, teds_status(7));
    HOLDS(teds_status(8) < 0);
}

static void system_functions(void)
{
    uint32_t first = 99, second = 999;
    GIVES(0, ZEL_XSYS_GetTr620RgRx(module, 0, &first, &second));
    GIVES(0, ZEL_XSYS_GetTr620CalUgMeasUx(module, 0, &first, &second));
    GIVES(0, ZEL_XSYS_SetSimValue(module, 0, 0, 0, 1, 12.5));
    for (uint32_t mode = 0; mode < 2; ++mode) { /* no fifth signal, and no channels */
        GIVES(-1014102, ZEL_XSYS_SetSimValue(module, 0, 0, 4, mode, 1));
        GIVES(-1014102, ZEL_XSYS_SetSimValue(module, 0, 1, 0, mode, 1));
    }
    GIVES(0, ZEL_XSYS_RequestDebugInfo(module, 1, "a", "b", "c", "d", "<e>", text, sizeof text));
    GIVES(ZEL_SRV_BUFFER_TOO_SMALL,
          ZEL_XSYS_RequestDebugInfo(module, 1, "a", "b", "c", "d", "<e>", text, 1));
    HOLDS(ZEL_XSYS_GetBackgroundServiceResult(module, 1, 0, OUT) <= 0);

    GIVES(0, ZEL_XSYS_WriteFile(module, in_folder("host.bin"), "logs", "copy.bin"));
    GIVES(0, ZEL_XSYS_ReadFile(module, "logs", "copy.bin", in_folder("back.bin")));
    HOLDS(file_is("back.bin", "what the host has"));
    GIVES(ZEL_FILE_OPEN, ZEL_XSYS_WriteFile(module, in_folder("absent"), "logs", "x"));
    HOLDS(ZEL_XSYS_ReadFile(module, "logs", "absent", in_folder("back.bin")) < 0);
    HOLDS(file_is("back.bin", "what the host has"));

    GIVES(ZEL_FILE_NOT_FOUND, ZEL_XSYS_WriteFirmware(module, in_folder("empty")));
    GIVES(0, ZEL_XSYS_WriteFirmware(module, folder));
    GIVES(0, ZEL_XSYS_StartFlashing(module));
    GIVES(0, ZEL_XSYS_GetFlashStatus(module, &first, &second));
    HOLDS(second <= 100);
    HOLDS(ZEL_XSYS_StartMSPFlashing(module, 0) <= 0);

    GIVES(0, ZEL_XSYS_DoRestartSystem(module, 0, 0));
    GIVES(0, ZEL_XSTAT_GetTopologyString(OUT));
    HOLDS(!has("Leaf"));
    GIVES(ZEL_CONN_UNKNOWN_UUID, ZEL_XSYS_StartFlashing(module));
}

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    port = (uint16_t)atoi(argv[1]);
    folder = argv[2];
    ZEL_Init();
    GIVES(0, ZEL_XCOM_ConnectToTcpIpDev("127.0.0.1", port, &module));
    parameters();
    teds();
    controls();
    status();
    numbers();
    system_functions();
    ZEL_Unload();
    return finish("every export does what it should");
}
