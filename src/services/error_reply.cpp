#include "error_reply.h"

#include "cut_text.h"
#include "xml_loading.h"

namespace zel {

namespace {

std::string typeOf(const pugi::xml_node& message)
{
    const pugi::xml_attribute attribute = message.attribute("Type");
    return attribute ? attribute.value() : wholeText(message.child("Type"));
}

} // namespace

std::int32_t parseErrorReply(std::string_view document, ZEL_ReplyMessage* messages,
                             std::uint64_t& count, std::uint64_t capacity)
{
    count = 0;
    pugi::xml_document parsed;
    if (!loadXml(parsed, asBytes(document.data(), document.size())))
        return ZEL_PARAM_XML_ERROR;
    const pugi::xml_node reply = requireRoot(parsed, "Reply");
    if (!reply)
        return ZEL_PARAM_XML_ERROR;
    for (const pugi::xml_node message : reply.children("Message")) {
        if (count < capacity) {
            ZEL_ReplyMessage& record = messages[count];
            cutText(typeOf(message), record.type);
            cutText(wholeText(message), record.text);
        }
        ++count;
    }
    return count <= capacity ? ZEL_OK : ZEL_SRV_BUFFER_TOO_SMALL;
}

} // namespace zel
