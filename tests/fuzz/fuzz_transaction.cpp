// Any telegrams for a request that waits, in each of its states: the transaction layer and the
// method header's check end with one outcome at most and keep to what they were sent.

#include "event_loop.h"
#include "method_request.h"
#include "own_uuid.h"
#include "requestor_trans.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace {

using namespace zel;

constexpr std::uint64_t kModule = 0x1234ab0001;
constexpr std::uint64_t kConnection = 7;

class Sender : public iTelegramSender {
public:
    int send(std::span<const Bytes> payload) override
    {
        std::size_t length = 0;
        for (const Bytes part : payload)
            length += part.size();
        if (length > TransactionHeader::kSize + clRequestorTrans::kMaxUnsegmented)
            std::abort();
        return 0;
    }
    int sendAndWait(std::span<const Bytes> payload, sys::EventFlag&) override
    {
        return send(payload);
    }
    std::uint64_t connectionId() const override { return kConnection; }
};

class Context : public iRequestorContext {
public:
    explicit Context(sys::EventLoop& loop) : m_loop(loop) {}

    std::shared_ptr<clRequestorBase> createRequestor(std::uint64_t target) override
    {
        return std::make_shared<clRequestorTrans>(target, m_loop, m_sender);
    }

private:
    sys::EventLoop& m_loop;
    std::shared_ptr<Sender> m_sender = std::make_shared<Sender>();
};

class Call : public iTransactionOwner {
public:
    Call(const MethodAddress& address, iRequestorContext& context) : request(address, context) {}

    void delivered(std::unique_ptr<clRxTelContainer> response, const TransactionSource&) override
    {
        endOnce();
        request.evalRespHeader(*response);
    }
    void completed(std::int32_t) override { endOnce(); }
    std::unique_ptr<clRxTelContainer> placeFor(std::size_t size) override
    {
        return zel::placeFor(size, m_room);
    }

    clMthdReqrSrv request;

private:
    void endOnce()
    {
        if (m_hasEnded)
            std::abort();
        m_hasEnded = true;
    }

    bool m_hasEnded = false;
    std::array<std::byte, 300> m_room;
};

/// Fills the place of a payload in pieces; false when nobody waits for it any more.
bool readInto(iPayloadPlace& place, Bytes payload)
{
    for (std::size_t offset = 0; offset < payload.size();) {
        const auto count = place.readAt(offset, [&](MutableBytes at) {
            const std::size_t step = std::min({at.size(), payload.size() - offset, std::size_t{7}});
            std::memcpy(at.data(), payload.data() + offset, step);
            return static_cast<int>(step);
        });
        if (!count || *count == 0)
            return false;
        offset += static_cast<std::size_t>(*count);
    }
    return true;
}

/// The next telegram of the input: a type, a length and so many bytes.
std::optional<std::pair<TransactionType, Bytes>> nextTelegram(ByteReader& in)
{
    static constexpr std::uint16_t kTypes[] = {1, 2, 3, 16, 17, 18, 19, 20, 21, 99};
    const auto type = static_cast<TransactionType>(kTypes[in.u8() % std::size(kTypes)]);
    const std::size_t length = in.u16();
    if (!in.good())
        return {};
    return std::pair{type, in.bytes(std::min(length, in.remaining()))};
}

void feed(ByteReader in, std::uint16_t label)
{
    while (const auto telegram = nextTelegram(in)) {
        const auto& [type, payload] = *telegram;
        const auto header = TransactionHeader{type, label, ownUuid()}.encode();
        // One telegram in two comes as long ones do, one of those with a wrong end.
        if (payload.size() % 2 == 1) {
            const TransactionSource source{kModule, kConnection, 0};
            const auto place = requestorRegistry().placeFor(source, header, payload.size());
            if (place && readInto(*place, payload) && payload.size() % 4 == 1)
                place->arrived();
            if (place)
                continue;
        }
        auto container = std::make_unique<clRxTelContainer>(header.size() + payload.size());
        ByteWriter out{container->writable()};
        out.bytes(header);
        out.bytes(payload);
        requestorRegistry().dispatch({kModule, kConnection, 0}, std::move(container));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ByteReader in{asBytes(data, size)};
    const bool isLong = in.u8() % 2 == 1;
    sys::EventLoop loop;
    Context context{loop};
    const auto call = std::make_shared<Call>(MethodAddress{kModule, {1, 10}}, context);
    clMthdReqrSrv& request = call->request;
    auto telegram = makeMethodRequest({kModule, {1, 10}}, std::string(isLong ? 200000 : 10, 'x'));
    if (request.sendRequest(std::move(telegram), call) != 0)
        std::abort();
    // On the loop's thread, as telegrams come.
    sys::Timer arrival{loop};
    arrival.set(0, [&] {
        feed(in, request.label().value());
        // As it is, without the header that feed() puts in front.
        auto raw = std::make_unique<clRxTelContainer>(in.remaining());
        ByteWriter{raw->writable()}.bytes(in.rest());
        requestorRegistry().dispatch({kModule, kConnection, 0}, std::move(raw));
        loop.stop();
    });
    loop.execute();
    request.giveUp();
    if (call.use_count() != 1)
        std::abort();
    return 0;
}
