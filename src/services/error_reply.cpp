#include "error_reply.h"

#include "xml_loading.h"

#include <cstring>

namespace zel {

namespace {

bool continuesCharacter(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

/// Cut to the field, but never within a character.
template <std::size_t Size>
void cutInto(char (&field)[Size], const char* text)
{
    std::size_t length = std::strlen(text);
    if (length >= Size) {
        length = Size - 1;
        while (length > 0 && continuesCharacter(text[length]))
            --length;
    }
    std::memcpy(field, text, length);
    field[length] = '\0';
}

const char* typeOf(const pugi::xml_node& message)
{
    const pugi::xml_attribute attribute = message.attribute("Type");
    return attribute ? attribute.value() : message.child_value("Type");
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
            record = {};
            cutInto(record.type, typeOf(message));
            cutInto(record.text, message.child_value());
        }
        ++count;
    }
    return count <= capacity ? ZEL_OK : ZEL_SRV_BUFFER_TOO_SMALL;
}

} // namespace zel
