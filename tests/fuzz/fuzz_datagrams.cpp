// Any bytes as a datagram, and as the document of a scan's answer.

#include "phonebook.h"
#include "telegram_container.h"
#include "transaction_header.h"
#include "udp_connection.h"

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
    static clPhonebook phonebook;
    if (auto record = readModuleRecord(bytes))
        phonebook.enter(size % 3, std::move(*record));
    std::size_t count = 0;
    phonebook.list({}, [&](const ModuleRecord&) { ++count; });
    if (count > 100)
        phonebook.clear({});
    return 0;
}
