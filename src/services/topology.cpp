#include "topology.h"

#include "connection_table.h"
#include "host_file.h"
#include "own_uuid.h"
#include "pugi_xml_buffer_composer.h"
#include "pugi_xml_stream_composer.h"
#include "response_document.h"
#include "text_stream.h"

#include <vector>

namespace zel::topology {

namespace {

constexpr std::uint32_t kConnectedDeviceType = 2;
constexpr std::uint32_t kEthernetInterface = 1;

struct ConnectedModule {
    std::uint64_t uuid = 0;
    std::uint32_t deviceType = 0;
    std::uint32_t activeInterface = 0;
};

std::vector<ConnectedModule> ownConnections(const clConHndlr& connections)
{
    std::vector<ConnectedModule> modules;
    for (const std::uint64_t uuid : connections.uuids())
        modules.push_back({uuid, kConnectedDeviceType, kEthernetInterface});
    return modules;
}

template <class Number>
Number numberIn(pugi::xml_node node, const char* child)
{
    return numberOrZero<Number>(wholeText(node.child(child)));
}

std::int32_t modulesBehind(const RequestPath& requests, std::uint64_t uuid,
                           std::vector<ConnectedModule>& modules)
{
    const Response response =
        sendForResponse(requests, {uuid, wire::StatusMethod::getConnectedModules}, {});
    if (hasFailed(response.result))
        return response.result;
    clResponseDocument document;
    if (const std::int32_t result = document.parse(response.payload()); result != ZEL_OK)
        return result;
    for (const pugi::xml_node node : document.root().children("ConnectedModule")) {
        ConnectedModule& module = modules.emplace_back();
        module.deviceType = numberIn<std::uint32_t>(node, "DevType");
        module.activeInterface = numberIn<std::uint32_t>(node, "ActiveInterface");
        // Without it the record would stand for nobody.
        if (const std::int32_t result = parseNumber(wholeText(node.child("Uuid")), module.uuid);
            result != ZEL_OK)
            return result;
    }
    return response.result;
}

void composeInto(XmlComposer& composer, const clConHndlr& connections)
{
    composer.openElement("Topology");
    for (const ConnectedModule& module : ownConnections(connections)) {
        composer.openElement("Leaf");
        composer.openElement("Uuid");
        composer.addText(module.uuid);
        composer.closeElement();
        composer.openElement("DevType");
        composer.addText(module.deviceType);
        composer.closeElement();
        composer.closeElement();
    }
    composer.closeElement();
}

} // namespace

std::int32_t readConnectedModules(const RequestPath& requests, const clConHndlr& connections,
                                  std::uint64_t uuid, ZEL_ConnectedModule* modules,
                                  std::uint64_t& count, std::uint64_t capacity)
{
    count = 0;
    std::vector<ConnectedModule> found;
    std::int32_t result = ZEL_OK;
    if (uuid == kNoUuid || uuid == ownUuid())
        found = ownConnections(connections);
    else
        result = modulesBehind(requests, uuid, found);
    if (hasFailed(result))
        return result;
    if (found.size() > capacity)
        return ZEL_SRV_BUFFER_TOO_SMALL;
    for (const ConnectedModule& module : found) {
        // One field after the other: the reserved bytes stay the caller's.
        ZEL_ConnectedModule& record = modules[count++];
        record.uuid = module.uuid;
        record.deviceType = module.deviceType;
        record.activeInterface = module.activeInterface;
    }
    return result;
}

std::int32_t compose(const clConHndlr& connections, const TextBuffer& buffer)
{
    PugiXmlBufferComposer composer{buffer.data, buffer.capacity};
    composeInto(composer, connections);
    return composer.save(buffer.length);
}

std::int32_t composeToFile(const clConHndlr& connections, const char* fileName)
{
    clHostFileWriter file{hostPath(fileName)};
    if (!file.isOpen())
        return ZEL_FILE_OPEN;
    TextStream text;
    PugiXmlStreamComposer composer{text};
    composeInto(composer, connections);
    if (const std::int32_t result = composer.save(); result != ZEL_OK)
        return result;
    const std::string document = text.str();
    return file.write(document.data(), document.size());
}

} // namespace zel::topology
