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

std::uint32_t numberIn(pugi::xml_node node, const char* child)
{
    return numberOrZero<std::uint32_t>(wholeText(node.child(child)));
}

std::int32_t modulesBehind(const RemoteModule& module, std::vector<ConnectedModule>& modules)
{
    clResponseDocument document;
    const std::int32_t result =
        sendForDocument(module, wire::StatusMethod::getConnectedModules, {}, document);
    if (hasFailed(result))
        return result;
    for (const pugi::xml_node node : document.root().children("ConnectedModule")) {
        ConnectedModule& found = modules.emplace_back();
        found.deviceType = numberIn(node, "DevType");
        found.activeInterface = numberIn(node, "ActiveInterface");
        // Without it the record would stand for nobody.
        if (const std::int32_t read = parseNumber(wholeText(node.child("Uuid")), found.uuid);
            read != ZEL_OK)
            return read;
    }
    return result;
}

void composeInto(XmlComposer& composer, const clConHndlr& connections)
{
    composer.openElement("Topology");
    for (const ConnectedModule& module : ownConnections(connections)) {
        composer.openElement("Leaf");
        composer.addElement("Uuid", std::to_string(module.uuid));
        composer.addElement("DevType", module.deviceType);
        composer.closeElement();
    }
    composer.closeElement();
}

} // namespace

std::int32_t readConnectedModules(const RemoteModule& module, const clConHndlr& connections,
                                  ZEL_ConnectedModule* modules, std::uint64_t& count,
                                  std::uint64_t capacity)
{
    count = 0;
    std::vector<ConnectedModule> found;
    std::int32_t result = ZEL_OK;
    if (module.uuid == kNoUuid || module.uuid == ownUuid())
        found = ownConnections(connections);
    else
        result = modulesBehind(module, found);
    if (hasFailed(result))
        return result;
    if (found.size() > capacity)
        return ZEL_SRV_BUFFER_TOO_SMALL;
    for (const ConnectedModule& connected : found) {
        // One field after the other: the reserved bytes stay the caller's.
        ZEL_ConnectedModule& record = modules[count++];
        record.uuid = connected.uuid;
        record.deviceType = connected.deviceType;
        record.activeInterface = connected.activeInterface;
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
