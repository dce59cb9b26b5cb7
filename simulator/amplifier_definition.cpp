#include "parameter_definition.h"

#include <utility>

namespace zel::simulator {

namespace {

using Definition = ParameterDefinition;
using Kind = ParameterDefinition::Kind;
using Children = std::vector<ParameterDefinition>;
using Texts = std::vector<std::string>;

Definition group(std::string name, Children children)
{
    Definition definition;
    definition.name = std::move(name);
    definition.children = std::move(children);
    return definition;
}

Definition addressed(std::string name, unsigned first, unsigned count, Children children)
{
    Definition definition = group(std::move(name), std::move(children));
    definition.isAddressed = true;
    definition.firstAddress = first;
    definition.count = count;
    return definition;
}

Definition alternative(std::string name, Texts initials, Children children)
{
    Definition definition = group(std::move(name), std::move(children));
    definition.kind = Kind::alternative;
    definition.initials = std::move(initials);
    for (const Definition& child : definition.children)
        definition.choices.push_back(child.name);
    return definition;
}

Definition value(std::string name, Kind kind, std::string initial)
{
    Definition definition;
    definition.name = std::move(name);
    definition.kind = kind;
    definition.initials = {std::move(initial)};
    return definition;
}

Definition text(std::string name, std::string initial, std::size_t longest = 64)
{
    Definition definition = value(std::move(name), Kind::text, std::move(initial));
    definition.longest = longest;
    return definition;
}

Definition real(std::string name, std::string initial, double minimum, double maximum)
{
    Definition definition = value(std::move(name), Kind::real, std::move(initial));
    definition.minimum = minimum;
    definition.maximum = maximum;
    return definition;
}

Definition integer(std::string name, std::string initial, double minimum, double maximum)
{
    Definition definition = real(std::move(name), std::move(initial), minimum, maximum);
    definition.kind = Kind::integer;
    return definition;
}

Definition choice(std::string name, std::string initial, Texts choices)
{
    Definition definition = value(std::move(name), Kind::enumeration, std::move(initial));
    definition.choices = std::move(choices);
    return definition;
}

Definition onOff(std::string name, std::string initial)
{
    return choice(std::move(name), std::move(initial), {"Off", "On"});
}

Definition readOnly(Definition definition)
{
    definition.isReadOnly = true;
    return definition;
}

Definition analogSensor()
{
    return group(
        "Sensor",
        {text("Name", "Sensor #"),
         choice("Type", "StrainGauge",
                {"StrainGauge", "Voltage", "Current", "Resistance", "Potentiometer", "Pt100",
                 "Pt1000", "ThermocoupleK", "Iepe"}),
         choice("Bridge", "FullBridge",
                {"None", "FullBridge", "HalfBridge", "QuarterBridge120", "QuarterBridge350"}),
         choice("Excitation", "5.0", {"1.0", "2.5", "5.0", "10.0"}), real("Range", "2.0", 0.1, 500),
         text("RangeUnit", "mV/V", 16), real("Sensitivity", "2.0", 0.001, 1000),
         text("Unit", "N", 16), real("PhysicalMinimum", "-10000", -1e9, 1e9),
         real("PhysicalMaximum", "10000", -1e9, 1e9), text("SerialNumber", "", 32),
         text("CalibrationDate", "2024-03-01", 10), onOff("UseTeds", "On")});
}

/// What the simulated quantity does, and the form of the signal's records.
void addSimulation(Children& signal)
{
    signal.push_back(choice("RecordKind", "1", {"1", "2"}));
    signal.push_back(
        choice("Waveform", "Sine", {"Sine", "Ramp", "Square", "Noise", "Counter", "Sensor"}));
    signal.push_back(real("Frequency", "10.0", 0.001, 500000));
    signal.push_back(real("Amplitude", "100.0", 0, 1e9));
}

Definition syncSignal()
{
    Children children{
        text("Name", "Signal #"),
        onOff("Active", "On"),
        text("Unit", "N", 16),
        choice("DataType", "Float32", {"Float32", "Float64", "Int32", "Int64"}),
        choice("SampleRate", "1200",
               {"50", "100", "300", "600", "1000", "1200", "2000", "2400", "4800", "5000", "9600",
                "10000", "19200", "20000", "50000", "100000", "200000", "500000", "1000000"}),
        real("Factor", "1.0", -1e6, 1e6),
        real("Offset", "0.0", -1e9, 1e9)};
    addSimulation(children);
    return addressed("SyncSignal", 1, 4, std::move(children));
}

/// Messages of a bus come one `Cycle`, in milliseconds, after the other, give or take.
Definition asyncSignal()
{
    Children children{
        text("Name", "Can #"), text("Unit", "", 16), onOff("Active", "On"),
        choice("DataType", "Float64", {"Int32", "Int64", "Float32", "Float64", "UInt32", "UInt64"}),
        real("Cycle", "10.0", 0.01, 10000)};
    addSimulation(children);
    return group("AsyncSignal", std::move(children));
}

Definition analogInChannel()
{
    return group(
        "AnalogInChannel",
        {text("Name", "Channel #"), onOff("Active", "On"), analogSensor(),
         group("Filter", {choice("Characteristic", "Bessel", {"Off", "Bessel", "Butterworth"}),
                          real("Frequency", "100.0", 0.05, 4000), integer("Order", "4", 1, 8)}),
         real("ZeroOffset", "0.0", -1e9, 1e9), syncSignal()});
}

Definition canBus()
{
    const Definition sensor = group(
        "CanSensor",
        {text("Name", "Message #"), value("Identifier", Kind::hexadecimal, "0x100"),
         choice("IdentifierFormat", "Standard", {"Standard", "Extended"}),
         integer("StartBit", "0", 0, 63), integer("Length", "16", 1, 64),
         choice("ByteOrder", "Intel", {"Intel", "Motorola"}),
         choice("ValueType", "Signed", {"Signed", "Unsigned", "Float32", "Float64"}),
         real("Factor", "1.0", -1e6, 1e6), real("Offset", "0.0", -1e9, 1e9), text("Unit", "", 16)});
    return group("CanBus", {choice("BaudRate", "500000", {"125000", "250000", "500000", "1000000"}),
                            real("SamplePoint", "80.0", 50, 90), onOff("Termination", "On"),
                            addressed("CanInChannel", 1, 8,
                                      {text("Name", "Decoder #"), onOff("Active", "Off"), sensor,
                                       asyncSignal()})});
}

Definition fiber()
{
    return group("Fiber", {choice("Scan", "1000", {"10", "100", "1000"}),
                           addressed("FiberChannel", 1, 4,
                                     {text("Name", "Fiber #"), onOff("Active", "On"),
                                      group("Fiber", {real("Wavelength", "1550.0", 1500, 1600),
                                                      real("Sensitivity", "0.78", 0.01, 10)}),
                                      syncSignal()})});
}

Definition additionalFunction()
{
    const auto source = [] { return text("Source", "AnalogIn_Connector0.Signal0", 128); };
    return group(
        "AdditionalFunction",
        {group("Alarm",
               {addressed("AlarmIndex", 1, 8,
                          {text("Name", "Alarm #"), onOff("Active", "Off"), source(),
                           choice("Direction", "Above", {"Above", "Below"}),
                           real("Level", "0.0", -1e9, 1e9), real("Hysteresis", "0.0", 0, 1e9)})}),
         group("Gate",
               {addressed("GateIndex", 1, 4,
                          {text("Name", "Gate #"), onOff("Active", "Off"), source(),
                           real("Low", "0.0", -1e9, 1e9), real("High", "1.0", -1e9, 1e9)})}),
         group("Peak",
               {addressed("PeakIndex", 1, 4,
                          {text("Name", "Peak #"), onOff("Active", "Off"), source(),
                           choice("Type", "Maximum", {"Minimum", "Maximum", "PeakPeak"})})}),
         group("Math",
               {addressed("MathIndex", 1, 8,
                          {text("Name", "Math #"), onOff("Active", "Off"),
                           choice("Operation", "Add", {"Add", "Multiply", "Rms", "Integral"}),
                           source(), text("SecondSource", "", 128),
                           real("Factor", "1.0", -1e6, 1e6)})})});
}

Definition communication()
{
    return group(
        "Communication",
        {group("Network",
               {group("eth0", {onOff("Dhcp", "Off"), value("IpAdr", Kind::ipAddress, "192.168.0.2"),
                               value("SubMask", Kind::ipAddress, "255.255.255.0"),
                               value("Gateway", Kind::ipAddress, "0.0.0.0"),
                               readOnly(text("PhyAdr", "00:09:e5:00:00:01", 17)),
                               readOnly(integer("TcpPort", "55000", 0, 65535))})}),
         group("Time", {choice("Source", "Internal", {"Internal", "Ntp", "Ptp"}),
                        value("Server", Kind::ipAddress, "0.0.0.0")})});
}

Definition system()
{
    return group("System", {text("Name", "MOD-1", 128), text("Location", "", 128),
                            readOnly(text("SerialNumber", "")), readOnly(text("ModuleType", "")),
                            readOnly(text("FirmwareVersion", "")), readOnly(text("Uuid", "")),
                            choice("Language", "English", {"English", "German"})});
}

} // namespace

ParameterDefinition amplifierDefinition()
{
    return group(
        "GenPar",
        {group("Amplifier", {real("Range", "10.0", 0.1, 100),
                             addressed("Connector", 1, 8,
                                       {text("Name", "Connector #"),
                                        alternative("Mode", {"AnalogInChannel"},
                                                    {analogInChannel(), canBus()})})}),
         group("AdditionalConnector",
               {addressed("Connector", 9, 2,
                          {text("Name", "Additional #"),
                           alternative("Mode", {"CanBus", "Fiber"}, {canBus(), fiber()})})}),
         additionalFunction(), communication(), system()});
}

} // namespace zel::simulator
