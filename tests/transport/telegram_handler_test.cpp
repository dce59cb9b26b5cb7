#include "hexadecimal.h"
#include "logger.h"
#include "running_loop.h"
#include "tcp_telegram_handler.h"
#include "timer.h"

#include <future>
#include <mutex>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zel::test {
namespace {

constexpr std::uint64_t kPeer = 0x0000001234ab0001;
constexpr std::uint64_t kSelf = 0xbeef000000a1b2c3;

class Recorder : public iTransactionHandler {
public:
    void transactionArrived(std::uint64_t source, std::unique_ptr<clRxTelContainer> telegram,
                            clTcpTelHndlr&) override
    {
        const Bytes payload = telegram->payload();
        const std::lock_guard lock{m_mutex};
        m_telegrams.push_back(hex64(source) + ":" +
                              hex({reinterpret_cast<const char*>(payload.data()), payload.size()}));
    }
    void connectionLost(clTcpTelHndlr& connection) override
    {
        connection.close();
        const std::lock_guard lock{m_mutex};
        ++m_losses;
    }
    std::vector<std::string> telegrams() const
    {
        const std::lock_guard lock{m_mutex};
        return m_telegrams;
    }
    int losses() const
    {
        const std::lock_guard lock{m_mutex};
        return m_losses;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_telegrams;
    int m_losses = 0;
};

class TelegramHandler : public testing::Test {
protected:
    void SetUp() override { connect(); }
    void TearDown() override { m_handler->close(); }
    void connect()
    {
        auto socket = std::make_shared<communication::SocketNonblocking>(m_running.loop());
        ASSERT_EQ(socket->connect("127.0.0.1", m_peer.portText()), 0);
        m_peer.accept();
        m_handler = std::make_shared<clTcpTelHndlr>(socket, kPeer, kSelf, m_recorder);
        m_handler->start();
    }

    RunningLoop m_running;
    WirePeer m_peer;
    Recorder m_recorder;
    std::shared_ptr<clTcpTelHndlr> m_handler;
};

constexpr const char* kFrom = "0000001234ab0001:";
//                           start    Hlen Type Dlen Src              payload trailer
constexpr const char* kThree = "12345678 10 01 0003 0000001234ab0001 c0ffee 87654321";
constexpr const char* kEmpty = "12345678 10 01 0000 0000001234ab0001        87654321";
constexpr const char* kOther = "12345678 10 01 0001 00000000000000ff 2a     87654321";

TEST_F(TelegramHandler, FramesWhatItSends)
{
    const std::string head = "\x01\x02";
    const std::string data = "abc";
    const std::array<Bytes, 3> parts{asBytes(head.data(), 2), Bytes{}, asBytes(data.data(), 3)};
    EXPECT_EQ(m_handler->send(parts), 0);
    EXPECT_EQ(hex(m_peer.readTelegram()), "12345678"
                                          "10"
                                          "01"
                                          "0005"
                                          "beef000000a1b2c3"
                                          "0102616263"
                                          "87654321");
}

TEST_F(TelegramHandler, KeepsWhatCannotLeaveAtOnceInOrderAndWhole)
{
    constexpr int kThreads = 8;
    constexpr int kTelegrams = 100;
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([this, number] {
            for (int i = 0; i < kTelegrams; ++i) {
                const std::string head{static_cast<char>(number), static_cast<char>(i)};
                const std::string data(40000, static_cast<char>(number + i));
                const std::array<Bytes, 2> parts{asBytes(head.data(), head.size()),
                                                 asBytes(data.data(), data.size())};
                EXPECT_EQ(m_handler->send(parts), 0);
            }
        });
    }
    std::this_thread::sleep_for(200ms);
    std::array<int, kThreads> next{};
    for (int i = 0; i < kThreads * kTelegrams; ++i) {
        const std::string telegram = m_peer.readTelegram();
        const auto number = static_cast<std::size_t>(telegram[16]) % kThreads;
        ASSERT_EQ(telegram[17], next[number]);
        const std::string data(40000, static_cast<char>(telegram[16] + next[number]++));
        ASSERT_TRUE(telegram.substr(18) == data + unhex("87654321"));
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(m_recorder.losses(), 0);
}

TEST_F(TelegramHandler, MakesCallersWaitForRoomAndCallbacksNever)
{
    const std::string data(60000, 'x');
    const std::array<Bytes, 1> parts{asBytes(data.data(), data.size())};
    int sent = 0;
    auto lastSent = Clock::now();
    for (; m_handler->send(parts) == 0; ++sent)
        lastSent = Clock::now();
    EXPECT_GE(Clock::now() - lastSent, 2800ms);
    EXPECT_LT(Clock::now() - lastSent, 2900ms + kSlack);

    std::promise<std::pair<int, Milliseconds>> inCallback;
    sys::Timer timer{m_running.loop()};
    timer.set(1, [&] {
        const Stopwatch own;
        const int result = m_handler->send(parts);
        inCallback.set_value({result, own.elapsed()});
    });
    const auto [result, elapsed] = inCallback.get_future().get();
    EXPECT_EQ(result, 0);
    EXPECT_LT(elapsed, 500ms);
    for (int i = 0; i <= sent; ++i)
        ASSERT_EQ(m_peer.readTelegram().size(), data.size() + 20);
    EXPECT_EQ(m_recorder.losses(), 0);
}

TEST_F(TelegramHandler, PutsTelegramsTogetherInWhateverPiecesTheyCome)
{
    const std::string stream = unhex(kThree) + unhex(kEmpty) + unhex(kOther);
    std::vector<std::string> expected;
    for (const std::size_t piece : {stream.size(), std::size_t{1}, std::size_t{17}}) {
        for (std::size_t start = 0; start < stream.size(); start += piece) {
            m_peer.write(std::string_view{stream}.substr(start, piece));
            if (piece < 10)
                std::this_thread::sleep_for(1ms);
        }
        expected.insert(expected.end(),
                        {std::string{kFrom} + "c0ffee", kFrom, "00000000000000ff:2a"});
        EXPECT_TRUE(eventually([&] { return m_recorder.telegrams().size() == expected.size(); }));
        EXPECT_EQ(m_recorder.telegrams(), expected);
    }
    EXPECT_EQ(m_recorder.losses(), 0);
}

TEST_F(TelegramHandler, TakesTheLargestTelegram)
{
    const std::string payload(65535, 'z');
    m_peer.write(unhex("12345678 10 01 ffff 0000001234ab0001") + payload + unhex("87654321") +
                 unhex(kEmpty));
    EXPECT_TRUE(eventually([&] { return m_recorder.telegrams().size() == 2; }));
    EXPECT_EQ(m_recorder.telegrams().front(), kFrom + hex(payload));
}

TEST_F(TelegramHandler, GivesTheConnectionUpAfterWhatIsNoTransaction)
{
    const struct {
        const char* what;
        const char* bytes;
        const char* log;
    } cases[] = {
        {"start", "12345679 10 01 0001 0000001234ab0001 00 87654321", "frame check"},
        {"header length", "12345678 11 01 0001 0000001234ab0001 00 87654321", "frame check"},
        {"trailer", "12345678 10 01 0001 0000001234ab0001 00 87654320", "frame check"},
        {"address resolution", "12345678 10 02 0004 0000001234ab0001 01000000 87654321",
         "unexpected telegram type"},
        {"unknown type", "12345678 10 00 0000 0000001234ab0001 87654321",
         "unexpected telegram type"},
    };
    logger().configure("2000000", "3");
    int losses = 0;
    for (const auto& bad : cases) {
        const std::size_t good = m_recorder.telegrams().size();
        testing::internal::CaptureStderr();
        m_peer.write(unhex(kThree) + unhex(bad.bytes) + unhex(kThree));
        ++losses;
        EXPECT_TRUE(eventually([&] { return m_recorder.losses() == losses; })) << bad.what;
        EXPECT_EQ(m_recorder.telegrams().size(), good + 1) << bad.what << ": what follows is void";
        EXPECT_TRUE(m_peer.isClosedByOther()) << bad.what;
        EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr(bad.log));
        m_peer.close();
        connect();
    }
    logger().setOpen(false);
}

TEST_F(TelegramHandler, ReportsALossOnceAndFailsToSendAfterwards)
{
    int losses = 0;
    for (const bool inOrder : {true, false}) {
        // Within the header, within the payload, within the trailer.
        for (const std::size_t received : {0u, 7u, 18u, 21u}) {
            m_peer.write(unhex(kThree).substr(0, received));
            inOrder ? m_peer.close() : m_peer.reset();
            ++losses;
            EXPECT_TRUE(eventually([&] { return m_recorder.losses() == losses; }));
            EXPECT_EQ(m_handler->send({}), -1);
            connect();
        }
    }
    EXPECT_EQ(m_recorder.losses(), losses);
    EXPECT_TRUE(m_recorder.telegrams().empty());
}

} // namespace
} // namespace zel::test
