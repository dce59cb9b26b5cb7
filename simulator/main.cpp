#include "number_forms.h"
#include "simulation_script.h"
#include "simulator.h"

#include <csignal>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace {

using namespace zel::simulator;

struct Options {
    unsigned modules = 1;
    ModuleSettings settings;
    std::string uuid = "0x0000001234ab0001";
    std::string name = "MOD-";
    std::vector<std::string> faults;
    std::string script;
    bool json = false;
};

constexpr const char* kExamples = R"(
Examples:
  zel-sim
      one module on 127.0.0.1, port 55000; connect with 'zel get 127.0.0.1 System/Name'
  zel-sim --modules 3 --port 0
      three modules on free ports; the lines that it prints tell which
  zel-sim --fault delay:1/10:800ms --fault wrong-trailer:6/23:x1
      answers to parameter reads come late, and the next text has a bad trailer
  zel-sim --fault silence:address:x2
      the first two connects find a module that accepts and says nothing
  zel-sim --free-running
      blocks of measured values come back full, however fast a host fetches
  zel-sim --script bench.json
      modules, parameters, faults and scripted answers from a file

A fault is a kind and what narrows it down, joined by colons: a method as
service/method or 'address' (the exchange after connecting), xN for N requests,
'500ms' for the fault's own time, 'for=2000ms' for how long it is on, 'size=64'
for the size of segments. Kinds:
  )";

constexpr const char* kScriptHelp = R"(

Parameters say what signals do. Below each SyncSignal (and AsyncSignal, of CAN) are
Waveform (Sine, Ramp, Square, Noise, Counter; Sensor: it rests), Frequency in
hertz, Amplitude, DataType, RecordKind, and SampleRate (of CAN: Cycle, in ms):
  zel set 127.0.0.1 \
    Amplifier/Connector1/Mode/AnalogInChannel/SyncSignal1/Waveform Square

A script is JSON; what a module leaves out is as the options say:
  {"modules": [
    {"uuid": "0x12", "port": 0, "name": "BENCH", "type": "VR-8", "firmware": "4.2",
     "serial": "7", "flashTime": 5000, "restartTime": 3000, "largestWholeAnswer": 4000,
     "address": "127.0.0.1", "answerScans": false, "hears": "both",
     "bufferTime": 2000, "freeRunning": false,
     "parameters": {"System/Location": "lab"},
     "faults": ["delay:1/10:200ms:x1"],
     "answers": [{"method": "1/7", "result": -1004111, "data": "no schema",
                  "pending": 500, "delay": 100, "segmented": true, "silent": false}]},
    {"port": 0}]}
)";

std::string footer()
{
    std::string text = kExamples;
    std::size_t column = 2;
    for (const std::string_view name : faultNames()) {
        if (column + name.size() > 76) {
            text += "\n  ";
            column = 2;
        }
        text += std::string{name} + " ";
        column += name.size() + 1;
    }
    return text + kScriptHelp;
}

std::vector<ScriptedModule> fromOptions(const Options& options)
{
    std::vector<ScriptedModule> modules;
    for (unsigned number = 0; number < options.modules; ++number) {
        ScriptedModule module;
        module.settings = options.settings;
        module.settings.uuid += number;
        module.settings.port = portOf(options.settings.port, number);
        module.settings.name = options.name;
        if (options.name.ends_with('-') || options.modules > 1)
            module.settings.name += std::to_string(number + 1);
        modules.push_back(std::move(module));
    }
    return modules;
}

void announce(std::size_t number, const Module& module, bool json)
{
    if (json) {
        const nlohmann::json line{{"module", number},
                                  {"address", module.address()},
                                  {"port", module.port()},
                                  {"uuid", uuidText(module.uuid())},
                                  {"name", module.settings().name}};
        std::cout << line.dump() << std::endl;
        return;
    }
    std::cout << "module " << number << "  " << module.address() << ":" << module.port()
              << "  uuid " << uuidText(module.uuid()) << "  \"" << module.settings().name << "\""
              << std::endl;
}

int run(const Options& options)
{
    // Caught from here on: whoever reads the lines below may end the program at once.
    asio::io_context signalContext;
    asio::signal_set signals{signalContext, SIGINT, SIGTERM};
#ifdef SIGBREAK
    signals.add(SIGBREAK);
#endif
    signals.async_wait([](const std::error_code&, int) {});

    std::vector<ScriptedModule> modules = options.script.empty()
                                              ? fromOptions(options)
                                              : readScript(options.script, options.settings);
    Simulator simulator;
    std::size_t number = 0;
    for (ScriptedModule& module : modules) {
        for (const std::string& fault : options.faults)
            module.faults.push_back(parseFault(fault));
        try {
            announce(++number, addScripted(simulator, module), options.json);
        } catch (const std::system_error& failure) {
            throw std::runtime_error("cannot listen on " + module.settings.address + ":" +
                                     std::to_string(module.settings.port) + ": " +
                                     failure.code().message() +
                                     " (is it in use, or not an address of this host? --port 0 "
                                     "takes a free port)");
        }
    }
    signalContext.run();
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    options.settings.port = kDefaultTcpPort;
    CLI::App app{"Simulates measurement-amplifier modules on real sockets, until Ctrl-C."};
    app.add_option("--modules", options.modules, "How many modules; ports and UUIDs count up")
        ->check(CLI::Range(1u, 1000u))
        ->capture_default_str();
    app.add_option("--address", options.settings.address, "IPv4 address to listen on")
        ->check(CLI::ValidIPV4)
        ->capture_default_str();
    app.add_option("--port", options.settings.port, "TCP port of the first module; 0: a free one")
        ->capture_default_str();
    app.add_option("--uuid", options.uuid, "UUID of the first module, decimal or 0x...")
        ->capture_default_str();
    app.add_option("--name", options.name, "Module name; of several ones, what a number follows")
        ->capture_default_str();
    app.add_option("--type", options.settings.type, "Module type")->capture_default_str();
    app.add_option("--firmware", options.settings.firmwareVersion, "Firmware version")
        ->capture_default_str();
    app.add_option("--serial", options.settings.serialNumber, "Serial number")
        ->capture_default_str();
    app.add_flag(
        "--answer-scans", options.settings.answersScans,
        "Answer scans by broadcast and multicast, and follow network settings; the answers "
        "reach every host of the network");
    app.add_option_function<std::string>(
           "--hears", [&options](const std::string& way) { setHearing(options.settings, way); },
           "Which of the two it hears where it answers scans [both]")
        ->check(CLI::IsMember({"broadcast", "multicast", "both"}));
    app.add_option_function<std::uint32_t>(
           "--buffer-time",
           [&options](std::uint32_t time) { options.settings.bufferTime = milliseconds{time}; },
           "How long measured values wait for a host that does not fetch them, in milliseconds; "
           "then the oldest are lost [5000]")
        ->check(CLI::Range(1u, 3600000u));
    app.add_flag("--free-running", options.settings.freeRunning,
                 "Measure as fast as hosts fetch instead of in real time");
    app.add_option("--fault", options.faults, "A fault to switch on; may be given several times");
    app.add_option("--script", options.script, "JSON file with modules instead of --modules")
        ->type_name("FILE");
    app.add_flag("--json", options.json, "One JSON object a line instead of text");
    app.footer(footer());
    CLI11_PARSE(app, argc, argv);

    try {
        options.settings.uuid = parseUuid(options.uuid);
        return run(options);
    } catch (const std::exception& failure) {
        std::cerr << "zel-sim: " << (options.script.empty() ? "" : options.script + ": ")
                  << failure.what() << std::endl;
        return 1;
    }
}
