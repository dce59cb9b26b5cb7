// What is started and stopped for weeks on end must leave nothing behind.

#include "library_with_module.h"

#include <thread>
#include <vector>

namespace zel::test {
namespace {

constexpr int kRounds = 1000;

class ManyRounds : public LibraryWithModule {
protected:
    /// What is held when there is no connection.
    ProcessFacts settled()
    {
        EXPECT_TRUE(m_module.waitForConnections(0, 5s));
        m_module.clearReceived();
        return processFacts();
    }
    void expectNoMoreThan(const ProcessFacts& warm)
    {
        EXPECT_TRUE(eventually([&] {
            const ProcessFacts now = settled();
            return now.threads <= warm.threads && now.descriptors <= warm.descriptors + 4;
        })) << warm.descriptors
            << " descriptors before, " << processFacts().descriptors << " after; " << warm.threads
            << " threads before, " << processFacts().threads << " after";
        EXPECT_TRUE(!isMemoryTelling() ||
                    processFacts().residentBytes < warm.residentBytes + (4u << 20))
            << warm.residentBytes << " bytes before, " << processFacts().residentBytes << " after";
    }
};

TEST_F(ManyRounds, OfStartAndStopLeaveNothingBehind)
{
    const auto round = [&](int number) {
        ZEL_Init();
        const std::uint64_t uuid = connected(m_module);
        EXPECT_EQ(echo(uuid, std::string(1000, 'x')), ZEL_OK);
        if (number % 3 == 0)
            m_module.dropConnections();
        if (number % 3 == 1)
            ZEL_XCOM_Disconnect(uuid);
        ZEL_Unload();
    };
    ZEL_Unload();
    ProcessFacts warm;
    for (int number = 0; number < kRounds && !HasFailure(); ++number) {
        round(number);
        if (number == kRounds / 10)
            warm = settled();
    }
    expectNoMoreThan(warm);
}

TEST_F(ManyRounds, OfConnectAndDisconnectLeaveNothingBehind)
{
    ProcessFacts warm;
    for (int number = 0; number < kRounds && !HasFailure(); ++number) {
        const std::uint64_t uuid = connected(m_module);
        EXPECT_EQ(echo(uuid), ZEL_OK);
        if (number % 2 == 0) {
            EXPECT_EQ(ZEL_XCOM_Disconnect(uuid), ZEL_OK);
        } else {
            m_module.dropConnections();
            EXPECT_TRUE(eventually([&] { return echo(uuid) == ZEL_CONN_UNKNOWN_UUID; }));
        }
        if (number == kRounds / 10)
            warm = settled();
    }
    expectNoMoreThan(warm);
}

TEST_F(ManyRounds, OfStartAndStopMayRunOnSeveralThreads)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            for (int round = 0; round < 100; ++round) {
                EXPECT_EQ(ZEL_Init(), 1);
                if ((round + i) % 2 == 0)
                    ZEL_Unload();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    ZEL_Init();
    EXPECT_EQ(echo(connected(m_module)), ZEL_OK);
}

TEST_F(ManyRounds, OfStopMayMeetConnectionsThatEndJustThen)
{
    for (int number = 0; number < 100; ++number) {
        ZEL_Init();
        connected(m_module);
        std::thread dropping{
            [&] { number % 2 ? m_module.dropConnections() : m_module.resetConnections(); }};
        ZEL_Unload();
        dropping.join();
    }
}

} // namespace
} // namespace zel::test
