#include "record_fields.h"

#include "ZEL_VR_Framework.h"

namespace zel {

namespace {

using enum FieldKind;

// One line each, in the record's order, which is the document's too.
#define ZEL_FIELD(Record, name, member, kind)                                                      \
    {                                                                                              \
        name, kind, offsetof(Record, member)                                                       \
    }
#define ZEL_TEXT(Record, name, member)                                                             \
    {                                                                                              \
        name, text, offsetof(Record, member), sizeof(Record::member)                               \
    }
#define ZEL_CHOICE(Record, name, member, words)                                                    \
    {                                                                                              \
        name, choice, offsetof(Record, member), 0, words                                           \
    }

constexpr const char* kFlagWords[] = {"0", "1"};
constexpr const char* kFrameFormatWords[] = {"Standard", "Extended"};
constexpr const char* kByteOrderWords[] = {"LittleEndian", "BigEndian"};
constexpr const char* kDataTypeWords[] = {"Unsigned", "Signed", "Real32", "Real64"};
constexpr const char* kGateModeWords[] = {"Inside", "Outside"};

constexpr RecordField kSensorFields[] = {
    ZEL_TEXT(ZEL_Sensor, "Name", name),
    ZEL_TEXT(ZEL_Sensor, "Manufacturer", manufacturer),
    ZEL_TEXT(ZEL_Sensor, "Model", model),
    ZEL_TEXT(ZEL_Sensor, "SerialNumber", serialNumber),
    ZEL_TEXT(ZEL_Sensor, "CalibrationDate", calibrationDate),
    ZEL_TEXT(ZEL_Sensor, "Comment", comment),
    ZEL_FIELD(ZEL_Sensor, "PhysicalUnit", physicalUnit, unit),
    ZEL_FIELD(ZEL_Sensor, "ElectricalUnit", electricalUnit, unit),
    ZEL_FIELD(ZEL_Sensor, "PhysicalRange", physicalRange, range),
    ZEL_FIELD(ZEL_Sensor, "ElectricalRange", electricalRange, range),
    ZEL_FIELD(ZEL_Sensor, "ExcitationVoltage", excitationVoltage, real),
    ZEL_FIELD(ZEL_Sensor, "Resistance", resistance, real),
};

constexpr RecordField kCanSensorFields[] = {
    ZEL_TEXT(ZEL_CanSensor, "Name", name),
    ZEL_TEXT(ZEL_CanSensor, "Comment", comment),
    ZEL_FIELD(ZEL_CanSensor, "Identifier", identifier, hexadecimal),
    ZEL_CHOICE(ZEL_CanSensor, "FrameFormat", frameFormat, kFrameFormatWords),
    ZEL_FIELD(ZEL_CanSensor, "StartBit", startBit, number),
    ZEL_FIELD(ZEL_CanSensor, "BitLength", bitLength, number),
    ZEL_CHOICE(ZEL_CanSensor, "ByteOrder", byteOrder, kByteOrderWords),
    ZEL_CHOICE(ZEL_CanSensor, "DataType", dataType, kDataTypeWords),
    ZEL_FIELD(ZEL_CanSensor, "ModeStartBit", modeStartBit, number),
    ZEL_FIELD(ZEL_CanSensor, "ModeLength", modeLength, number),
    ZEL_FIELD(ZEL_CanSensor, "ModeValue", modeValue, number64),
    ZEL_FIELD(ZEL_CanSensor, "PhysicalUnit", physicalUnit, unit),
    ZEL_FIELD(ZEL_CanSensor, "Factor", factor, real),
    ZEL_FIELD(ZEL_CanSensor, "Offset", offset, real),
    ZEL_FIELD(ZEL_CanSensor, "PhysicalRange", physicalRange, range),
};

constexpr RecordField kSignalFields[] = {
    ZEL_TEXT(ZEL_Signal, "Name", name),
    ZEL_FIELD(ZEL_Signal, "Connector", connector, number),
    ZEL_FIELD(ZEL_Signal, "address", signal, address),
    ZEL_CHOICE(ZEL_Signal, "Active", active, kFlagWords),
    ZEL_FIELD(ZEL_Signal, "Unit", unit, FieldKind::unit),
    ZEL_FIELD(ZEL_Signal, "SampleRate", sampleRate, real),
    ZEL_FIELD(ZEL_Signal, "FilterFrequency", filterFrequency, real),
    ZEL_FIELD(ZEL_Signal, "Range", range, FieldKind::range),
};

constexpr RecordField kCanSignalFields[] = {
    ZEL_TEXT(ZEL_CanSignal, "Name", name),
    ZEL_FIELD(ZEL_CanSignal, "Connector", connector, number),
    ZEL_FIELD(ZEL_CanSignal, "address", channel, address),
    ZEL_CHOICE(ZEL_CanSignal, "Active", active, kFlagWords),
    ZEL_FIELD(ZEL_CanSignal, "Unit", unit, FieldKind::unit),
    ZEL_FIELD(ZEL_CanSignal, "TimeoutMs", timeoutMs, number),
    ZEL_FIELD(ZEL_CanSignal, "Range", range, FieldKind::range),
};

constexpr RecordField kGateIndexFields[] = {
    ZEL_FIELD(ZEL_GateIndex, "address", index, address),
    ZEL_CHOICE(ZEL_GateIndex, "Active", active, kFlagWords),
    ZEL_CHOICE(ZEL_GateIndex, "Mode", mode, kGateModeWords),
    ZEL_FIELD(ZEL_GateIndex, "Unit", unit, FieldKind::unit),
    ZEL_TEXT(ZEL_GateIndex, "Name", name),
    ZEL_TEXT(ZEL_GateIndex, "Source", source),
    ZEL_FIELD(ZEL_GateIndex, "Bounds", bounds, range),
};

#undef ZEL_FIELD
#undef ZEL_TEXT
#undef ZEL_CHOICE

constexpr std::uint32_t kFrameBits = 64;

std::int32_t checkBits(const ZEL_CanSensor& sensor)
{
    if (sensor.startBit >= kFrameBits)
        return ZEL_CAN_START_BIT;
    if (sensor.bitLength == 0 || sensor.bitLength > kFrameBits)
        return ZEL_CAN_LENGTH;
    if (sensor.startBit + sensor.bitLength > kFrameBits)
        return ZEL_CAN_SIGNAL_BITS;
    if (sensor.dataType == ZEL_CAN_REAL32 && sensor.bitLength != 32)
        return ZEL_CAN_REAL32_LENGTH;
    if (sensor.dataType == ZEL_CAN_REAL64 && sensor.bitLength != 64)
        return ZEL_CAN_REAL64_LENGTH;
    return ZEL_OK;
}

std::int32_t checkMode(const ZEL_CanSensor& sensor)
{
    if (sensor.modeStartBit >= kFrameBits)
        return ZEL_CAN_MODE_START_BIT;
    if (sensor.modeLength > kFrameBits)
        return ZEL_CAN_MODE_LENGTH;
    if (sensor.modeStartBit + sensor.modeLength > kFrameBits)
        return ZEL_CAN_MODE_BITS;
    const bool fits = sensor.modeLength == kFrameBits || sensor.modeValue >> sensor.modeLength == 0;
    return fits ? ZEL_OK : ZEL_SRV_INVALID_PARAMETERS;
}

std::int32_t checkCanSensor(const void* record)
{
    const auto& sensor = *static_cast<const ZEL_CanSensor*>(record);
    const unsigned identifierBits = sensor.frameFormat == ZEL_CAN_FRAME_EXTENDED ? 29 : 11;
    if (sensor.identifier >> identifierBits != 0)
        return ZEL_CAN_IDENTIFIER;
    const std::int32_t result = checkBits(sensor);
    return result == ZEL_OK ? checkMode(sensor) : result;
}

} // namespace

const RecordLayout kSensorLayout{"Sensor", sizeof(ZEL_Sensor), kSensorFields};
const RecordLayout kCanSensorLayout{"CanSensor", sizeof(ZEL_CanSensor), kCanSensorFields,
                                    checkCanSensor};
const RecordLayout kSignalLayout{"SyncSignal", sizeof(ZEL_Signal), kSignalFields};
const RecordLayout kCanSignalLayout{"AsyncSignal", sizeof(ZEL_CanSignal), kCanSignalFields};
const RecordLayout kGateIndexLayout{"GateIndex", sizeof(ZEL_GateIndex), kGateIndexFields};

} // namespace zel
