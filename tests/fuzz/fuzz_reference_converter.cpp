// Any bytes as a signal reference: its path is the one that scanf and printf make of it.

#include "signal_path.h"

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// What scanf makes of a number that is too large is not defined.
bool hasLargeNumber(const std::string& text)
{
    int digits = 0;
    for (const char c : text) {
        digits = std::isdigit(static_cast<unsigned char>(c)) != 0 ? digits + 1 : 0;
        if (digits > 9)
            return true;
    }
    return false;
}

std::string expectedPath(const std::string& reference)
{
    const char* const text = reference.c_str();
    unsigned connector = 0;
    unsigned channel = 0;
    unsigned signal = 0;
    int end = -1;
    char path[256] = "";
    const auto isWhole = [&] { return end == static_cast<int>(reference.size()); };
    if (std::sscanf(text, "AnalogIn_Connector%u.Signal%u%n", &connector, &signal, &end) == 2 &&
        isWhole())
        std::snprintf(path, sizeof path,
                      R"(Amplifier/Connector[@address="%u"]/Mode[@choice="AnalogInChannel"])"
                      R"(/AnalogInChannel/SyncSignal[@address="%u"])",
                      connector + 1, signal + 1);
    else if (std::sscanf(text, "CanReceiver_Connector%u.Decoder%u.Signal%u%n", &connector, &channel,
                         &signal, &end) == 3 &&
             isWhole())
        std::snprintf(path, sizeof path,
                      R"(AdditionalConnector/Connector[@address="%u"])"
                      R"(/Mode/CanBus/CanInChannel[@address="%u"]/AsyncSignal)",
                      connector + 1, channel + 1);
    else if (std::sscanf(text, "Fiber_Connector%u.Channel%u.Signal%u%n", &connector, &channel,
                         &signal, &end) == 3 &&
             isWhole())
        std::snprintf(path, sizeof path,
                      R"(AdditionalConnector/Connector[@address="%u"]/Mode[@choice="Fiber"])"
                      R"(/Fiber/FiberChannel[@address="%u"]/SyncSignal[@address="%u"])",
                      connector + 1, channel + 1, signal + 1);
    return path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace zel::signals;
    const std::string reference(reinterpret_cast<const char*>(data), size);
    const std::string path = pathOf(reference);
    if (!hasLargeNumber(reference))
        require(path == expectedPath(reference));

    const auto parsed = parseReference(reference);
    require(parsed || path.empty());
    if (parsed) {
        require(parsed->form.kind == kindOf(reference));
        std::string again{parsed->form.word};
        for (std::size_t i = 0; i < parsed->numbers.size(); ++i) {
            const std::string_view component = parsed->form.components[i];
            require(!component.empty() || parsed->numbers[i] == 0);
            if (!component.empty())
                again += (i == 0 ? "_" : ".") + std::string{component} +
                         std::to_string(parsed->numbers[i]);
        }
        const auto reparsed = parseReference(again);
        require(reparsed && reparsed->numbers == parsed->numbers && pathOf(again) == path);
    }
    return 0;
}
