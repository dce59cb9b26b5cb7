#include "preparation.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <future>
#include <set>
#include <string_view>

#include <pugixml.hpp>

namespace zel::acquisition {

namespace {

constexpr std::string_view kAll = "all";

std::uint64_t hostTime()
{
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                          std::chrono::system_clock::now().time_since_epoch())
                                          .count());
}

std::string numberText(double number)
{
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    return {digits.data(), end};
}

bool isPattern(const std::string& text)
{
    return text == kAll || text.find_first_of("*?") != std::string::npos;
}

ValueType valueTypeOf(std::uint32_t dataType)
{
    switch (dataType) {
    case ZEL_DAQ_INT32:
    case ZEL_DAQ_TIMED_INT32:
        return ValueType::int32;
    case ZEL_DAQ_INT64:
    case ZEL_DAQ_TIMED_INT64:
        return ValueType::int64;
    case ZEL_DAQ_REAL64:
    case ZEL_DAQ_TIMED_REAL64:
        return ValueType::float64;
    case ZEL_DAQ_TIMED_UINT32:
        return ValueType::uint32;
    case ZEL_DAQ_TIMED_UINT64:
        return ValueType::uint64;
    default: // also of a module that does not say
        return ValueType::float32;
    }
}

/// A signal that was chosen, and the request that chose it.
struct Choice {
    Signal signal;
    const SignalRequest* request = nullptr;
};

std::vector<Choice> choose(const std::vector<Signal>& signals, const ModuleRequest& request,
                           const std::string& address)
{
    const std::string list = "'zel signals " + address + "' lists those that it has";
    std::vector<Choice> chosen;
    const auto add = [&](const Signal& signal, const SignalRequest& by) {
        const auto isSame = [&](const Choice& choice) {
            return choice.signal.reference == signal.reference;
        };
        const bool isThere = std::ranges::any_of(chosen, isSame);
        if (isThere && !isPattern(by.pattern) && !by.column.empty())
            throw RequestError(signal.reference + " of " + address + " is asked for twice", {});
        if (!isThere)
            chosen.push_back({signal, &by});
    };
    for (const SignalRequest& by : request.signals) {
        if (!isPattern(by.pattern)) {
            const auto found = findSignals(signals, by.pattern);
            if (found.empty())
                throw RequestError(address + " has no signal '" + by.pattern + "'", list);
            if (found.size() > 1)
                throw RequestError("several signals of " + address + " have the name '" +
                                       by.pattern + "'",
                                   "name it by its reference, such as " + found[0].reference);
            add(found.front(), by);
            continue;
        }
        const std::size_t before = chosen.size();
        bool areAnyThere = false;
        for (const Signal& signal : signals) {
            if (!signal.isEnabled ||
                !(by.pattern == kAll || matches(by.pattern, signal.reference) ||
                  matches(by.pattern, signal.name)))
                continue;
            areAnyThere = true;
            add(signal, by);
        }
        if (!areAnyThere)
            throw RequestError("no signal of " + address + " that is switched on is meant by '" +
                                   by.pattern + "'",
                               list);
        if (!by.column.empty() && chosen.size() - before > 1)
            throw RequestError("'" + by.pattern + "' means several signals of " + address +
                                   ", which cannot all be called '" + by.column + "'",
                               {});
    }
    if (chosen.empty())
        throw RequestError("no signal of " + address + " is named", list);
    return chosen;
}

/// Sets the rates that are wanted; whether there were any.
bool setRates(Module& module, const std::vector<Choice>& chosen, const ModuleRequest& request)
{
    bool hasSet = false;
    for (const Choice& choice : chosen) {
        const auto rate = choice.request->rate ? choice.request->rate : request.rate;
        if (!rate || choice.signal.sampleRate <= 0) // others come when they come
            continue;
        try {
            module.set(choice.signal.path + "/SampleRate", numberText(*rate));
        } catch (const Error& error) {
            if (error.isConnectionLost())
                throw;
            throw RequestError("could not set the sample rate of " + choice.signal.reference +
                                   " to " + numberText(*rate) + " Hz on " +
                                   module.address().text() + ": " + error.codeText() +
                                   (error.moduleText().empty() ? "" : "; the module says: ") +
                                   error.moduleText(),
                               "it takes only the rates that its parameter SampleRate has a "
                               "choice for");
        }
        hasSet = true;
    }
    return hasSet;
}

/// The parameters that a signal's section of the document holds: path below it and value.
void collect(const pugi::xml_node& node, const std::string& path,
             std::vector<std::pair<std::string, std::string>>& values)
{
    constexpr std::size_t kMost = 200;
    for (const pugi::xml_node& child : node.children()) {
        if (child.type() != pugi::node_element || values.size() >= kMost)
            continue;
        const std::string name = path.empty() ? child.name() : path + '/' + child.name();
        const bool isLeaf = !child.find_child(
            [](const pugi::xml_node& inner) { return inner.type() == pugi::node_element; });
        if (isLeaf)
            values.emplace_back(name, child.text().get());
        else
            collect(child, name, values);
    }
}

/// What cannot be read is not there: a module that refuses its document can be recorded all the
/// same.
template <class Read>
std::string readIfPossible(Read&& read)
{
    try {
        return read();
    } catch (const Error& error) {
        if (error.isConnectionLost())
            throw;
        return {};
    }
}

std::vector<std::pair<std::string, std::string>> calibrationOf(const Module& module,
                                                               const Signal& signal)
{
    std::vector<std::pair<std::string, std::string>> values;
    if (signal.path.empty())
        return values;
    const std::string section =
        readIfPossible([&] { return module.document(Module::kView, signal.path); });
    pugi::xml_document document;
    if (document.load_buffer(section.data(), section.size()))
        collect(document.document_element(), {}, values);
    return values;
}

/// The label or column that nobody else has.
std::string unique(const std::string& wanted, std::set<std::string>& taken)
{
    std::string name = wanted;
    for (int number = 2; !taken.insert(name).second; ++number)
        name = wanted + '_' + std::to_string(number);
    return name;
}

/// One module and what is recorded of it; the places in the setup are filled in later.
struct Prepared {
    Module module;
    ModuleInfo info;
    std::vector<SignalInfo> signals;
};

std::vector<SignalInfo> describe(const Module& module, const std::vector<Choice>& chosen)
{
    std::set<std::string> columns;
    for (const Choice& choice : chosen)
        if (!choice.request->column.empty() && !columns.insert(choice.request->column).second)
            throw RequestError("two signals of " + module.address().text() + " are called '" +
                                   choice.request->column + "'",
                               {});
    std::vector<SignalInfo> signals;
    for (const Choice& choice : chosen) {
        const Signal& signal = choice.signal;
        SignalInfo info;
        info.reference = signal.reference;
        info.name = signal.name;
        info.unit = signal.unit;
        info.path = signal.path;
        info.type = valueTypeOf(signal.dataType);
        info.isEven = signal.dataType == 0 ? signal.sampleRate > 0 : !isTimed(signal.dataType);
        info.rate = signal.millihertz();
        info.calibration = calibrationOf(module, signal);
        info.column = !choice.request->column.empty() ? choice.request->column
                                                      : unique(signal.reference, columns);
        signals.push_back(std::move(info));
    }
    return signals;
}

Prepared prepareOne(const ModuleRequest& request)
{
    Module module{request.target.mayBeName || !request.target.address
                      ? Module{request.target.text}
                      : Module{*request.target.address}};
    const std::string address = module.address().text();
    auto chosen = choose(module.signals(), request, address);
    if (setRates(module, chosen, request))
        chosen = choose(module.signals(), request, address);
    ModuleInfo info;
    info.address = address;
    info.uuid = module.uuid();
    info.name = readIfPossible([&] { return module.get("System/Name"); });
    info.parameters = readIfPossible([&] { return module.document(); });
    info.label = !request.label.empty() ? request.label
                 : !info.name.empty()   ? info.name
                                        : address;
    auto signals = describe(module, chosen);
    return {std::move(module), std::move(info), std::move(signals)};
}

} // namespace

bool matches(const std::string& pattern, const std::string& text)
{
    std::size_t p = 0;
    std::size_t t = 0;
    std::size_t star = std::string::npos;
    std::size_t behind = 0; // where the last star's text ends so far
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            behind = t;
        } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == text[t])) {
            ++p;
            ++t;
        } else if (star != std::string::npos) {
            p = star + 1;
            t = ++behind;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', p) == std::string::npos;
}

Preparation prepare(const std::vector<ModuleRequest>& requests)
{
    Preparation result;
    std::set<std::uint64_t> uuids;
    std::set<std::string> labels;
    constexpr std::size_t kAtOnce = 32;
    for (std::size_t first = 0; first < requests.size(); first += kAtOnce) {
        std::vector<std::future<Prepared>> running;
        for (std::size_t i = first; i < std::min(first + kAtOnce, requests.size()); ++i)
            running.push_back(std::async(std::launch::async, prepareOne, std::cref(requests[i])));
        for (std::size_t i = 0; i < running.size(); ++i) {
            const ModuleRequest& request = requests[first + i];
            Prepared prepared = running[i].get();
            if (!uuids.insert(prepared.info.uuid).second)
                throw RequestError(request.target.text + " is the same module as another one that "
                                                         "is named",
                                   "name all its signals behind one address");
            if (!request.label.empty() && labels.contains(request.label))
                throw RequestError("two modules are called '" + request.label + "'", {});
            prepared.info.label = unique(prepared.info.label, labels);
            for (SignalInfo& signal : prepared.signals) {
                signal.module = result.modules.size();
                result.setup.signals.push_back(std::move(signal));
            }
            result.setup.modules.push_back(std::move(prepared.info));
            result.modules.push_back(std::move(prepared.module));
            result.targets.push_back(request.target);
        }
    }
    result.setup.begin = hostTime();
    return result;
}

} // namespace zel::acquisition
