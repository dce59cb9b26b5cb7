// The transactions of the library as they stand on the wire, with a module that is played by hand.

#include "event_loop.h"
#include "hexadecimal.h"
#include "library_with_module.h"
#include "own_uuid.h"
#include "requestor_broadcast.h"
#include "requestor_trans.h"
#include "telegram_container.h"
#include "wire_peer.h"

#include <algorithm>
#include <functional>
#include <future>
#include <set>
#include <thread>
#include <vector>

namespace zel::test {
namespace {

constexpr const char* kUuid = "00000000feedf00d";
constexpr std::uint64_t kModule = 0xfeedf00d;
constexpr std::uint16_t kService = 0x0a0b;
constexpr std::uint16_t kMethod = 0x0c0d;

class Wire : public testing::Test {
protected:
    void SetUp() override
    {
        ZEL_Init();
        std::uint64_t uuid = 0;
        // The thread that connects ends here, long before the first answer is received.
        auto connecting = std::async(std::launch::async, [&] {
            return ZEL_XCOM_ConnectToTcpIpDev("127.0.0.1", m_peer.port(), &uuid);
        });
        m_peer.accept();
        m_addressRequest = m_peer.readTelegram();
        //                        Dlen                   RESPONSE label skipped
        m_peer.write(unhex("12345678 10 02 0010" + std::string{kUuid} + "0100 0000 00000000" +
                           kUuid + "87654321"));
        ASSERT_EQ(connecting.get(), ZEL_OK);
        ASSERT_EQ(uuid, kModule);
    }
    void TearDown() override
    {
        ZEL_Unload();
        EXPECT_TRUE(m_peer.isClosedByOther());
    }

    struct Outcome {
        std::int32_t result = 0;
        std::string data;
    };
    std::future<Outcome> send(std::string data)
    {
        return std::async(std::launch::async, [data = std::move(data)] {
            Outcome outcome;
            outcome.result = request(kModule, kService, kMethod, data, &outcome.data);
            return outcome;
        });
    }
    /// The telegram that opens the next request; what the library still acknowledged is skipped.
    std::string readRequest()
    {
        for (;;) {
            std::string telegram = m_peer.readTelegram();
            const std::string type = hex(telegram.substr(16, 2));
            if (type != "0001" && type != "0010")
                continue;
            m_label = hex(telegram.substr(18, 2));
            return telegram;
        }
    }
    /// Digits of a telegram of this type, which is four digits, for the last request.
    std::string telegram(const std::string& type, const std::string& payload) const
    {
        return framed(type + m_label + m_self + payload);
    }
    static std::string framed(const std::string& payload, const std::string& source = kUuid)
    {
        return "12345678"
               "10"
               "01" +
               hex64(unhex(payload).size()).substr(12) + source + payload + "87654321";
    }
    std::string sent(const std::string& type, const std::string& payload) const
    {
        return framed(type + m_label + kUuid + payload, m_self);
    }

    WirePeer m_peer;
    std::string m_addressRequest;
    std::string m_label;
    const std::string m_self = hex64(ZEL_XCOM_GetOwnUUID());
};

// What every response opens with when all is well: service, method, result.
constexpr const char* kGood = "0a0b 0c0d 00000000";

TEST_F(Wire, OpensWithAnAddressRequestAndFramesRequests)
{
    EXPECT_EQ(hex(m_addressRequest), "12345678"
                                     "10"
                                     "02"
                                     "0004" +
                                         m_self +
                                         "0001" // REQU_INI
                                         "0000"
                                         "87654321");
    auto call = send("abc");
    const std::string opening = readRequest();
    EXPECT_EQ(hex(opening), "12345678"
                            "10"
                            "01"
                            "0013" +
                                m_self + "0001" + m_label + kUuid +
                                "0a0b"
                                "0c0d"
                                "616263"
                                "87654321");
    m_peer.write(unhex(telegram("0002", std::string{"0a0b0c0d fffff3a1"} + "7a")));
    const Outcome outcome = call.get();
    EXPECT_EQ(outcome.result, static_cast<std::int32_t>(0xfffff3a1));
    EXPECT_EQ(outcome.data, "z");
}

TEST_F(Wire, CutsARequestOf65536BytesIntoSegments)
{
    const std::string data = std::string(61436, 'a') + std::string(4096, 'b');
    auto call = send(data);
    const std::string opening = readRequest();
    EXPECT_EQ(hex(opening), sent("0010", "00010000"));
    m_peer.write(unhex(telegram("0012", "")));
    EXPECT_EQ(hex(m_peer.readTelegram()), sent("0011", "0a0b0c0d" + hex(data.substr(0, 61436))));
    m_peer.write(unhex(telegram("0012", "")));
    EXPECT_EQ(hex(m_peer.readTelegram()), sent("0011", hex(data.substr(61436))));

    m_peer.write(unhex(telegram("0003", "00001388")));
    for (const char* const answer : {"0000000b", "0a0b0c0d0000", "00006f6b21"}) {
        const bool isFirst = std::string_view{answer} == "0000000b";
        m_peer.write(unhex(telegram(isFirst ? "0013" : "0014", answer)));
        EXPECT_EQ(hex(m_peer.readTelegram()), sent("0015", ""));
    }
    const Outcome outcome = call.get();
    EXPECT_EQ(outcome.result, ZEL_OK);
    EXPECT_EQ(outcome.data, "ok!");
}

TEST_F(Wire, SendsWhatIsNotLongerThan65535BytesInOnePiece)
{
    auto fits = send(std::string(65523 - 4, 'x'));
    EXPECT_EQ(hex(readRequest().substr(0, 18)), "12345678"
                                                "10"
                                                "01"
                                                "ffff" +
                                                    m_self + "0001");
    m_peer.write(unhex(telegram("0002", kGood)));
    EXPECT_EQ(fits.get().result, ZEL_OK);

    // The length field has no room for these last 12 bytes: it counts from 0 again.
    auto doesNotFit = send(std::string(65535 - 4, 'x'));
    EXPECT_EQ(hex(m_peer.read(18)), "12345678"
                                    "10"
                                    "01"
                                    "000b" +
                                        m_self + "0001");
    m_peer.read(65535 + 12 - 2 + 4);
    ZEL_XCOM_Disconnect(kModule);
    EXPECT_EQ(doesNotFit.get().result, ZEL_CONN_RECEIVE_FAILED);
}

struct Reply {
    const char* type;
    std::string payload;
};
using Replies = std::vector<Reply>;

TEST_F(Wire, EndsARequestThatIsAnsweredOutOfTurn)
{
    const std::size_t kSmall = 1;
    const std::size_t kLarge = 65536;
    const std::string good = kGood;
    const Reply wait{"0003", "00001388"};
    const Reply ten{"0013", "0000000a"};
    const auto empty = [](std::size_t count) { return Replies(count, {"0014", ""}); };
    const auto joined = [](std::initializer_list<Replies> parts) {
        Replies all;
        for (const Replies& part : parts)
            all.insert(all.end(), part.begin(), part.end());
        return all;
    };
    const struct {
        const char* what;
        std::size_t size;
        Replies replies;
        std::int32_t result;
        const char* data;
    } cases[] = {
        {"RESP to an announced request", kLarge, {{"0002", good}}, ZEL_TRANS_WRONG_TYPE, ""},
        {"RESP_PEND to an announced request", kLarge, {wait}, ZEL_TRANS_WRONG_TYPE, ""},
        {"RESP_SEG_INI to an announced request", kLarge, {ten}, ZEL_TRANS_WRONG_TYPE, ""},

        {"REQ_SEG_ACK to a whole request", kSmall, {{"0012", ""}}, ZEL_TRANS_WRONG_TYPE, ""},
        {"RESP_SEG_INI at once", kSmall, {ten}, ZEL_TRANS_WRONG_TYPE, ""},
        {"RESP_SEG at once", kSmall, {{"0014", good}}, ZEL_TRANS_WRONG_TYPE, ""},
        {"RESP_SEG_ACK", kSmall, {{"0015", ""}}, ZEL_TRANS_WRONG_TYPE, ""},
        {"type 0", kSmall, {{"0000", ""}}, ZEL_TRANS_WRONG_TYPE, ""},
        {"type ffff", kSmall, {{"ffff", ""}}, ZEL_TRANS_WRONG_TYPE, ""},
        {"short RESP_PEND", kSmall, {{"0003", "0001"}}, ZEL_TRANS_INVALID_FORMAT, ""},
        {"long RESP_PEND", kSmall, {{"0003", "0000000001"}}, ZEL_TRANS_INVALID_FORMAT, ""},

        {"RESP_PEND twice", kSmall, {wait, wait}, ZEL_TRANS_WRONG_TYPE, ""},
        {"RESP_SEG unannounced", kSmall, {wait, {"0014", good}}, ZEL_TRANS_WRONG_TYPE, ""},
        {"short RESP_SEG_INI", kSmall, {wait, {"0013", "0001"}}, ZEL_TRANS_INVALID_FORMAT, ""},
        {"empty RESP_SEG_INI", kSmall, {wait, {"0013", ""}}, ZEL_TRANS_INVALID_FORMAT, ""},

        {"RESP among segments", kSmall, {wait, ten, {"0002", good}}, ZEL_TRANS_WRONG_TYPE, ""},
        {"RESP_PEND among segments", kSmall, {wait, ten, wait}, ZEL_TRANS_WRONG_TYPE, ""},
        {"RESP_SEG_INI twice", kSmall, {wait, ten, ten}, ZEL_TRANS_WRONG_TYPE, ""},

        {"empty RESP", kSmall, {{"0002", ""}}, ZEL_SRV_RESPONSE_MISMATCH, ""},
        {"RESP without its last byte",
         kSmall,
         {{"0002", "0a0b0c0d 000000"}},
         ZEL_SRV_RESPONSE_MISMATCH,
         ""},
        {"other service", kSmall, {{"0002", "0a0c0c0d 00000000"}}, ZEL_SRV_RESPONSE_MISMATCH, ""},
        {"other method", kSmall, {{"0002", "0a0b0c0c 00000000"}}, ZEL_SRV_RESPONSE_MISMATCH, ""},
        {"a response of no segments",
         kSmall,
         {wait, {"0013", "00000000"}, {"0014", ""}},
         ZEL_SRV_RESPONSE_MISMATCH,
         ""},

        {"segments, one of them empty",
         kSmall,
         {wait, ten, {"0014", good}, {"0014", ""}, {"0014", "6f6b"}},
         ZEL_OK,
         "ok"},
        {"a segment longer than what is expected, then the right one",
         kSmall,
         {wait, ten, {"0014", good}, {"0014", "212121"}, {"0014", "6f6b"}},
         ZEL_OK,
         "ok"},
        {"20 empty segments in a row", kSmall,
         joined({{wait, ten}, empty(20), {{"0014", good}}, empty(20), {{"0014", "6f6b"}}}), ZEL_OK,
         "ok"},
        {"21 empty segments in a row", kSmall, joined({{wait, ten, {"0014", good}}, empty(21)}),
         ZEL_TRANS_INVALID_FORMAT, ""},
        {"RESP after RESP_PEND", kSmall, {wait, {"0002", good + "6f6b"}}, ZEL_OK, "ok"},
    };
    for (const auto& c : cases) {
        auto call = send(std::string(c.size, 'r'));
        readRequest();
        std::string bytes;
        for (const Reply& reply : c.replies)
            bytes += unhex(telegram(reply.type, hex(unhex(reply.payload))));
        m_peer.write(bytes);
        ASSERT_EQ(call.wait_for(2500ms), std::future_status::ready) << c.what;
        const Outcome outcome = call.get();
        EXPECT_EQ(outcome.result, c.result) << c.what;
        EXPECT_EQ(outcome.data, c.data) << c.what;
    }
}

TEST_F(Wire, PassesOverWhatDoesNotBelongToTheRequest)
{
    auto call = send("q");
    readRequest();
    const std::string answer = std::string{kGood} + "21";
    const std::string otherLabel = m_label == "0001" ? "0002" : "0001";
    const std::string others[] = {
        framed("0001" + m_label + m_self + answer),         // a request
        framed("0002" + otherLabel + m_self + answer),      // another transaction
        framed("0002" + m_label + kUuid + answer),          // to another node
        framed("0002" + m_label + m_self + answer, m_self), // from another node
        framed("0002" + m_label + m_self.substr(2)),        // one byte short of a header
        framed(""),
    };
    for (const std::string& other : others)
        m_peer.write(unhex(other));
    EXPECT_EQ(call.wait_for(50ms), std::future_status::timeout);
    m_peer.write(unhex(telegram("0002", hex(unhex(std::string{kGood} + "6f6b")))));
    // Once it has its answer, a second one is nobody's.
    m_peer.write(unhex(telegram("0002", hex(unhex(std::string{kGood} + "6f6b")))));
    EXPECT_EQ(call.get().data, "ok");
}

TEST_F(Wire, FillsACallersBufferAtOnceButNotOnceTheCallIsOver)
{
    const std::string text(60000, 'v');
    const std::string good = "0001 0001 00000000";
    std::vector<char> buffer;
    std::uint64_t length = 0;
    const auto read = [&](std::size_t capacity) {
        buffer.assign(capacity, '#');
        return std::async(std::launch::async, [&] {
            return ZEL_XPAR_ReadXML(kModule, 1, 0, buffer.data(), &length, buffer.size());
        });
    };
    const auto answered = [&](const char* type) { return unhex(telegram(type, good + hex(text))); };

    auto call = read(text.size() + 1);
    readRequest();
    std::string answer = answered("0002");
    m_peer.write(answer.substr(0, 30000));
    EXPECT_EQ(call.get(), ZEL_TRANS_TIMEOUT_ACKNOWLEDGE);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(buffer[0], '\0');
    EXPECT_EQ(buffer[1000], 'v') << "it has been put together elsewhere";
    buffer = {}; // a sanitizer sees what is still written there
    m_peer.write(answer.substr(30000));

    // The other half comes when the request is tried once more.
    call = read(text.size() + 1);
    readRequest();
    m_peer.write(unhex(telegram("0003", "00000bb8") + telegram("0013", "0000ea68")));
    answer = answered("0014");
    std::fill(answer.begin() + 100, answer.end() - 4, 'x');
    m_peer.write(answer.substr(0, 30000));
    readRequest();
    m_peer.write(answer.substr(30000) + answered("0002"));
    EXPECT_EQ(call.get(), ZEL_OK);
    EXPECT_EQ(std::string(buffer.data()), text);

    call = read(text.size());
    readRequest();
    m_peer.write(answered("0002"));
    EXPECT_EQ(call.get(), ZEL_SRV_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, text.size());
    EXPECT_EQ(buffer[0], '\0');
    EXPECT_EQ(buffer[1000], '#');

    // An answer that has no text may break off, too, where there is no buffer.
    auto execute = std::async(std::launch::async, [&] {
        return ZEL_XCTRL_ExecuteXMLPars(kModule, "c", 0, "", nullptr, nullptr, 0);
    });
    readRequest();
    m_peer.write(unhex(telegram("0003", "00000bb8") + telegram("0013", "00000008") +
                       telegram("0002", good)));
    EXPECT_EQ(execute.get(), ZEL_TRANS_WRONG_TYPE);
    m_peer.readTelegram(); // the announcement's acknowledge
}

TEST(RequestLabels, AreNeverSharedByRequestsUnderWay)
{
    clRequestorRegistry& registry = requestorRegistry();
    std::set<std::uint16_t> held;
    for (int i = 0; i < 60000; ++i)
        EXPECT_TRUE(held.insert(registry.takeLabel().value()).second);
    for (int i = 0; i < 0x10000; ++i) {
        const std::uint16_t label = registry.takeLabel().value();
        ASSERT_FALSE(held.contains(label));
        registry.endLabel(label);
        registry.giveBackLabel(label);
    }
    while (const auto label = registry.takeLabel())
        EXPECT_TRUE(held.insert(*label).second);
    EXPECT_EQ(held.size(), 0x10000u);
    // One that is over, but kept, serves again when no other is left; it is then held twice.
    registry.endLabel(4711);
    EXPECT_EQ(registry.takeLabel(), 4711);
    registry.giveBackLabel(4711);
    EXPECT_EQ(registry.takeLabel(), std::nullopt);
    for (const std::uint16_t label : held) {
        registry.endLabel(label);
        registry.giveBackLabel(label);
    }
}

constexpr std::uint64_t kConnection = 7;

/// A connection that leads nowhere.
struct Nowhere final : iTelegramSender {
    int send(std::span<const Bytes>) override
    {
        whileSending();
        return result;
    }
    int sendAndWait(std::span<const Bytes> payload, sys::EventFlag&) override
    {
        return send(payload);
    }
    std::uint64_t connectionId() const override { return kConnection; }

    std::function<void()> whileSending = [] {};
    int result = 0;
};

struct Owner final : iTransactionOwner {
    void delivered(std::unique_ptr<clRxTelContainer>, const TransactionSource&) override
    {
        outcomes.push_back(ZEL_OK);
    }
    void completed(std::int32_t result) override { outcomes.push_back(result); }

    std::vector<std::int32_t> outcomes;
};
using Outcomes = std::vector<std::int32_t>;

class Requests : public testing::Test {
protected:
    std::shared_ptr<clRequestorBase> overConnection()
    {
        return std::make_shared<clRequestorTrans>(kModule, m_loop, m_way);
    }
    std::int32_t send(clRequestorBase& requestor)
    {
        return requestor.send(std::make_shared<const clTxTelContainer>(Bytes{}, ""), m_owner);
    }
    static void answer(const clRequestorBase& requestor, std::uint64_t connection)
    {
        const auto bytes =
            TransactionHeader{TransactionType::response, requestor.label().value(), ownUuid()}
                .encode();
        auto telegram = std::make_unique<clRxTelContainer>(bytes.size());
        std::ranges::copy(bytes, telegram->writable().begin());
        requestorRegistry().dispatch({kModule, connection, 0}, std::move(telegram));
    }

    sys::EventLoop m_loop;
    const std::shared_ptr<Nowhere> m_way = std::make_shared<Nowhere>();
    const std::shared_ptr<Owner> m_owner = std::make_shared<Owner>();
};

TEST_F(Requests, TakeNoAnswerBeforeTheyAreSentAndNoneByAnotherWay)
{
    const auto check = [&](clRequestorBase& requestor, std::uint64_t connection,
                           std::uint64_t otherConnection) {
        m_owner->outcomes.clear();
        answer(requestor, connection);
        answer(requestor, otherConnection);
        requestorRegistry().connectionLost(clRequestorRegistry::kEveryConnection);
        EXPECT_EQ(send(requestor), ZEL_OK);
        answer(requestor, otherConnection);
        EXPECT_EQ(m_owner->outcomes, Outcomes{});
        answer(requestor, connection);
        EXPECT_EQ(m_owner->outcomes, Outcomes{ZEL_OK});
    };
    check(*overConnection(), kConnection, 0);
    const SendDatagram leave = [](Bytes) { return ZEL_OK; };
    const auto toAll = std::make_shared<clRequestorBroadcast>(kBroadcastNode, m_loop, leave);
    check(*toAll, 0, kConnection);
    toAll->finish(ZEL_OK);
}

TEST_F(Requests, EndOnceHoweverTheyEnd)
{
    m_way->result = -1;
    EXPECT_EQ(send(*overConnection()), ZEL_CONN_SEND_FAILED);

    // What ends while it is being sent is an error of the sending, on whatever thread.
    m_way->whileSending = [] {
        requestorRegistry().connectionLost(kConnection);
        std::async(std::launch::async, [] {
            requestorRegistry().connectionLost(kConnection);
        }).get();
    };
    EXPECT_EQ(send(*overConnection()), ZEL_CONN_RECEIVE_FAILED);
    EXPECT_EQ(m_owner->outcomes, Outcomes{});

    // But an answer counts that is there before the telegram seems to have left.
    const auto quick = overConnection();
    m_way->whileSending = [&] { answer(*quick, kConnection); };
    EXPECT_EQ(send(*quick), ZEL_OK);
    EXPECT_EQ(m_owner->outcomes, Outcomes{ZEL_OK});

    m_way->whileSending = [] {};
    m_way->result = 0;
    const auto detached = overConnection();
    EXPECT_EQ(send(*detached), ZEL_OK);
    EXPECT_EQ(m_owner.use_count(), 2);
    detached->detach();
    answer(*detached, kConnection);
    EXPECT_EQ(m_owner->outcomes, Outcomes{ZEL_OK});
    EXPECT_EQ(m_owner.use_count(), 1);
}

TEST_F(Requests, GetNoMoreThanAnHourByAsking)
{
    const auto requestor = overConnection();
    send(*requestor);
    auto time = std::make_unique<clRxTelContainer>(4);
    ByteWriter{time->writable()}.u32(0xFFFFFFFFu);
    requestor->receive(TransactionType::responsePending, std::move(time), {});
    sys::Timer due{m_loop};
    due.set(0, [] {});
    std::this_thread::sleep_for(1ms);
    m_loop.timers().runDue();
    ASSERT_TRUE(m_loop.timers().wakeAt());
    const auto left = *m_loop.timers().wakeAt() - sys::TimerQueue::Clock::now();
    EXPECT_GT(left, 59min);
    EXPECT_LE(left, 60min);
    // The time that was over before may have come too late for the lock.
    requestor->onTimeout();
    EXPECT_EQ(m_owner->outcomes, Outcomes{});
    requestor->detach();
}

TEST_F(Wire, TakesAnswersInWhateverOrderTheyCome)
{
    constexpr int kRequests = 8;
    std::vector<std::future<Outcome>> calls;
    std::vector<std::string> answers;
    for (int i = 0; i < kRequests; ++i) {
        calls.push_back(send(std::string(1, static_cast<char>('a' + i))));
        readRequest();
        answers.push_back(telegram("0002", hex(unhex(kGood)) + hex64(static_cast<unsigned>(i))));
    }
    for (int i = kRequests - 1; i >= 0; --i)
        m_peer.write(unhex(answers[static_cast<std::size_t>(i)]));
    for (int i = 0; i < kRequests; ++i) {
        const Outcome outcome = calls[static_cast<std::size_t>(i)].get();
        EXPECT_EQ(outcome.result, ZEL_OK);
        EXPECT_EQ(hex(outcome.data), hex64(static_cast<unsigned>(i)));
    }
}

} // namespace
} // namespace zel::test
