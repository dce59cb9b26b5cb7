// Sensor, signal and gate documents, error replies and names of units. What one parses composes
// again, and is then the same for good.

#include "error_reply.h"
#include "record_documents.h"
#include "units.h"
#include "xml_loading.h"
#include "ZEL_VR_Framework.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

bool isZero(const std::vector<char>& record)
{
    for (const char byte : record)
        if (byte != 0)
            return false;
    return true;
}

std::string composed(const zel::RecordLayout& layout, const std::vector<char>& record)
{
    std::string text(std::size_t{1} << 16, '#');
    std::uint64_t length = 0;
    require(zel::composeRecord(layout, record.data(), {text.data(), &length, text.size()}) ==
            ZEL_OK);
    text.resize(length);
    return text;
}

void readRecord(const zel::RecordLayout& layout, const std::string& document)
{
    std::vector<char> record(layout.size, 'x');
    if (zel::parseRecord(layout, document, record.data()) != ZEL_OK) {
        require(isZero(record));
        return;
    }
    const std::string text = composed(layout, record);
    std::vector<char> again(layout.size, 'x');
    require(zel::parseRecord(layout, text, again.data()) == ZEL_OK);
    require(again == record && composed(layout, again) == text);
}

void readErrors(const std::string& document)
{
    std::array<ZEL_ReplyMessage, 2> messages{};
    std::uint64_t count = 0;
    const std::int32_t result =
        zel::parseErrorReply(document, messages.data(), count, messages.size());
    require(result != ZEL_OK || count <= messages.size());
    for (const ZEL_ReplyMessage& message : messages)
        require(std::memchr(message.text, 0, sizeof message.text) != nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string document(reinterpret_cast<const char*>(data), size);
    for (const zel::RecordLayout* layout :
         {&zel::kSensorLayout, &zel::kCanSensorLayout, &zel::kSignalLayout, &zel::kCanSignalLayout,
          &zel::kGateIndexLayout})
        readRecord(*layout, document);
    readErrors(document);
    require(std::strlen(zel::lastXmlError()) < 256);
    const std::int32_t code = zel::unitCode(document);
    require(code == ZEL_UNIT_NOT_FOUND || zel::findUnit(static_cast<std::uint32_t>(code)));
    return 0;
}
