/* A host program in C that calls every export of the measured values against a simulated module and
 * checks what comes back.
 *
 *   every_measured_value PORT
 */
#include "host_check.h"
#include "ZEL_VR_Framework.h"

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define COUNTED "AnalogIn_Connector0.Signal0"
#define FIXED "AnalogIn_Connector0.Signal1"
#define BUS_PATH "AdditionalConnector/Connector[@address=\"9\"]/Mode/CanBus/"
#define BUS "CanReceiver_Connector8.Decoder0.Signal0"
#define FIXED_PATH                                                                                 \
    "Amplifier/Connector[@address=\"1\"]/Mode[@choice=\"AnalogInChannel\"]/AnalogInChannel/"       \
    "SyncSignal[@address=\"2\"]"

enum { MANY = 200, COUNTED_ID = 7, BUS_ID = 8, NOTHING_SUBSCRIBED = -1014030 };

static uint64_t module = 0;
static uint64_t count = 0;
static double value = 0;

static void show_state(void)
{
    printf("count %" PRIu64 ", value %g", count, value);
}

static void set_up(void)
{
    GIVES(0, ZEL_XPAR_WriteStringPar(module, 1,
                                     "Amplifier/Connector1/Mode/AnalogInChannel/SyncSignal1",
                                     "Waveform", "Counter"));
    GIVES(0, ZEL_XSYS_SetSimValue(module, 0, 0, 1, 1, 12.5));
    GIVES(0, ZEL_XPAR_WriteStringPar(module, 1, BUS_PATH "CanInChannel[@address=\"1\"]", "Active",
                                     "On"));
    GIVES(0, ZEL_XPAR_WriteStringPar(module, 1, "Amplifier/Connector[@address=\"8\"]", "Mode",
                                     "CanBus"));
    GIVES(0, ZEL_XPAR_WriteStringPar(
                 module, 1,
                 "Amplifier/Connector[@address=\"8\"]/Mode/CanBus/CanInChannel[@address=\"2\"]",
                 "Active", "On"));
    GIVES(0, ZEL_XSYS_SetSimValue(module, 7, 1, 0, 1, -3.0));
}

static const ZEL_SignalInfoEx* named(const ZEL_SignalInfoEx* signals, const char* reference)
{
    for (uint64_t i = 0; i < count; ++i)
        if (strcmp(signals[i].id, reference) == 0)
            return &signals[i];
    return NULL;
}

static void lists(void)
{
    static ZEL_SignalInfo ids[MANY];
    static ZEL_SignalInfoEx signals[MANY];
    static char text[1 << 16];
    uint64_t length = 0;
    GIVES(0, ZEL_XDAQ_GetSignalListEx(module, signals, &count, MANY));
    const uint64_t all = count;
    GIVES(0, ZEL_XDAQ_GetSignalList(module, ids, &count, MANY));
    HOLDS(all == count && all > 8);
    GIVES(0, ZEL_XDAQ_GetSignalListString(module, text, &length, sizeof text));
    HOLDS(strlen(text) == length);
    /* The three lists tell the same, line by line. */
    const char* line = text;
    for (uint64_t i = 0; i < all && line != NULL; ++i) {
        const ZEL_SignalInfoEx* const info = &signals[i];
        char wanted[512];
        snprintf(wanted, sizeof wanted, "%.127s\t%.127s\t%.31s\t%.0f\t%u\t%u\t%u\n", info->id,
                 info->name, info->unit, info->sampleRate, (unsigned)info->dataType,
                 (unsigned)info->recordKind, (unsigned)info->isEnabled);
        HOLDS(strcmp(ids[i].id, info->id) == 0 && strncmp(line, wanted, strlen(wanted)) == 0);
        line = strchr(line, '\n');
        line = line == NULL ? NULL : line + 1;
    }
    HOLDS(line != NULL && *line == '\0');

    const ZEL_SignalInfoEx* const fixed = named(signals, FIXED);
    HOLDS(fixed != NULL && fixed->connectorType == ZEL_CONNECTOR_ANALOG && fixed->connector == 1 &&
          fixed->signal == 2 && strcmp(fixed->path, FIXED_PATH) == 0 && fixed->isEnabled == 1 &&
          fixed->sampleRate > 0);
    const ZEL_SignalInfoEx* const bus = named(signals, BUS);
    HOLDS(bus != NULL && bus->connectorType == ZEL_CONNECTOR_CAN_ADDITIONAL &&
          bus->connector == 9 && bus->channel == 1 && bus->dataType == 96 && bus->sampleRate == 0);

    GIVES(ZEL_SRV_BUFFER_TOO_SMALL, ZEL_XDAQ_GetSignalList(module, ids, &count, 1));
    HOLDS(count == all);
    GIVES(ZEL_SRV_BUFFER_TOO_SMALL, ZEL_XDAQ_GetSignalListString(module, text, &length, 5));
    HOLDS(length > 5 && text[0] == '\0');
}

static void values(void)
{
    static ZEL_MeasuredValue some[MANY];
    double nil = 0;
    double other = 0;
    GIVES(0, ZEL_XUTIL_GetNilValues(&nil, NULL, NULL));
    GIVES(0, ZEL_XDAQ_GetMeasVal(module, FIXED, &value));
    HOLDS(value == 12.5);
    GIVES(0, ZEL_XDAQ_GetMeasVal(module, FIXED_PATH, &value));
    HOLDS(value == 12.5);
    GIVES(0, ZEL_XDAQ_GetMeasValByType(module, FIXED, 2, &value));
    HOLDS(value == 12.5);
    /* The raw counts and the electrical value are in proportion. */
    GIVES(0, ZEL_XDAQ_GetMeasValByType(module, FIXED, 1, &value));
    HOLDS(value > 0 && value < 12.5);
    GIVES(0, ZEL_XDAQ_GetMeasValByType(module, FIXED, 0, &other));
    HOLDS(other > 12.5);
    HOLDS(ZEL_XDAQ_GetMeasValByType(module, FIXED, 9, &other) < 0);
    GIVES(0, ZEL_XDAQ_GetAnalogMeasVal(module, 1, 2, &value));
    HOLDS(value == 12.5);
    GIVES(0, ZEL_XDAQ_GetCanMeasVal(module, 8, 2, &value));
    HOLDS(value == -3.0);
    value = 77;
    HOLDS(ZEL_XDAQ_GetAnalogMeasVal(module, 1, 99, &value) < 0 && value == 77);
    GIVES(ZEL_SIGNAL_UNKNOWN, ZEL_XDAQ_GetMeasVal(module, "nothing", &value));

    GIVES(0, ZEL_XDAQ_GetAllMeasVals(module, 0, some, &count, MANY));
    const uint64_t all = count;
    GIVES(0, ZEL_XDAQ_GetAllMeasVals(module, 1, some, &count, MANY));
    HOLDS(count > 2 && count < all);
    int found = 0;
    for (uint64_t i = 0; i < count; ++i) {
        found += strcmp(some[i].id, FIXED) == 0 && some[i].value == 12.5;
        HOLDS(some[i].value <= nil);
    }
    HOLDS(found == 1);
}

/* What has come of the subscription. */
static unsigned long counted = 0;
static unsigned long from_bus = 0;
static double next = -1;

static void take(const char* block, uint64_t size)
{
    ZEL_DaqHeader header;
    uint64_t offset = 0;
    for (uint32_t index = 0;
         ZEL_XUTIL_GetDaqHeader(ZEL_DAQ_BY_INDEX, index, block, size, &header, &offset) == ZEL_OK;
         ++index) {
        if (header.signalId == COUNTED_ID) {
            float samples[50];
            HOLDS(header.dataType == 36 && header.kind == 1 && header.count <= 50);
            HOLDS(header.extra.u64 == 1200000);
            GIVES(0, ZEL_XUTIL_GetDaqData(offset, block, &header, samples, sizeof samples));
            for (uint32_t i = 0; i < header.count && i < 50; ++i, ++counted) {
                HOLDS(next < 0 || samples[i] == (float)next);
                next = (double)samples[i] + 1;
            }
        } else {
            struct {
                uint64_t time;
                double value;
            } sample = {0, 0};
            HOLDS(header.signalId == BUS_ID && header.dataType == 96 && header.count == 1);
            GIVES(0, ZEL_XUTIL_GetDaqData(offset, block, &header, &sample, sizeof sample));
            HOLDS(sample.time == header.timeStamp);
            ++from_bus;
        }
    }
    HOLDS(header.count == 0 && offset == 0);
}

static void subscriptions(void)
{
    static char block[1 << 16];
    uint64_t size = 99;
    uint32_t handle = 0;
    GIVES(ZEL_FAILED, ZEL_XDAQ_AddSignal(module, COUNTED, COUNTED_ID, 50));
    GIVES(ZEL_FAILED, ZEL_XDAQ_FinishSubscription(module, 0));
    GIVES(NOTHING_SUBSCRIBED, ZEL_XDAQ_GetMeasValBlock(module, block, &size, sizeof block));
    HOLDS(size == 0);
    GIVES(0, ZEL_XDAQ_OpenSubscription(module));
    GIVES(0, ZEL_XDAQ_AddSignal(module, COUNTED, COUNTED_ID, 50));
    GIVES(0, ZEL_XDAQ_AddSignal(module, BUS, BUS_ID, 1));
    GIVES(0, ZEL_XDAQ_FinishSubscription(module, 0));
    GIVES(ZEL_DAQ_SUBSCRIPTION_STATE, ZEL_XDAQ_AddSignal(module, COUNTED, COUNTED_ID, 50));
    for (int fetch = 0; failures == 0 && (counted < 600 || from_bus < 20); ++fetch) {
        if (fetch % 2 == 0) {
            GIVES(0, ZEL_XDAQ_GetMeasValBlock(module, block, &size, sizeof block));
        } else {
            GIVES(0, ZEL_XDAQ_Async_GetMeasValBlock(module, block, &size, sizeof block, &handle));
            GIVES(0, ZEL_XCOM_Async_ReadData(handle));
        }
        if (size > 0)
            take(block, size);
    }
    GIVES(0, ZEL_XDAQ_ClearSubscription(module));
    GIVES(NOTHING_SUBSCRIBED, ZEL_XDAQ_GetMeasValBlock(module, block, &size, sizeof block));
    GIVES(ZEL_FAILED, ZEL_XDAQ_AddSignal(module, COUNTED, COUNTED_ID, 50));
}

static void triggers(void)
{
    char signal[200];
    char status[200];
    ZEL_TriggerEvent event = {0};
    GIVES(0, ZEL_XDAQ_GetMeasVal(module, COUNTED, &value));
    snprintf(signal, sizeof signal, "uuid=%" PRIu64 " reference=%s above=%.0f", module, COUNTED,
             value + 300);
    snprintf(status, sizeof status, "uuid=0x%" PRIx64 " status=10 connector=3 value=2", module);
    GIVES(ZEL_DAQ_TRIGGER_UNKNOWN, ZEL_XDAQ_WaitForTrigger(0, signal, &event));
    GIVES(0, ZEL_XDAQ_ActivateTrigger(signal));
    GIVES(0, ZEL_XDAQ_ActivateTrigger(status));
    GIVES(0, ZEL_XDAQ_WaitForTrigger(10000, signal, &event));
    HOLDS(event.value > value + 300 && event.status.statusId == 0);
    GIVES(ZEL_UTIL_WAIT_TIMEOUT, ZEL_XDAQ_WaitForTrigger(10, status, &event));
    GIVES(0, ZEL_XCTRL_SetLedMode(module, 3, 2));
    GIVES(0, ZEL_XDAQ_WaitForTrigger(10, status, &event));
    HOLDS(event.value == 2 && event.status.statusId == 10 && event.status.connector == 3);
    GIVES(0, ZEL_XDAQ_ClearTrigger(signal));
    GIVES(ZEL_DAQ_TRIGGER_UNKNOWN, ZEL_XDAQ_ClearTrigger(signal));
    GIVES(ZEL_SRV_INVALID_PARAMETERS, ZEL_XDAQ_ClearTrigger("status=10"));
}

int main(int argc, char** argv)
{
    if (argc != 2)
        return 2;
    GIVES(ZEL_SYS_NOT_STARTED, ZEL_XDAQ_FinishSubscription(module, 0));
    GIVES(ZEL_SYS_NOT_STARTED, ZEL_XDAQ_ClearSubscription(module));
    ZEL_Init();
    GIVES(ZEL_CONN_UNKNOWN_UUID, ZEL_XDAQ_ClearSubscription(module));
    GIVES(0, ZEL_XCOM_ConnectToTcpIpDev("127.0.0.1", (uint16_t)atoi(argv[1]), &module));
    set_up();
    lists();
    values();
    subscriptions();
    triggers();
    ZEL_Unload();
    return finish("every export does what it should");
}
