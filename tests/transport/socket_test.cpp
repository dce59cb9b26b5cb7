#include "exception.h"
#include "running_loop.h"
#include "socket_nonblocking.h"

#include <future>
#include <list>

#include <gtest/gtest.h>

#ifdef __linux__
#include <csignal>

#include <pthread.h>
#endif

namespace zel::test {
namespace {

using communication::SocketNonblocking;

MutableBytes into(std::string& buffer, std::size_t offset, std::size_t size)
{
    return {reinterpret_cast<std::byte*>(buffer.data()) + offset, size};
}

class SocketTest : public testing::Test {
protected:
    void connect()
    {
        ASSERT_EQ(m_socket->connect("127.0.0.1", m_peer.portText()), 0);
        m_peer.accept();
    }
    int receiveAll(std::size_t size, int timeoutMs)
    {
        m_buffer.assign(size, '#');
        return m_socket->receiveComplete(into(m_buffer, 0, size), timeoutMs);
    }

    RunningLoop m_running;
    WirePeer m_peer;
    std::optional<SocketNonblocking> m_socket{m_running.loop()};
    std::string m_buffer;
};

TEST_F(SocketTest, ReadsAheadAndGivesShortReadsFromWhatItHolds)
{
    connect();
    std::promise<std::vector<int>> counts;
    std::string text(20, '#');
    m_peer.write("0123456789");
    m_socket->setDataCb([&](SocketNonblocking& socket) {
        std::vector<int> got{socket.receive(into(text, 0, 6)), socket.receive(into(text, 6, 10)),
                             socket.receive(into(text, 10, 10))};
        m_peer.write("abcdefghij");
        got.push_back(socket.receiveComplete(into(text, 10, 4), 2000));
        got.push_back(socket.receiveComplete(into(text, 14, 6), 2000));
        socket.retire();
        counts.set_value(got);
        return 1;
    });
    EXPECT_EQ(counts.get_future().get(), (std::vector{6, 4, -1, 4, 6}));
    EXPECT_EQ(text, "0123456789abcdefghij");
}

TEST_F(SocketTest, BoundsAWholeReadInTotalHoweverSlowlyBytesCome)
{
    connect();
    auto dripping = std::async(std::launch::async, [&] {
        for (int i = 0; i < 20; ++i) {
            m_peer.write("x");
            std::this_thread::sleep_for(40ms);
        }
    });
    const Stopwatch watch;
    EXPECT_EQ(receiveAll(100, 300), -1);
    EXPECT_GE(watch.elapsed(), 300ms);
    EXPECT_LT(watch.elapsed(), 300ms + kSlack);
    dripping.get();
}

#ifdef __linux__
TEST_F(SocketTest, WaitsOnWhenTheHostHandlesASignal)
{
    connect();
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    int received = 0;
    std::thread reader{[&] { received = receiveAll(4, 5000); }};
    for (int i = 0; i < 20; ++i) {
        std::this_thread::sleep_for(5ms);
        pthread_kill(reader.native_handle(), SIGUSR1);
    }
    m_peer.write("four");
    reader.join();
    EXPECT_EQ(received, 4);
}
#endif

TEST_F(SocketTest, FailsAReadWhenThePeerGoes)
{
    for (const bool inOrder : {true, false}) {
        connect();
        m_peer.write("four");
        EXPECT_EQ(receiveAll(4, 2000), 4);
        EXPECT_EQ(m_buffer, "four");
        auto read = std::async(std::launch::async, [&] { return receiveAll(1, -1); });
        std::this_thread::sleep_for(20ms);
        inOrder ? m_peer.close() : m_peer.reset();
        EXPECT_EQ(read.get(), -1);
        m_socket->disconnect();
    }
}

TEST_F(SocketTest, WatchesAgainAfterANewConnect)
{
    std::atomic<int> calls = 0;
    connect();
    m_socket->setDataCb([&](SocketNonblocking& socket) {
        std::string byte(1, '#');
        const int count = socket.receive(into(byte, 0, 1));
        calls += count > 0;
        return count;
    });
    for (int round = 1; round <= 3; ++round) {
        m_peer.write("12");
        EXPECT_TRUE(eventually([&] { return calls == 2 * round; }));
        m_socket->disconnect();
        EXPECT_TRUE(m_peer.isClosedByOther());
        m_peer.close();
        connect();
    }
}

TEST_F(SocketTest, FailsToConnectWithinItsTime)
{
    EXPECT_EQ(m_socket->connect("no host has this name.invalid", "55000"), -1);
    EXPECT_EQ(m_socket->connect("127.0.0.1", "no port"), -1);
    const auto unusedPort = std::make_unique<WirePeer>()->portText();
    EXPECT_EQ(m_socket->connect("127.0.0.1", unusedPort), -1);

    // A queue that is full leaves a further connection half made.
    WirePeer busy{0};
    std::list<SocketNonblocking> waiting;
    for (int i = 0; i < 4; ++i)
        waiting.emplace_back(m_running.loop());
    std::list<std::future<int>> others;
    for (SocketNonblocking& socket : waiting) {
        others.push_back(std::async(std::launch::async,
                                    [&] { return socket.connect("127.0.0.1", busy.portText()); }));
    }
    std::this_thread::sleep_for(200ms);
    const Stopwatch watch;
    EXPECT_EQ(m_socket->connect("127.0.0.1", busy.portText()), -1);
    EXPECT_GE(watch.elapsed(), 4900ms);
    EXPECT_LT(watch.elapsed(), 5000ms + kSlack);
}

TEST_F(SocketTest, LeavesABrokenSendToTheReceivingSide)
{
    connect();
    const std::string large(64u << 20, 'x');
    const Bytes bytes = asBytes(large.data(), large.size());
    auto stuck = std::async(std::launch::async, [&] { return m_socket->sendBlock(bytes); });
    EXPECT_EQ(stuck.wait_for(50ms), std::future_status::timeout);
    m_peer.reset();
    EXPECT_EQ(stuck.get(), static_cast<int>(large.size()));
}

} // namespace
} // namespace zel::test
