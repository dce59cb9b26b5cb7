#include "simulation_script.h"

#include "number_forms.h"
#include "transaction_header.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <limits>
#include <stdexcept>

#include <nlohmann/json.hpp>

namespace zel::simulator {

namespace {

using Json = nlohmann::json;

std::uint64_t parseNumber(std::string_view text, std::uint64_t most)
{
    int base = 10;
    std::string_view digits = text;
    if (digits.starts_with("0x")) {
        digits.remove_prefix(2);
        base = 16;
    }
    std::uint64_t value = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
    if (error != std::errc{} || end != digits.data() + digits.size() || value > most)
        throw std::invalid_argument("'" + std::string{text} + "' is not a number from 0 to " +
                                    std::to_string(most));
    return value;
}

/// Times are bounded so that no sum of them overflows.
milliseconds parseTime(std::string_view text)
{
    constexpr std::uint64_t kLongest = 7 * 24 * 3600 * 1000;
    if (!text.ends_with("ms"))
        throw std::invalid_argument("'" + std::string{text} + "' is not a time such as 500ms");
    text.remove_suffix(2);
    return milliseconds{static_cast<milliseconds::rep>(parseNumber(text, kLongest))};
}

void refineFault(Fault& fault, std::string_view word)
{
    if (word == "address")
        fault.onAddressResolution = true;
    else if (word.starts_with("for="))
        fault.lasting = parseTime(word.substr(4));
    else if (word.starts_with("size="))
        fault.size = static_cast<std::size_t>(parseNumber(word.substr(5), kLargestSegment));
    else if (word.starts_with('x'))
        fault.count = static_cast<unsigned>(parseNumber(word.substr(1), 1000000));
    else if (word.ends_with("ms"))
        fault.time = parseTime(word);
    else
        fault.method = parseMethod(word);
}

/// The members of a script's object; a name that nobody asks for is a mistake of its writer.
class Members {
public:
    Members(const Json& object, std::string what) : m_object(object), m_what(std::move(what))
    {
        if (!object.is_object())
            throw std::runtime_error(m_what + " must be an object in braces");
    }

    template <class Value>
    void read(const char* name, Value& value)
    {
        m_known.push_back(name);
        if (!m_object.contains(name))
            return;
        try {
            value = m_object.at(name).get<Value>();
        } catch (const Json::exception&) {
            throw std::runtime_error(m_what + ": \"" + name + "\" has the wrong kind of value");
        }
    }

    void readNumber(const char* name, std::uint64_t most, auto& value)
    {
        Json json;
        read(name, json);
        if (json.is_null())
            return;
        // UUIDs are read and written in hexadecimal, which a number in JSON cannot be.
        const std::string text = json.is_string() ? json.get<std::string>() : json.dump();
        value = static_cast<std::remove_reference_t<decltype(value)>>(parseNumber(text, most));
    }

    void readTime(const char* name, milliseconds& value)
    {
        std::uint64_t number = static_cast<std::uint64_t>(value.count());
        readNumber(name, std::numeric_limits<std::uint32_t>::max(), number);
        value = milliseconds{static_cast<milliseconds::rep>(number)};
    }

    void finish() const
    {
        for (const auto& item : m_object.items())
            if (std::find(m_known.begin(), m_known.end(), item.key()) == m_known.end())
                throw std::runtime_error(m_what + ": \"" + item.key() + "\" is not known here");
    }

private:
    const Json& m_object;
    const std::string m_what;
    std::vector<std::string> m_known;
};

ScriptedModule::Answer readAnswer(const Json& json)
{
    Members members{json, "an answer"};
    ScriptedModule::Answer scripted;
    std::string method;
    members.read("method", method);
    scripted.method = parseMethod(method);
    members.read("result", scripted.answer.result);
    members.read("data", scripted.answer.data);
    members.readTime("delay", scripted.answer.delay);
    if (json.contains("pending"))
        members.readTime("pending", scripted.answer.pending.emplace());
    if (json.contains("segmented"))
        members.read("segmented", scripted.answer.segmented.emplace());
    members.read("silent", scripted.answer.silent);
    members.finish();
    return scripted;
}

void readHearing(Members& members, ModuleSettings& settings)
{
    std::string way;
    members.read("hears", way);
    if (!way.empty())
        setHearing(settings, way);
}

ScriptedModule readModule(const Json& json, const ModuleSettings& defaults)
{
    ScriptedModule module;
    module.settings = defaults;
    ModuleSettings& settings = module.settings;
    Members members{json, "a module"};
    members.readNumber("uuid", std::numeric_limits<std::uint64_t>::max(), settings.uuid);
    members.read("address", settings.address);
    members.readNumber("port", 65535, settings.port);
    members.read("name", settings.name);
    members.read("type", settings.type);
    members.read("firmware", settings.firmwareVersion);
    members.read("serial", settings.serialNumber);
    members.readNumber("largestWholeAnswer", kLargestWholeAnswer, settings.largestWholeAnswer);
    members.readTime("flashTime", settings.flashTime);
    members.readTime("restartTime", settings.restartTime);
    members.readTime("bufferTime", settings.bufferTime);
    members.read("freeRunning", settings.freeRunning);
    members.read("answerScans", settings.answersScans);
    readHearing(members, settings);
    members.read("parameters", module.parameters);
    std::vector<std::string> faults;
    members.read("faults", faults);
    for (const std::string& fault : faults)
        module.faults.push_back(parseFault(fault));
    std::vector<Json> answers;
    members.read("answers", answers);
    for (const Json& answer : answers)
        module.answers.push_back(readAnswer(answer));
    members.finish();
    return module;
}

} // namespace

MethodId parseMethod(std::string_view text)
{
    const auto slash = text.find('/');
    if (slash == text.npos)
        throw std::invalid_argument("'" + std::string{text} +
                                    "' is not a method such as 1/10 (service/method)");
    return {static_cast<std::uint16_t>(parseNumber(text.substr(0, slash), 65535)),
            static_cast<std::uint16_t>(parseNumber(text.substr(slash + 1), 65535))};
}

std::uint64_t parseUuid(std::string_view text)
{
    return parseNumber(text, std::numeric_limits<std::uint64_t>::max());
}

void setHearing(ModuleSettings& settings, std::string_view way)
{
    const bool isBoth = way == "both";
    settings.hearsBroadcasts = isBoth || way == "broadcast";
    settings.hearsMulticasts = isBoth || way == "multicast";
    if (!settings.hearsBroadcasts && !settings.hearsMulticasts)
        throw std::invalid_argument("'" + std::string{way} +
                                    "' is not broadcast, multicast or both");
}

std::uint16_t portOf(std::uint16_t first, std::size_t number)
{
    if (first != 0 && number > 65535u - first)
        throw std::invalid_argument("there are not so many ports after " + std::to_string(first));
    return static_cast<std::uint16_t>(first == 0 ? 0 : first + number);
}

Fault parseFault(std::string_view text)
{
    Fault fault;
    const std::string_view name = text.substr(0, text.find(':'));
    const auto kind = faultNamed(name);
    if (!kind) {
        std::string message = "'" + std::string{name} + "' is not a fault; the faults are";
        for (const std::string_view known : faultNames())
            message += " " + std::string{known};
        throw std::invalid_argument(message);
    }
    fault.kind = *kind;
    text.remove_prefix(name.size());
    while (text.starts_with(':')) {
        text.remove_prefix(1);
        const std::string_view word = text.substr(0, text.find(':'));
        refineFault(fault, word);
        text.remove_prefix(word.size());
    }
    return fault;
}

std::vector<ScriptedModule> readScript(const std::filesystem::path& file,
                                       const ModuleSettings& defaults)
{
    std::ifstream stream{file};
    if (!stream)
        throw std::runtime_error("cannot be opened");
    const Json script = Json::parse(stream);
    Members members{script, "the script"};
    std::vector<Json> modules;
    members.read("modules", modules);
    members.finish();
    std::vector<ScriptedModule> scripted;
    for (const Json& module : modules) {
        ModuleSettings settings = defaults;
        settings.uuid += scripted.size();
        settings.port = portOf(defaults.port, scripted.size());
        settings.name = "MOD-" + std::to_string(scripted.size() + 1);
        scripted.push_back(readModule(module, settings));
    }
    if (scripted.empty())
        throw std::runtime_error("names no module under \"modules\"");
    return scripted;
}

Module& addScripted(Simulator& simulator, const ScriptedModule& scripted)
{
    const std::uint64_t uuid = scripted.settings.uuid;
    if (uuid == kNoModule || uuid == kBroadcastNode)
        throw std::runtime_error("the UUID " + uuidText(uuid) + " cannot be a module's: it means " +
                                 (uuid == kBroadcastNode ? "all modules" : "no module"));
    Module& module = simulator.addModule(scripted.settings);
    for (const auto& [path, value] : scripted.parameters) {
        if (!module.parameters().set(path, value))
            throw std::runtime_error("the parameter \"" + path +
                                     "\" does not exist or cannot be '" + value + "'");
    }
    for (const ScriptedModule::Answer& scriptedAnswer : scripted.answers)
        module.setHandler(scriptedAnswer.method.service, scriptedAnswer.method.method,
                          [answer = scriptedAnswer.answer](const MethodCall&) { return answer; });
    for (const Fault& fault : scripted.faults)
        module.setFault(fault);
    return module;
}

} // namespace zel::simulator
