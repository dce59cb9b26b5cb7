/* A host program in C that calls every export of the signal paths: before ZEL_Init, in a started
 * library, and after ZEL_Unload. None of them asks a module. */

#include "host_check.h"
#include "ZEL_VR_Framework.h"

#include <stdio.h>
#include <string.h>

static char text[ZEL_PATH_SIZE + 1];
static uint64_t length = 0;

static void show_state(void)
{
    printf("length %llu, '%.600s'", (unsigned long long)length, text);
}

/* The byte behind the buffer must stay as it is. */
static int is_written(const char* path, uint64_t size)
{
    const size_t fits = strlen(path) < size ? strlen(path) : (size_t)size - 1;
    return length == fits && memcmp(text, path, fits) == 0 && text[fits] == '\0' &&
           text[size] == '#';
}

/* Composes into every size of buffer up to more than enough; then without a buffer or a size. The
 * arguments of the call are named buffer, size and written. */
#define COMPOSES(path, call)                                                                       \
    do {                                                                                           \
        uint64_t* written = &length;                                                               \
        char* buffer = text;                                                                       \
        uint64_t size = 1;                                                                         \
        int32_t result_ = 0;                                                                       \
        for (; size <= ZEL_PATH_SIZE; ++size) {                                                    \
            length = 999;                                                                          \
            memset(text, '#', sizeof text);                                                        \
            result_ = (call);                                                                      \
            if (hasLength == 0)                                                                    \
                length = strlen(text);                                                             \
            expect(result_ == ZEL_OK && is_written(path, size), #call, result_, __LINE__);         \
        }                                                                                          \
        size = ZEL_PATH_SIZE;                                                                      \
        expect(strcmp(text, path) == 0, #call " cut to ZEL_PATH_SIZE", result_, __LINE__);         \
        written = NULL;                                                                            \
        memset(text, '#', sizeof text);                                                            \
        result_ = (call);                                                                          \
        expect(result_ == ZEL_OK && strcmp(text, path) == 0, #call, result_, __LINE__);            \
        written = &length;                                                                         \
        length = 999;                                                                              \
        size = 0;                                                                                  \
        result_ = (call);                                                                          \
        expect(result_ == ZEL_SYS_BAD_PARAMETER && length == 999, #call, result_, __LINE__);       \
        expect(strcmp(text, path) == 0, #call " wrote", result_, __LINE__);                        \
        buffer = NULL;                                                                             \
        size = ZEL_PATH_SIZE;                                                                      \
        result_ = (call);                                                                          \
        expect(result_ == ZEL_SYS_BAD_PARAMETER && length == 999, #call, result_, __LINE__);       \
        (void)written;                                                                             \
    } while (0)

#define MAX 4294967295U
#define ANALOG "/Mode[@choice=\"AnalogInChannel\"]/AnalogInChannel"
#define CAN(channel) "/Mode[@choice=\"CanBus\"]/CanBus/CanInChannel[@address=\"" channel "\"]"
#define FIBER(channel) "/Mode[@choice=\"Fiber\"]/Fiber/FiberChannel[@address=\"" channel "\"]"

static void channels_and_sensors(void)
{
    const int hasLength = 1;
    COMPOSES("Amplifier/Connector[@address=\"2\"]" ANALOG,
             ZEL_XUTIL_ComposeChannelPath(2, 5, ZEL_CONNECTOR_ANALOG, buffer, size, written));
    COMPOSES("Amplifier/Connector[@address=\"2\"]" CAN("5"),
             ZEL_XUTIL_ComposeChannelPath(2, 5, ZEL_CONNECTOR_CAN, buffer, size, written));
    COMPOSES("AdditionalConnector/Connector[@address=\"0\"]" FIBER("0"),
             ZEL_XUTIL_ComposeChannelPath(0, 0, ZEL_CONNECTOR_FIBER, buffer, size, written));
    COMPOSES("Amplifier/Connector[@address=\"1\"]" ANALOG,
             ZEL_XUTIL_ComposeChannelPath(1, 2, MAX, buffer, size, written));
    COMPOSES("Amplifier/Connector[@address=\"1\"]" ANALOG "/Sensor",
             ZEL_XUTIL_ComposeSensorPath(1, 2, ZEL_CONNECTOR_ANALOG, buffer, size, written));
    COMPOSES("Amplifier/Connector[@address=\"1\"]" CAN("2") "/CanSensor",
             ZEL_XUTIL_ComposeSensorPath(1, 2, ZEL_CONNECTOR_CAN, buffer, size, written));
    COMPOSES(
        "AdditionalConnector/Connector[@address=\"1\"]" CAN("2") "/CanSensor",
        ZEL_XUTIL_ComposeSensorPath(1, 2, ZEL_CONNECTOR_CAN_ADDITIONAL, buffer, size, written));
    COMPOSES("AdditionalConnector/Connector[@address=\"1\"]" FIBER("2") "/Fiber",
             ZEL_XUTIL_ComposeSensorPath(1, 2, ZEL_CONNECTOR_FIBER, buffer, size, written));
    COMPOSES("", ZEL_XUTIL_ComposeSensorPath(1, 2, 0, buffer, size, written));
    COMPOSES("", ZEL_XUTIL_ComposeSensorPath(1, 2, 5, buffer, size, written));
}

static void signals_and_functions(void)
{
    int hasLength = 1;
    COMPOSES("Amplifier/Connector1" ANALOG "/SyncSignal[@address=\"3\"]",
             ZEL_XUTIL_ComposeSignalPath(1, 2, 3, ZEL_CONNECTOR_ANALOG, buffer, size, written));
    COMPOSES("Amplifier/Connector1" ANALOG "/SyncSignal[@address=\"3\"]",
             ZEL_XUTIL_ComposeSignalPath(1, 2, 3, 0, buffer, size, written));
    COMPOSES("Amplifier/Connector1" CAN("2") "/AsyncSignal",
             ZEL_XUTIL_ComposeSignalPath(1, 2, 3, ZEL_CONNECTOR_CAN, buffer, size, written));
    COMPOSES(
        "AdditionalConnector/Connector[@address=\"1\"]/Mode/CanBus/CanInChannel[@address="
        "\"2\"]/AsyncSignal",
        ZEL_XUTIL_ComposeSignalPath(1, 2, 3, ZEL_CONNECTOR_CAN_ADDITIONAL, buffer, size, written));
    COMPOSES(
        "AdditionalConnector/Connector4294967295" FIBER(
            "4294967295") "/SyncSignal[@address=\"4294967295\"]",
        ZEL_XUTIL_ComposeSignalPath(MAX, MAX, MAX, ZEL_CONNECTOR_FIBER, buffer, size, written));
    COMPOSES("AdditionalFunction/Alarm", ZEL_XUTIL_ComposeAlarmPath(buffer, size, written));
    COMPOSES("AdditionalFunction/Gate", ZEL_XUTIL_ComposeGatePath(buffer, size, written));
    COMPOSES("AdditionalFunction/Peak", ZEL_XUTIL_ComposePeakPath(buffer, size, written));
    COMPOSES("AdditionalFunction/Math/MathIndex[@address=\"7\"]",
             ZEL_XUTIL_ComposeMathIndexPath(buffer, size, written, 7));
    COMPOSES("AdditionalFunction/Peak/PeakIndex[@address=\"4294967295\"]",
             ZEL_XUTIL_ComposePeakIndexPath(buffer, size, written, MAX));
    hasLength = 0;
    COMPOSES("/Amplifier/Connector3/Mode/AnalogInChannel",
             ZEL_XUTIL_ComposeAmplifierPath(3, buffer, size));
}

static void parses(const char* path, int32_t expected, uint32_t connector, uint32_t channel,
                   uint32_t signal, uint32_t type, int line)
{
    uint32_t found[4] = {77, 77, 77, 77};
    const int32_t result =
        ZEL_XUTIL_ParseSignalPath(path, 99, &found[0], &found[1], &found[2], &found[3]);
    expect(result == expected && found[0] == connector && found[1] == channel &&
               found[2] == signal && found[3] == type,
           path == NULL ? "no path" : path, result, line);
}

static void parsed_paths(void)
{
    uint32_t cell = 77;
    parses("Amplifier/Connector1" ANALOG "/SyncSignal[@address=\"3\"]", ZEL_OK, 2, 1, 4,
           ZEL_CONNECTOR_ANALOG, __LINE__);
    parses("Amplifier/Connector[@address=\"1\"]" CAN("2") "/AsyncSignal", ZEL_OK, 2, 3, 1,
           ZEL_CONNECTOR_CAN, __LINE__);
    parses("AnalogIn_Connector0.Signal0", ZEL_OK, 1, 1, 1, ZEL_CONNECTOR_ANALOG, __LINE__);
    parses("CanReceiver_Connector2.Decoder3.Signal4", ZEL_OK, 3, 4, 1, ZEL_CONNECTOR_CAN_ADDITIONAL,
           __LINE__);
    parses("AdditionalConnector/Connector1" FIBER("2") "/SyncSignal[@address=\"3\"]", ZEL_FAILED, 0,
           0, 0, 0, __LINE__);
    parses("", ZEL_FAILED, 0, 0, 0, 0, __LINE__);
    parses("\xFF\xFE_Connector\x80", ZEL_FAILED, 0, 0, 0, 0, __LINE__);
    parses(NULL, ZEL_SYS_BAD_PARAMETER, 77, 77, 77, 77, __LINE__);
    for (int missing = 0; missing < 4; ++missing) {
        uint32_t* cells[4] = {&cell, &cell, &cell, &cell};
        cells[missing] = NULL;
        const int32_t result = ZEL_XUTIL_ParseSignalPath("AnalogIn_Connector0.Signal0", 0, cells[0],
                                                         cells[1], cells[2], cells[3]);
        expect(result == ZEL_SYS_BAD_PARAMETER && cell == 77, "a missing cell", result, __LINE__);
    }
}

static void every_export(void)
{
    channels_and_sensors();
    signals_and_functions();
    parsed_paths();
}

int main(void)
{
    every_export();
    const int32_t started = ZEL_Init();
    expect(started == 1, "ZEL_Init", started, __LINE__);
    every_export();
    ZEL_Unload();
    every_export();
    return finish("every path is as it should be");
}
