/* A host program in C that calls every export of the sensor, signal and gate documents, the error
 * replies, the units and the texts. All of them work without a started library. */

#include "host_check.h"
#include "ZEL_VR_Framework.h"

#include <math.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>

static char text[4096];
static uint64_t length = 0;

static void show_state(void)
{
    printf("length %llu, '%.600s'", (unsigned long long)length, text);
}

#define HEAD "<?xml version=\"1.0\"?>"
#define CONTAINS(part) HOLDS(strstr(text, part) != NULL)

/* The record goes out, comes back byte by byte, and does not go into a buffer one byte too small.
 */
#define ROUND_TRIP(compose, parse, Record, record)                                                 \
    do {                                                                                           \
        Record back_;                                                                              \
        memset(&back_, 0x55, sizeof back_);                                                        \
        GIVES(ZEL_OK, compose(&(record), text, &length, sizeof text));                             \
        HOLDS(strlen(text) == length);                                                             \
        GIVES(ZEL_OK, parse(text, &back_));                                                        \
        HOLDS(memcmp(&back_, &(record), sizeof back_) == 0);                                       \
        const uint64_t whole_ = length;                                                            \
        GIVES(ZEL_SRV_BUFFER_TOO_SMALL, compose(&(record), text, &length, whole_));                \
        HOLDS(length == whole_ && text[0] == '\0');                                                \
        GIVES(ZEL_OK, compose(&(record), text, &length, whole_ + 1));                              \
        GIVES(ZEL_SYS_BAD_PARAMETER, compose(NULL, text, &length, 9));                             \
        GIVES(ZEL_SYS_BAD_PARAMETER, compose(&(record), NULL, &length, 9));                        \
        GIVES(ZEL_SYS_BAD_PARAMETER, compose(&(record), text, NULL, 9));                           \
        GIVES(ZEL_SYS_BAD_PARAMETER, compose(&(record), text, &length, 0));                        \
        GIVES(ZEL_SYS_BAD_PARAMETER, parse(NULL, &back_));                                         \
        GIVES(ZEL_SYS_BAD_PARAMETER, parse(text, NULL));                                           \
        GIVES(ZEL_PARAM_XML_ERROR, parse("<Other/>", &back_));                                     \
        HOLDS(back_.name[0] == '\0');                                                              \
    } while (0)

static void sensors(void)
{
    ZEL_Sensor sensor = {.name = "Kraft & \"Weg\" <1>\r\n\t\xC2\xB5",
                         .manufacturer = "  ",
                         .serialNumber = "0123456789012345678901234567890",
                         .calibrationDate = "2024-05-31",
                         .physicalUnit = 1901,
                         .electricalUnit = 1001,
                         .physicalRange = {-20.1, 1.0 / 3},
                         .electricalRange = {-2, 5e-324},
                         .excitationVoltage = -0.0,
                         .resistance = 1.7976931348623157e308};
    ROUND_TRIP(ZEL_XUTIL_ComposeSensor, ZEL_XUTIL_ParseSensor, ZEL_Sensor, sensor);
    CONTAINS(HEAD "<Sensor><Name>Kraft &amp;");
    CONTAINS("<PhysicalUnit>kN</PhysicalUnit><ElectricalUnit>mV/V</ElectricalUnit>"
             "<PhysicalRange><Minimum>-20.1</Minimum><Maximum>0.3333333333333333</Maximum>");
    sensor.electricalUnit = 0;
    ROUND_TRIP(ZEL_XUTIL_ComposeSensor, ZEL_XUTIL_ParseSensor, ZEL_Sensor, sensor);
    HOLDS(strstr(text, "ElectricalUnit") == NULL);
    sensor.electricalUnit = 99;
    GIVES(ZEL_UNIT_NOT_FOUND, ZEL_XUTIL_ComposeSensor(&sensor, text, &length, sizeof text));
    HOLDS(length == 0 && text[0] == '\0');
    sensor.electricalUnit = 0;
    sensor.physicalRange.maximum = NAN;
    GIVES(ZEL_SRV_INVALID_PARAMETERS, ZEL_XUTIL_ComposeSensor(&sensor, text, &length, 4096));
    sensor.physicalRange.maximum = 1;
    strcpy(sensor.model, "\x1B");
    GIVES(ZEL_SRV_INVALID_PARAMETERS, ZEL_XUTIL_ComposeSensor(&sensor, text, &length, 4096));
    strcpy(sensor.model, "\xE4");
    GIVES(ZEL_SRV_INVALID_PARAMETERS, ZEL_XUTIL_ComposeSensor(&sensor, text, &length, 4096));
    GIVES(ZEL_SRV_INVALID_PARAMETERS,
          ZEL_XUTIL_ParseSensor("<Sensor><Model>&#27;</Model></Sensor>", &sensor));
    memset(sensor.model, 'm', sizeof sensor.model);
    GIVES(ZEL_SRV_INVALID_PARAMETERS, ZEL_XUTIL_ComposeSensor(&sensor, text, &length, 4096));

    GIVES(ZEL_OK, ZEL_XUTIL_ParseSensor("<Sensor><New/><Name>a<!-- x --><![CDATA[<b>]]></Name>"
                                        "<Resistance> 0x15E </Resistance></Sensor>",
                                        &sensor));
    HOLDS(sensor.resistance == 350 && strcmp(sensor.name, "a<b>") == 0 && sensor.model[0] == '\0' &&
          sensor.physicalUnit == 0);
    GIVES(ZEL_UTIL_STRING_CONVERSION,
          ZEL_XUTIL_ParseSensor("<Sensor><Resistance>inf</Resistance></Sensor>", &sensor));
    HOLDS(sensor.resistance == 0);
    GIVES(ZEL_UNIT_NOT_FOUND,
          ZEL_XUTIL_ParseSensor("<Sensor><PhysicalUnit>KN</PhysicalUnit></Sensor>", &sensor));
    GIVES(ZEL_SRV_INVALID_PARAMETERS,
          ZEL_XUTIL_ParseSensor("<Sensor><CalibrationDate>0123456789abcdef</CalibrationDate>"
                                "</Sensor>",
                                &sensor));
}

static void can_sensors(void)
{
    const ZEL_CanSensor good = {.name = "Speed",
                                .identifier = 0x1FFFFFFF,
                                .frameFormat = ZEL_CAN_FRAME_EXTENDED,
                                .startBit = 32,
                                .bitLength = 32,
                                .byteOrder = ZEL_CAN_BIG_ENDIAN,
                                .dataType = ZEL_CAN_REAL32,
                                .modeLength = 64,
                                .modeValue = UINT64_MAX,
                                .physicalUnit = 2401,
                                .factor = 0.01,
                                .physicalRange = {0, 250}};
    static const struct {
        size_t field;
        uint32_t value;
        int32_t result;
    } bad[] = {
        {offsetof(ZEL_CanSensor, identifier), 0x20000000, ZEL_CAN_IDENTIFIER},
        {offsetof(ZEL_CanSensor, frameFormat), ZEL_CAN_FRAME_STANDARD, ZEL_CAN_IDENTIFIER},
        {offsetof(ZEL_CanSensor, frameFormat), 2, ZEL_SRV_INVALID_PARAMETERS},
        {offsetof(ZEL_CanSensor, startBit), 64, ZEL_CAN_START_BIT},
        {offsetof(ZEL_CanSensor, startBit), 33, ZEL_CAN_SIGNAL_BITS},
        {offsetof(ZEL_CanSensor, bitLength), 0, ZEL_CAN_LENGTH},
        {offsetof(ZEL_CanSensor, bitLength), 65, ZEL_CAN_LENGTH},
        {offsetof(ZEL_CanSensor, bitLength), 31, ZEL_CAN_REAL32_LENGTH},
        {offsetof(ZEL_CanSensor, byteOrder), 2, ZEL_SRV_INVALID_PARAMETERS},
        {offsetof(ZEL_CanSensor, dataType), ZEL_CAN_REAL64, ZEL_CAN_REAL64_LENGTH},
        {offsetof(ZEL_CanSensor, dataType), 4, ZEL_SRV_INVALID_PARAMETERS},
        {offsetof(ZEL_CanSensor, modeStartBit), 64, ZEL_CAN_MODE_START_BIT},
        {offsetof(ZEL_CanSensor, modeStartBit), 1, ZEL_CAN_MODE_BITS},
        {offsetof(ZEL_CanSensor, modeLength), 65, ZEL_CAN_MODE_LENGTH},
        {offsetof(ZEL_CanSensor, modeLength), 63, ZEL_SRV_INVALID_PARAMETERS},
    };
    ROUND_TRIP(ZEL_XUTIL_ComposeCanSensor, ZEL_XUTIL_ParseCanSensor, ZEL_CanSensor, good);
    CONTAINS("<Identifier>0x1fffffff</Identifier><FrameFormat>Extended</FrameFormat>");
    CONTAINS("<ByteOrder>BigEndian</ByteOrder><DataType>Real32</DataType>");
    CONTAINS("<ModeValue>18446744073709551615</ModeValue><PhysicalUnit>km/h</PhysicalUnit>");
    for (size_t i = 0; i < sizeof bad / sizeof *bad; ++i) {
        ZEL_CanSensor sensor = good;
        memcpy((char*)&sensor + bad[i].field, &bad[i].value, sizeof bad[i].value);
        const int32_t result = ZEL_XUTIL_ComposeCanSensor(&sensor, text, &length, sizeof text);
        expect(result == bad[i].result, "a bad CAN sensor", result, (int)i);
    }
    ZEL_CanSensor sensor;
    GIVES(ZEL_CAN_LENGTH, ZEL_XUTIL_ParseCanSensor("<CanSensor/>", &sensor));
    GIVES(ZEL_SRV_INVALID_PARAMETERS,
          ZEL_XUTIL_ParseCanSensor("<CanSensor><DataType>2</DataType></CanSensor>", &sensor));
}

static void signals_and_gates(void)
{
    ZEL_Signal signal = {.name = "",
                         .connector = 2,
                         .signal = 3,
                         .active = 1,
                         .unit = 1901,
                         .sampleRate = 19200,
                         .filterFrequency = 0.1,
                         .range = {-1, 1}};
    ROUND_TRIP(ZEL_XUTIL_ComposeSignal, ZEL_XUTIL_ParseSignal, ZEL_Signal, signal);
    CONTAINS("<SyncSignal address=\"3\"><Name></Name><Connector>2</Connector><Active>1</Active>");
    signal.active = -1;
    GIVES(ZEL_SRV_INVALID_PARAMETERS, ZEL_XUTIL_ComposeSignal(&signal, text, &length, 4096));
    GIVES(ZEL_UTIL_STRING_CONVERSION,
          ZEL_XUTIL_ParseSignal("<SyncSignal address='4294967296'/>", &signal));

    const ZEL_CanSignal can = {
        .name = "Speed", .connector = 9, .channel = 4294967295, .unit = 2401, .timeoutMs = 500};
    ROUND_TRIP(ZEL_XUTIL_ComposeCanSignal, ZEL_XUTIL_ParseCanSignal, ZEL_CanSignal, can);
    CONTAINS("<AsyncSignal address=\"4294967295\">");
    CONTAINS("<TimeoutMs>500</TimeoutMs>");

    const ZEL_GateIndex gate = {.index = 1,
                                .active = 1,
                                .mode = ZEL_GATE_OUTSIDE,
                                .unit = 701,
                                .name = "Hot",
                                .source = "AnalogIn_Connector0.Signal0",
                                .bounds = {-40, 85}};
    ROUND_TRIP(ZEL_XUTIL_ComposeGateIndex, ZEL_XUTIL_ParseGateIndex, ZEL_GateIndex, gate);
    CONTAINS("<Mode>Outside</Mode><Unit>\xC2\xB0"
             "C</Unit>");
}

static void error_replies(void)
{
    static const char reply[] = "<Reply><Message Type=\"Error\">Out of range</Message>"
                                "<Message><Type>Warning</Type>Rounded</Message></Reply>";
    ZEL_ReplyMessage messages[2];
    uint64_t count = 9;
    GIVES(ZEL_OK, ZEL_XUTIL_ParseErrors(reply, messages, &count, 2));
    HOLDS(count == 2 && strcmp(messages[0].type, "Error") == 0 &&
          strcmp(messages[0].text, "Out of range") == 0 &&
          strcmp(messages[1].type, "Warning") == 0 && strcmp(messages[1].text, "Rounded") == 0);
    messages[1].type[0] = '#';
    GIVES(ZEL_SRV_BUFFER_TOO_SMALL, ZEL_XUTIL_ParseErrors(reply, messages, &count, 1));
    HOLDS(count == 2 && messages[1].type[0] == '#');
    GIVES(ZEL_OK, ZEL_XUTIL_ParseErrors("<Reply/>", messages, &count, 1));
    HOLDS(count == 0);
    GIVES(ZEL_PARAM_XML_ERROR, ZEL_XUTIL_ParseErrors("<SrvParams/>", messages, &count, 1));
    HOLDS(strcmp(ZEL_XUTIL_GetLastXmlError(),
                 "The root is \"SrvParams\" instead of \"Reply\" at byte 1") == 0);
    GIVES(ZEL_PARAM_XML_ERROR, ZEL_XUTIL_ParseErrors("<Reply><a></b>", messages, &count, 1));
    HOLDS(strstr(ZEL_XUTIL_GetLastXmlError(), " at byte 1") != NULL);
    GIVES(ZEL_SYS_BAD_PARAMETER, ZEL_XUTIL_ParseErrors(NULL, messages, &count, 1));
    GIVES(ZEL_SYS_BAD_PARAMETER, ZEL_XUTIL_ParseErrors(reply, messages, NULL, 1));

    /* Cut before a character that does not fit whole. */
    memset(text, 0, sizeof text);
    strcpy(text, "<Reply><Message>");
    memset(text + strlen(text), 'x', 254);
    strcat(text, "\xC2\xB5m</Message></Reply>");
    GIVES(ZEL_OK, ZEL_XUTIL_ParseErrors(text, messages, &count, 1));
    HOLDS(strlen(messages[0].text) == 254);
}

static void units(void)
{
    static const struct {
        const char* name;
        int32_t code;
    } names[] = {
        {"mV/V", 1001},       {"mm", 302},          {"MM", -106000},
        {"", -106000},        {"&#181;m", 301},     {"&#xB5;m", 301},
        {"&#xb5m", -106000},  {"&#181m", -106000},  {"&#181", -106000},
        {"&#", -106000},      {"&amp;", -106000},   {"&#x;m", -106000},
        {"mm&#178;", 5006},   {"mm/s&#178;", 2502}, {"&#99999999999999;m", -106000},
        {"N/mm&#xB2?", 2008},
    };
    for (size_t i = 0; i < sizeof names / sizeof *names; ++i) {
        const int32_t code = ZEL_XUTIL_GetUnitCodeFromName(names[i].name);
        expect(code == names[i].code, names[i].name, code, (int)i);
    }
    GIVES(ZEL_SYS_BAD_PARAMETER, ZEL_XUTIL_GetUnitCodeFromName(NULL));
    HOLDS(strcmp(ZEL_XUTIL_GetUnitNameFromCode(100000), "UserDefined") == 0);
    const char* const name = ZEL_XUTIL_GetUnitNameFromCode(301);
    HOLDS(strcmp(name, "\xC2\xB5m") == 0);
    HOLDS(strcmp(ZEL_XUTIL_GetUnitNameFromCode(99), "") == 0 && name[0] == '\0');
}

static void texts(void)
{
    HOLDS(strcmp(ZEL_XUTIL_GetText(ZEL_SYS_NOT_STARTED), "ERR_SYS_FRAMEWORK_START") == 0);
    HOLDS(strchr(ZEL_XUTIL_GetDllVersion(), '.') != NULL);
    GIVES(ZEL_OK, ZEL_XUTIL_SetWorkDir(NULL));
    HOLDS(strcmp(ZEL_XUTIL_GetLastXmlError(), "") == 0);
}

int main(void)
{
    texts();
    sensors();
    can_sensors();
    signals_and_gates();
    error_replies();
    units();
    return finish("every document and unit is as it should be");
}
