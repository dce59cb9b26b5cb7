// Any bytes as a datagram, and as the document of a scan's answer.

#include "datagram_frame.h"
#include "phonebook.h"
#include "scan.h"
#include "telegram_container.h"
#include "transaction_header.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// The modules in both forms that hosts get.
std::size_t list(const zel::clPhonebook::Scan& scan)
{
    std::size_t count = 0;
    scan.list([&](const zel::ModuleRecord& record) {
        ++count;
        require(record.name.size() <= zel::clPhonebook::kLongestText);
    });
    static ZEL_SegmentArray segment;
    zel::network::listModules(scan, segment);
    require(segment.count == std::min<std::size_t>(count, ZEL_SEGMENT_SIZE));
    for (std::uint32_t i = 0; i < segment.count; ++i)
        require(std::memchr(segment.modules[i].name, 0, sizeof segment.modules[i].name));
    static char buffer[4096];
    std::uint64_t length = 0;
    if (zel::network::listModules(scan, {buffer, &length, sizeof buffer}) == ZEL_OK)
        require(std::strlen(buffer) == length);
    return count;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace zel;
    const Bytes bytes = asBytes(data, size);
    std::uint64_t source = 0;
    if (const auto telegram = unframe(bytes, source)) {
        ByteReader in{telegram->payload()};
        if (TransactionHeader::decode(in))
            readModuleRecord(in.rest());
    }
    static const auto phonebook = std::make_shared<clPhonebook>();
    static std::optional<clPhonebook::Scan> scan;
    if (!scan)
        scan.emplace(phonebook, std::nullopt);
    if (auto record = readModuleRecord(bytes))
        phonebook->enter(size % 3, std::move(*record));
    // The next one forgets what this one has heard.
    if (list(*scan) > 20)
        scan.reset();
    return 0;
}
