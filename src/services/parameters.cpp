#include "parameters.h"

#include "number_format.h"
#include "parameter_documents.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace zel::parameters {

using wire::ParameterMethod;

namespace {

// Longer value texts are no numbers.
constexpr std::size_t kNumberTextSize = 100;

// The view whose "Amplifier" tells the number of connectors better than its schema does.
constexpr std::uint32_t kConnectorView = 5;

// How modules refuse TEDS data that do not fit.
constexpr std::array<std::int32_t, 2> kTedsDoesNotFit = {-120197, -120195};

std::int32_t write(const RequestPath& requests, std::uint64_t uuid, std::uint32_t view,
                   const char* path, const char* name, std::string_view value)
{
    return send(requests, {uuid, ParameterMethod::writeParameter},
                writeSectionRequest(view, joinedPath(path, name), value));
}

void giveIdentifier(std::uint64_t identifier, char* out)
{
    const auto text = tedsIdentifierText(identifier);
    std::copy(text.begin(), text.end(), out);
}

} // namespace

std::int32_t read(const RequestPath& requests, std::uint64_t uuid, std::uint32_t view,
                  const char* path, const char* name, const TextBuffer& buffer)
{
    return sendForText(requests, {uuid, ParameterMethod::readParameter},
                       pathRequest(view, joinedPath(path, name)), buffer);
}

std::int32_t readDouble(const RequestPath& requests, std::uint64_t uuid, std::uint32_t view,
                        const char* path, const char* name, double& value)
{
    std::array<char, kNumberTextSize> text{};
    std::uint64_t length = 0;
    const std::int32_t result =
        read(requests, uuid, view, path, name, {text.data(), &length, text.size()});
    if (hasFailed(result))
        return result;
    return firstOf(result, parseNumber({text.data(), static_cast<std::size_t>(length)}, value));
}

std::int32_t writeDouble(const RequestPath& requests, std::uint64_t uuid, std::uint32_t view,
                         const char* path, const char* name, double value)
{
    return write(requests, uuid, view, path, name, formatParameterDouble(value));
}

std::int32_t writeInt(const RequestPath& requests, std::uint64_t uuid, std::uint32_t view,
                      const char* path, const char* name, std::int32_t value)
{
    return write(requests, uuid, view, path, name, std::to_string(value));
}

std::int32_t writeString(const RequestPath& requests, std::uint64_t uuid, std::uint32_t view,
                         const char* path, const char* name, const char* value)
{
    return write(requests, uuid, view, path, name, value);
}

std::int32_t readDocument(const RequestPath& requests, std::uint64_t uuid, std::uint32_t view,
                          bool currentChoicesOnly, const TextBuffer& buffer)
{
    return sendForText(requests, {uuid, ParameterMethod::readDocument},
                       documentRequest(view, currentChoicesOnly), buffer);
}

std::int32_t readSection(const RequestPath& requests, std::uint64_t uuid, std::uint32_t view,
                         bool currentChoicesOnly, const char* path, const TextBuffer& buffer)
{
    return sendForText(requests, {uuid, ParameterMethod::readSection},
                       sectionRequest(view, path, currentChoicesOnly), buffer);
}

std::int32_t writeDocument(const RequestPath& requests, std::uint64_t uuid, std::uint32_t view,
                           const char* document, std::uint64_t length)
{
    if (length > kLongestRequest)
        return ZEL_SRV_INVALID_PARAMETERS;
    return send(requests, {uuid, ParameterMethod::writeDocument},
                writeDocumentRequest(view, {document, static_cast<std::size_t>(length)}));
}

std::int32_t writeSection(const RequestPath& requests, std::uint64_t uuid, std::uint32_t view,
                          const char* path, const char* section, std::uint64_t length)
{
    if (length > kLongestRequest)
        return ZEL_SRV_INVALID_PARAMETERS;
    return send(requests, {uuid, ParameterMethod::writeSection},
                writeSectionRequest(view, path, {section, static_cast<std::size_t>(length)}));
}

std::int32_t readSchema(const RequestPath& requests, std::uint64_t uuid, std::uint32_t view,
                        const TextBuffer& buffer)
{
    return sendForText(requests, {uuid, ParameterMethod::readSchema}, viewRequest(view), buffer);
}

std::int32_t readSectionSchema(const RequestPath& requests, std::uint64_t uuid, std::uint32_t view,
                               const char* path, const TextBuffer& buffer)
{
    return sendForText(requests, {uuid, ParameterMethod::readSectionSchema},
                       pathRequest(view, path), buffer);
}

std::int32_t readStyleSheet(const RequestPath& requests, std::uint64_t uuid, std::uint32_t view,
                            const TextBuffer& buffer)
{
    return sendForText(requests, {uuid, ParameterMethod::readStyleSheet}, viewRequest(view),
                       buffer);
}

std::int32_t activateDefault(const RequestPath& requests, std::uint64_t uuid, std::uint32_t view,
                             const char* xpath)
{
    return send(requests, {uuid, ParameterMethod::activateDefault},
                activateDefaultRequest(view, xpath));
}

std::int32_t activateAllDefaults(const RequestPath& requests, std::uint64_t uuid)
{
    return send(requests, {uuid, ParameterMethod::activateDefault}, activateAllDefaultsRequest());
}

std::int32_t readViews(const RequestPath& requests, std::uint64_t uuid, const TextBuffer& buffer)
{
    return sendForText(requests, {uuid, ParameterMethod::getViews}, {}, buffer);
}

std::int32_t readViewsToFile(const RequestPath& requests, std::uint64_t uuid, const char* fileName)
{
    return sendForFile(requests, {uuid, ParameterMethod::getViews}, {}, fileName);
}

std::int32_t maxCount(const RequestPath& requests, std::uint64_t uuid, std::uint32_t view,
                      const char* path, const char* name)
{
    const bool countsConnectors = view == kConnectorView && std::string_view(path) == "Amplifier" &&
                                  std::string_view(name) == "Connector";
    const Response response =
        countsConnectors ? sendForResponse(requests, {uuid, ParameterMethod::readSection},
                                           sectionRequest(view, path, true))
                         : sendForResponse(requests, {uuid, ParameterMethod::readSectionSchema},
                                           pathRequest(view, joinedPath(path, name)));
    // A warning must not pass for a count.
    if (hasFailed(response.result))
        return response.result;
    return countsConnectors ? countConnectors(response.payload()) : maxOccurs(response.payload());
}

std::int32_t readTeds(const RequestPath& requests, std::uint64_t uuid, std::uint32_t channel,
                      char* identifier, const TextBuffer& buffer)
{
    if (channel == 0)
        return ZEL_SRV_INVALID_PARAMETERS;
    const Response response =
        sendForResponse(requests, {uuid, ParameterMethod::readTeds}, readTedsRequest(channel));
    TedsAnswer answer;
    std::int32_t result = response.result;
    if (!hasFailed(result))
        result = firstOf(result, answer.readData(response.payload(), buffer.data, buffer.capacity));
    *buffer.length = answer.size;
    if (!hasFailed(result))
        giveIdentifier(answer.identifier, identifier);
    return result;
}

std::int32_t writeTeds(const RequestPath& requests, std::uint64_t uuid, std::uint32_t channel,
                       char* identifier, const void* data, std::uint64_t length)
{
    if (channel == 0 || data == nullptr || length > kLongestRequest)
        return ZEL_SRV_INVALID_PARAMETERS;
    const Bytes image = asBytes(data, static_cast<std::size_t>(length));
    const MethodAddress address = {uuid, ParameterMethod::writeTeds};
    Response response = sendForResponse(requests, address, writeTedsRequest(channel, image));
    if (std::count(kTedsDoesNotFit.begin(), kTedsDoesNotFit.end(), response.result) != 0) {
        // Zero-filled images are common: modules refuse the padding, so drop it and try once more.
        const Bytes shortened = withoutPadding(image);
        if (!shortened.empty())
            response = sendForResponse(requests, address, writeTedsRequest(channel, shortened));
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
