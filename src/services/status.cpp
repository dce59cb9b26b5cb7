#include "status.h"

#include "request_document.h"
#include "response_document.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

namespace zel::status {

using wire::StatusMethod;

namespace {

// A text that fills the field has no zero byte behind it.
void fillText(char (&field)[ZEL_STATUS_TEXT_SIZE], std::string_view text)
{
    const std::size_t length = std::min(text.size(), sizeof field);
    std::memcpy(field, text.data(), length);
    std::memset(field + length, 0, sizeof field - length);
}

template <class Number>
Number numberIn(pugi::xml_node node, const char* attribute)
{
    return numberOrZero<Number>(node.attribute(attribute).value());
}

void fill(ZEL_ErrorEntry& entry, pugi::xml_node node)
{
    entry.level = numberIn<std::uint32_t>(node, "ErrLevel");
    entry.code = numberIn<std::int32_t>(node, "ErrCode");
    entry.connector = numberIn<std::uint32_t>(node, "Connector");
    entry.channel = numberIn<std::uint32_t>(node, "Channel");
    entry.signal = numberIn<std::uint32_t>(node, "Signal");
    fillText(entry.text, node.attribute("Text").value());
}

void fill(ZEL_StatusEntry& entry, pugi::xml_node node)
{
    entry.connector = numberIn<std::uint32_t>(node, "Connector");
    entry.channel = numberIn<std::uint32_t>(node, "Channel");
    entry.signal = numberIn<std::uint32_t>(node, "Signal");
    entry.statusId = numberIn<std::uint32_t>(node, "StatusId");
    entry.value = numberIn<std::uint64_t>(node, "Value");
    fillText(entry.info, wholeText(node.child("Info")));
}

template <class Entry>
std::int32_t readList(const RemoteModule& module, StatusMethod method, const char* element,
                      std::uint32_t& count, std::span<Entry> entries)
{
    count = 0;
    clResponseDocument document;
    const std::int32_t result = sendForDocument(module, method, {}, document);
    if (hasFailed(result))
        return result;
    for (const pugi::xml_node node : document.root().children(element)) {
        if (count == entries.size())
            break;
        fill(entries[count++], node);
    }
    return result;
}

void copyCut(std::string_view text, const TextBuffer& buffer)
{
    *buffer.length = text.size();
    if (buffer.capacity == 0)
        return;
    const std::size_t length = std::min<std::size_t>(text.size(), buffer.capacity - 1);
    std::memcpy(buffer.data, text.data(), length);
    buffer.data[length] = '\0';
    buffer.data[buffer.capacity - 1] = '\0';
}

} // namespace

std::int32_t readErrors(const RemoteModule& module, std::uint32_t& count,
                        std::span<ZEL_ErrorEntry> entries)
{
    return readList(module, StatusMethod::getErrors, "Error", count, entries);
}

std::int32_t readStatuses(const RemoteModule& module, std::uint32_t& count,
                          std::span<ZEL_StatusEntry> entries)
{
    return readList(module, StatusMethod::getStatuses, "Status", count, entries);
}

std::int32_t readTedsStatus(const RemoteModule& module, std::uint32_t connector,
                            std::uint32_t& status, const TextBuffer& error,
                            const TextBuffer& warning)
{
    clResponseDocument document;
    std::int32_t result =
        sendForDocument(module, StatusMethod::getTedsStatus,
                        clRequestDocument{}.addNumber("Connector", connector).take(), document);
    if (!hasFailed(result))
        result = firstOf(result, document.requireNumber("Status", status));
    const std::string errorText = wholeText(document.root().child("error"));
    const std::string warningText = wholeText(document.root().child("warning"));
    copyCut(errorText, error);
    copyCut(warningText, warning);
    const bool isCut = errorText.size() >= error.capacity || warningText.size() >= warning.capacity;
    return !hasFailed(result) && isCut ? ZEL_SRV_BUFFER_TOO_SMALL : result;
}

} // namespace zel::status
