#include "parameters.h"

#include "number_format.h"
#include "request_document.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <array>
#include <string>

namespace zel::parameters {

using wire::ParameterMethod;

namespace {

// Longer value texts are no numbers.
constexpr std::size_t kNumberTextSize = 100;

// The view whose "Amplifier" tells the number of connectors better than its schema does.
constexpr std::uint32_t kConnectorView = 5;

// How modules refuse TEDS data that do not fit.
constexpr std::array<std::int32_t, 2> kTedsDoesNotFit = {-120197, -120195};

clRequestDocument ofView(std::uint32_t view)
{
    clRequestDocument document;
    document.addNumber("View", view);
    return document;
}

/// The path, and "/" and the name where there is one.
std::string joinedPath(std::string_view path, std::string_view name)
{
    std::string joined(path);
    if (!name.empty())
        joined.append(1, '/').append(name);
    return joined;
}

std::string sectionRequest(std::uint32_t view, const char* path, bool currentChoicesOnly)
{
    return ofView(view).addText("Path", path).addFlag("CurrChoicesOnly", currentChoicesOnly).take();
}

/// A section, or the value of one parameter, takes the place of what is below the path.
std::int32_t replace(const RemoteModule& module, ParameterMethod method, std::uint32_t view,
                     std::string_view path, std::string_view section)
{
    if (section.size() > kLongestRequest)
        return ZEL_SRV_INVALID_PARAMETERS;
    return send(module, method,
                ofView(view).addText("Path", path).addText("XmlSection", section).take());
}

/// The channels of TEDS requests count from 1, those on the wire from 0.
Response writeImage(const RemoteModule& module, std::uint32_t channel, Bytes image)
{
    // The module gives the identifier; the request's says nothing.
    return sendForResponse(module, ParameterMethod::writeTeds,
                           clRequestDocument{}
                               .addNumber("Channel", channel - 1)
                               .addNumber("Tid", 0)
                               .addHexadecimal("BinData", image)
                               .take());
}

void giveIdentifier(std::uint64_t identifier, char* out)
{
    const auto text = tedsIdentifierText(identifier);
    std::copy(text.begin(), text.end(), out);
}

} // namespace

std::int32_t read(const RemoteModule& module, std::uint32_t view, const char* path,
                  const char* name, const TextBuffer& buffer)
{
    return sendForText(module, ParameterMethod::readParameter,
                       ofView(view).addText("Path", joinedPath(path, name)).take(), buffer);
}

std::int32_t readDouble(const RemoteModule& module, std::uint32_t view, const char* path,
                        const char* name, double& value)
{
    std::array<char, kNumberTextSize> text{};
    std::uint64_t length = 0;
    const std::int32_t result = read(module, view, path, name, {text.data(), &length, text.size()});
    if (hasFailed(result))
        return result;
    return firstOf(result, parseNumber({text.data(), static_cast<std::size_t>(length)}, value));
}

std::int32_t write(const RemoteModule& module, std::uint32_t view, const char* path,
                   const char* name, std::string_view value)
{
    return replace(module, ParameterMethod::writeParameter, view, joinedPath(path, name), value);
}

std::int32_t readDocument(const RemoteModule& module, std::uint32_t view, bool currentChoicesOnly,
                          const TextBuffer& buffer)
{
    return sendForText(module, ParameterMethod::readDocument,
                       ofView(view).addFlag("CurrChoicesOnly", currentChoicesOnly).take(), buffer);
}

std::int32_t readSection(const RemoteModule& module, std::uint32_t view, bool currentChoicesOnly,
                         const char* path, const TextBuffer& buffer)
{
    return sendForText(module, ParameterMethod::readSection,
                       sectionRequest(view, path, currentChoicesOnly), buffer);
}

std::int32_t writeDocument(const RemoteModule& module, std::uint32_t view,
                           std::string_view document)
{
    if (document.size() > kLongestRequest)
        return ZEL_SRV_INVALID_PARAMETERS;
    return send(module, ParameterMethod::writeDocument,
                ofView(view).addText("XmlSection", document).take());
}

std::int32_t writeSection(const RemoteModule& module, std::uint32_t view, const char* path,
                          std::string_view section)
{
    return replace(module, ParameterMethod::writeSection, view, path, section);
}

std::int32_t readSchema(const RemoteModule& module, std::uint32_t view, const TextBuffer& buffer)
{
    return sendForText(module, ParameterMethod::readSchema, ofView(view).take(), buffer);
}

std::int32_t readSectionSchema(const RemoteModule& module, std::uint32_t view, const char* path,
                               const TextBuffer& buffer)
{
    return sendForText(module, ParameterMethod::readSectionSchema,
                       ofView(view).addText("Path", path).take(), buffer);
}

std::int32_t readStyleSheet(const RemoteModule& module, std::uint32_t view,
                            const TextBuffer& buffer)
{
    return sendForText(module, ParameterMethod::readStyleSheet, ofView(view).take(), buffer);
}

std::int32_t activateDefault(const RemoteModule& module, std::uint32_t view, const char* xpath)
{
    return send(module, ParameterMethod::activateDefault,
                ofView(view).addText("Xpath", xpath).take());
}

std::int32_t activateAllDefaults(const RemoteModule& module)
{
    return send(module, ParameterMethod::activateDefault, clRequestDocument{}.take());
}

std::int32_t maxCount(const RemoteModule& module, std::uint32_t view, const char* path,
                      const char* name)
{
    const bool countsConnectors = view == kConnectorView && std::string_view(path) == "Amplifier" &&
                                  std::string_view(name) == "Connector";
    const Response response =
        countsConnectors
            ? sendForResponse(module, ParameterMethod::readSection,
                              sectionRequest(view, path, true))
            : sendForResponse(module, ParameterMethod::readSectionSchema,
                              ofView(view).addText("Path", joinedPath(path, name)).take());
    // A warning must not pass for a count.
    if (hasFailed(response.result))
        return response.result;
    return countsConnectors ? countConnectors(response.payload()) : maxOccurs(response.payload());
}

std::int32_t readTeds(const RemoteModule& module, std::uint32_t channel, char* identifier,
                      const TextBuffer& buffer)
{
    if (channel == 0)
        return ZEL_SRV_INVALID_PARAMETERS;
    const Response response =
        sendForResponse(module, ParameterMethod::readTeds,
                        clRequestDocument{}.addNumber("Channel", channel - 1).take());
    TedsAnswer answer;
    std::int32_t result = response.result;
    if (!hasFailed(result))
        result = firstOf(result, answer.readData(response.payload(), buffer.data, buffer.capacity));
    *buffer.length = answer.size;
    if (!hasFailed(result))
        giveIdentifier(answer.identifier, identifier);
    return result;
}

std::int32_t writeTeds(const RemoteModule& module, std::uint32_t channel, char* identifier,
                       const void* data, std::uint64_t length)
{
    if (channel == 0 || data == nullptr || length > kLongestRequest)
        return ZEL_SRV_INVALID_PARAMETERS;
    const Bytes image = asBytes(data, static_cast<std::size_t>(length));
    Response response = writeImage(module, channel, image);
    if (std::count(kTedsDoesNotFit.begin(), kTedsDoesNotFit.end(), response.result) != 0) {
        // Zero-filled images are common: modules refuse the padding, so drop it and try once more.
        const Bytes shortened = withoutPadding(image);
        if (!shortened.empty())
            response = writeImage(module, channel, shortened);
    }
    if (hasFailed(response.result))
        return response.result;
    TedsAnswer answer;
    const std::int32_t result = answer.readIdentifier(response.payload());
    if (result == ZEL_OK)
        giveIdentifier(answer.identifier, identifier);
    return firstOf(response.result, result);
}

} // namespace zel::parameters
