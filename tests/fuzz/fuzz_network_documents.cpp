// The documents about networks: the host's adapters with any texts, a module's settings with any
// answer, and any settings on their way to a module.

#include "adapter_document.h"
#include "event_loop.h"
#include "method_header.h"
#include "net_settings.h"
#include "xml_loading.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace zel;

constexpr std::uint64_t kModule = 0x1234ab0001;
constexpr unsigned kVerbatim = pugi::parse_escapes | pugi::parse_ws_pcdata;

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// Keeps the request and answers it at once, or knows no such module.
class Requestor final : public clRequestorBase {
public:
    Requestor(sys::EventLoop& loop, std::string& request, const std::string* answer)
        : clRequestorBase(kModule, loop), m_request(request), m_answer(answer)
    {
    }

    bool matches(const TransactionSource&, const TransactionHeader&) const override
    {
        return false;
    }
    std::int32_t send(std::shared_ptr<const clTxTelContainer> payload,
                      std::shared_ptr<iTransactionOwner> owner) override
    {
        m_request.clear();
        for (const Bytes part : payload->slice(0, payload->size()))
            m_request.append(reinterpret_cast<const char*>(part.data()), part.size());
        if (!m_answer)
            return ZEL_CONN_UNKNOWN_UUID;
        auto response = std::make_unique<clRxTelContainer>(m_answer->size());
        ByteWriter{response->writable()}.bytes(asBytes(m_answer->data(), m_answer->size()));
        owner->delivered(std::move(response), {kModule, 0, 0});
        return ZEL_OK;
    }
    void onTimeout() override {}
    void receive(TransactionType, std::unique_ptr<clRxTelContainer>,
                 const TransactionSource&) override
    {
    }

private:
    std::string& m_request;
    const std::string* m_answer;
};

struct Way final : iRequestorContext {
    explicit Way(sys::EventLoop& used) : loop(used) {}

    std::shared_ptr<clRequestorBase> createRequestor(std::uint64_t) override
    {
        return std::make_shared<Requestor>(loop, request, answer);
    }

    sys::EventLoop& loop;
    std::string request;
    const std::string* answer = nullptr;
};

/// A text that comes out of a document as it went in.
bool isKept(std::string_view text)
{
    return std::ranges::all_of(text, [](char character) {
        return (character >= ' ' && character <= '~') || character == '\n' || character == '\r';
    });
}

bool isThere(std::string_view text, const char* found)
{
    return !isKept(text) || text == found;
}

void describeAdapters(std::string_view texts, std::size_t capacity)
{
    std::vector<sys::HostAdapter> adapters;
    while (!texts.empty()) {
        const auto take = [&] {
            const std::string text{texts.substr(0, texts.find('\0'))};
            texts.remove_prefix(std::min(texts.size(), text.size() + 1));
            return text;
        };
        sys::HostAdapter& adapter = adapters.emplace_back();
        adapter.name = take();
        adapter.physicalAddress = take();
        if (adapters.size() % 3 != 0)
            adapter.addresses.push_back({take(), take()});
    }
    std::vector<char> buffer(capacity);
    std::uint64_t length = 0;
    if (network::writeAdapterDocument(adapters, {buffer.data(), &length, capacity}) != ZEL_OK) {
        require(length + 1 > capacity && buffer[0] == '\0');
        return;
    }
    require(length < capacity && buffer[length] == '\0');
    pugi::xml_document document;
    require(loadXml(document, asBytes(buffer.data(), length), kVerbatim));
    auto node = document.child("SrvParams").child("NetSetting");
    for (const sys::HostAdapter& adapter : adapters) {
        require(isThere(adapter.name, node.child_value("AdapterName")));
        require(isThere(adapter.physicalAddress, node.child_value("PhyAdr")));
        require(adapter.addresses.empty() == !node.child("IpAdr"));
        if (!adapter.addresses.empty())
            require(isThere(adapter.addresses[0].address, node.child_value("IpAdr")));
        node = node.next_sibling("NetSetting");
    }
    require(!node);
}

void readSettings(const RequestPath& path, Way& alternative, std::string_view answer, bool isWhole,
                  std::size_t capacity)
{
    std::string telegram{answer};
    if (isWhole) {
        const auto header = MethodResponseHeader{1, 5, ZEL_OK}.encode();
        telegram.insert(0, reinterpret_cast<const char*>(header.data()), header.size());
    }
    alternative.answer = &telegram;
    std::vector<char> buffer(capacity);
    std::uint64_t length = 0;
    const std::int32_t result =
        network::readNetSettings({path, kModule}, {alternative}, network::NetSettings::section,
                                 {buffer.data(), &length, capacity});
    require(!isWhole || result == (answer.size() < capacity ? ZEL_OK : ZEL_SRV_BUFFER_TOO_SMALL));
    require(!isWhole || length == answer.size());
    if (result == ZEL_OK)
        require(length < capacity && buffer[length] == '\0');
}

void writeSettings(const RequestPath& path, Way& alternative, std::string_view settings)
{
    const auto header = MethodResponseHeader{1, 6, -7}.encode();
    const std::string answer{reinterpret_cast<const char*>(header.data()), header.size()};
    alternative.answer = &answer;
    require(network::writeNetSettings({path, kModule}, {alternative}, settings) == -7);
    pugi::xml_document request;
    if (!isKept(settings))
        return;
    const Bytes sent = asBytes(alternative.request.data(), alternative.request.size());
    require(loadXml(request, sent.subspan(MethodRequestHeader::kSize), kVerbatim));
    require(request.child("SrvParams").child_value("XmlSection") == settings);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
        return 0;
    const std::size_t capacity = data[1] * std::size_t{16} + 1;
    const std::string_view text{reinterpret_cast<const char*>(data) + 2, size - 2};
    sys::EventLoop loop;
    Way connections{loop};
    Way alternative{loop};
    switch (data[0] % 4) {
    case 0:
        describeAdapters(text, capacity);
        break;
    case 1:
        writeSettings({connections}, alternative, text);
        break;
    default:
        readSettings({connections}, alternative, text, data[0] % 4 == 2, capacity);
    }
    return 0;
}
