#include "library_with_module.h"
#include "process_facts.h"
#include "waiting.h"

#include <atomic>
#include <cstring>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace zel::test {
namespace {

using simulator::FaultKind;
using simulator::MethodAnswer;
using simulator::MethodCall;

class AsynchronousReads : public LibraryWithModule {
protected:
    void SetUp() override
    {
        LibraryWithModule::SetUp();
        m_uuid = connected(m_module);
        answer({0, "12345"});
    }

    void answer(const MethodAnswer& answer)
    {
        m_module.setHandler(5, 1, [answer](const MethodCall&) { return answer; });
    }
    std::uint32_t start(std::uint64_t size)
    {
        std::memset(m_buffer, '#', sizeof m_buffer);
        m_received = 99;
        std::uint32_t handle = 0;
        EXPECT_EQ(ZEL_XDAQ_Async_GetMeasValBlock(m_uuid, m_buffer, &m_received, size, &handle),
                  ZEL_OK);
        return handle;
    }
    std::string buffer() const { return {m_buffer, sizeof m_buffer}; }

    std::uint64_t m_uuid = 0;
    char m_buffer[8];
    std::uint64_t m_received = 0;
};

TEST_F(AsynchronousReads, BringTheBlockOnce)
{
    m_module.clearReceived();
    const std::uint32_t handle = start(5);
    EXPECT_EQ(ZEL_XCOM_Async_ReadData(handle), ZEL_OK);
    EXPECT_EQ(m_received, 5u);
    EXPECT_EQ(buffer(), "12345###");
    EXPECT_EQ(m_module.received(5, 1).at(0).data,
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?><SrvParams><MaxSize>5</MaxSize>"
              "</SrvParams>");
    EXPECT_EQ(ZEL_XCOM_Async_ReadData(handle), ZEL_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(ZEL_XCOM_Async_ReadData_Timeout(handle + 1000, 0), ZEL_INDEX_OUT_OF_RANGE);

    EXPECT_EQ(ZEL_XCOM_Async_ReadData(start(4)), ZEL_SRV_BUFFER_TOO_SMALL);
    EXPECT_EQ(m_received, 5u);
    EXPECT_EQ(buffer(), "########");

    std::uint32_t ignored = 0;
    EXPECT_EQ(ZEL_XDAQ_Async_GetMeasValBlock(m_uuid, nullptr, &m_received, 1, &ignored),
              ZEL_SYS_BAD_PARAMETER);
    EXPECT_EQ(ZEL_XDAQ_Async_GetMeasValBlock(m_uuid, m_buffer, nullptr, 1, &ignored),
              ZEL_SYS_BAD_PARAMETER);
    EXPECT_EQ(ZEL_XDAQ_Async_GetMeasValBlock(m_uuid, m_buffer, &m_received, 1, nullptr),
              ZEL_SYS_BAD_PARAMETER);
}

TEST_F(AsynchronousReads, TellWhatFailed)
{
    answer({-1014030, ""});
    m_module.clearReceived();
    EXPECT_EQ(ZEL_XCOM_Async_ReadData(start(8)), -1014030);
    m_module.setFault(fault(FaultKind::wrongMethod, 0ms, 1));
    EXPECT_EQ(ZEL_XCOM_Async_ReadData(start(8)), ZEL_SRV_RESPONSE_MISMATCH);
    const std::uint32_t open = start(8);
    // Answers come in order: with this one the one before is here.
    EXPECT_EQ(echo(m_uuid), ZEL_OK);
    m_module.setFault(fault(FaultKind::silence));
    const std::uint32_t lost = start(8);
    EXPECT_TRUE(m_module.waitForCalls(5, 5000ms));
    EXPECT_EQ(ZEL_XCOM_Disconnect(m_uuid), ZEL_OK);
    EXPECT_EQ(ZEL_XCOM_Async_ReadData(lost), ZEL_CONN_RECEIVE_FAILED);
    EXPECT_EQ(ZEL_XCOM_Async_ReadData(open), -1014030);
    EXPECT_EQ(ZEL_XCOM_Async_ReadData(start(8)), ZEL_CONN_UNKNOWN_UUID);
}

TEST_F(AsynchronousReads, GiveUpAfterTheirTime)
{
    m_module.setFault(fault(FaultKind::delay, 300ms));
    const std::uint32_t handle = start(8);
    const Stopwatch watch;
    EXPECT_EQ(ZEL_XCOM_Async_ReadData_Timeout(handle, 50), ZEL_UTIL_WAIT_TIMEOUT);
    EXPECT_LT(watch.elapsed(), 300ms);
    EXPECT_EQ(ZEL_XCOM_Async_ReadData_Timeout(handle, 50), ZEL_INDEX_OUT_OF_RANGE);
    // The answer comes, and finds nobody.
    std::this_thread::sleep_for(400ms);
    EXPECT_EQ(buffer(), "########");
    EXPECT_EQ(m_received, 99u);

    // A module that never answers: five seconds, or the transaction's three.
    m_module.clearFaults();
    m_module.setFault(fault(FaultKind::pendingOnly, 20000ms));
    const Stopwatch whole;
    EXPECT_EQ(ZEL_XCOM_Async_ReadData(start(8)), ZEL_UTIL_WAIT_TIMEOUT);
    EXPECT_GE(whole.elapsed(), 5000ms);
    EXPECT_LT(whole.elapsed(), 5000ms + kSlack);
}

TEST_F(AsynchronousReads, ManyAreOpenAtOnce)
{
    constexpr std::size_t kReads = 500;
    std::vector<std::vector<char>> buffers(kReads, std::vector<char>(5));
    std::vector<std::uint64_t> lengths(kReads);
    std::vector<std::uint32_t> handles(kReads);
    for (std::size_t i = 0; i < kReads; ++i)
        ASSERT_EQ(
            ZEL_XDAQ_Async_GetMeasValBlock(m_uuid, buffers[i].data(), &lengths[i], 5, &handles[i]),
            ZEL_OK);
    for (std::size_t i = kReads; i-- > 0;) {
        ASSERT_EQ(ZEL_XCOM_Async_ReadData(handles[i]), ZEL_OK);
        ASSERT_EQ(std::string(buffers[i].begin(), buffers[i].end()), "12345");
    }
}

// The caller's memory is his again as soon as the read is over, whatever is just arriving.
TEST_F(AsynchronousReads, WriteNothingOnceTheyAreGivenUp)
{
    constexpr std::uint64_t kSize = 100000;
    answer({0, std::string(kSize, 'x')});
    std::atomic<bool> isOver{false};
    std::thread others{[&] {
        while (!isOver)
            echo(m_uuid);
    }};
    for (int round = 0; round < 300; ++round) {
        auto block = std::make_unique<char[]>(kSize);
        auto received = std::make_unique<std::uint64_t>(0);
        std::uint32_t handle = 0;
        ASSERT_EQ(
            ZEL_XDAQ_Async_GetMeasValBlock(m_uuid, block.get(), received.get(), kSize, &handle),
            ZEL_OK);
        std::this_thread::sleep_for(std::chrono::microseconds{round * 3});
        const std::int32_t result = ZEL_XCOM_Async_ReadData_Timeout(handle, 0);
        ASSERT_TRUE(result == ZEL_OK || result == ZEL_UTIL_WAIT_TIMEOUT) << result;
        ASSERT_EQ(*received, result == ZEL_OK ? kSize : *received);
    }
    isOver = true;
    others.join();
}

TEST_F(AsynchronousReads, KeepNoSocketOfAConnectionThatIsOver)
{
    constexpr std::size_t kRounds = 40;
    const std::size_t before = processFacts().descriptors;
    for (std::size_t round = 0; round < kRounds; ++round) {
        start(8);
        EXPECT_EQ(ZEL_XCOM_Disconnect(m_uuid), ZEL_OK);
        m_uuid = connected(m_module);
    }
    EXPECT_TRUE(eventually([&] { return processFacts().descriptors < before + kRounds / 2; }));
}

TEST_F(AsynchronousReads, MayBeOpenWhenTheLibraryIsUnloaded)
{
    m_module.setFault(fault(FaultKind::silence));
    auto block = std::make_unique<char[]>(100);
    std::uint64_t received = 0;
    std::uint32_t handle = 0;
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(ZEL_XDAQ_Async_GetMeasValBlock(m_uuid, block.get(), &received, 100, &handle),
                  ZEL_OK);
    ZEL_Unload();
    block.reset();
    EXPECT_EQ(ZEL_XCOM_Async_ReadData(handle), ZEL_SYS_NOT_STARTED);
}

} // namespace
} // namespace zel::test
