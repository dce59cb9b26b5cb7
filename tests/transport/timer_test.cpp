#include "running_loop.h"
#include "timer.h"

#include <atomic>
#include <future>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

namespace zel::test {
namespace {

class TimerTest : public testing::Test {
protected:
    void TearDown() override { m_running.stop(); }

    RunningLoop m_running;
    sys::EventLoop& m_loop = m_running.loop();
    std::atomic<int> m_calls = 0;
    std::optional<sys::Timer> m_timer{m_loop};
};

TEST_F(TimerTest, ExpiresOnceOnTheLoopThreadAndNotEarly)
{
    std::promise<bool> expired;
    const Stopwatch watch;
    m_timer->set(60, [&] {
        ++m_calls;
        expired.set_value(m_loop.isLoopThread());
    });
    EXPECT_TRUE(expired.get_future().get());
    EXPECT_GE(watch.elapsed(), 60ms);
    EXPECT_LT(watch.elapsed(), 60ms + kSlack);
    std::this_thread::sleep_for(100ms);
    EXPECT_EQ(m_calls, 1);
}

TEST_F(TimerTest, ExpiresInTheOrderOfDeadlines)
{
    std::mutex mutex;
    std::vector<int> order;
    sys::Timer late{m_loop};
    sys::Timer early{m_loop};
    const auto note = [&](int which) {
        return [&, which] {
            const std::lock_guard lock{mutex};
            order.push_back(which);
        };
    };
    late.set(600, note(2));
    // The loop sleeps for the longer time already.
    std::this_thread::sleep_for(20ms);
    early.set(30, note(1));
    EXPECT_TRUE(eventually([&] {
        const std::lock_guard lock{mutex};
        return order.size() == 2;
    }));
    EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST_F(TimerTest, MayBeSetAnewOrDestroyedByItsOwnCallback)
{
    m_timer->set(5, [&] {
        ++m_calls;
        m_timer->set(5, [&] {
            m_timer.reset();
            ++m_calls;
        });
    });
    EXPECT_TRUE(eventually([&] { return m_calls == 2; }));
    EXPECT_FALSE(m_timer);
}

TEST_F(TimerTest, IsSilentWhenItIsStopped)
{
    m_timer->stop();
    m_timer->set(5, [&] { ++m_calls; });
    m_timer->stop();
    std::this_thread::sleep_for(40ms);
    EXPECT_EQ(m_calls, 0);
}

TEST_F(TimerTest, CountsAnewWhenItIsRestarted)
{
    const Stopwatch watch;
    std::promise<void> expired;
    m_timer->set(400, [&] { expired.set_value(); });
    std::this_thread::sleep_for(50ms);
    m_timer->restart(400);
    expired.get_future().wait();
    EXPECT_GE(watch.elapsed(), 450ms);
}

TEST_F(TimerTest, WaitsInStopForTheCallbackThatIsRunningAlsoWhenThatSetsItAnew)
{
    std::promise<void> entered;
    std::promise<void> released;
    m_timer->set(1, [&] {
        if (++m_calls == 1) {
            entered.set_value();
            released.get_future().wait();
        }
        m_timer->restart(1);
    });
    entered.get_future().wait();
    auto stopped = std::async(std::launch::async, [&] { m_timer->stop(); });
    EXPECT_EQ(stopped.wait_for(50ms), std::future_status::timeout);
    released.set_value();
    stopped.get();
    const int calls = m_calls;
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(m_calls, calls);
}

TEST_F(TimerTest, IsNotCalledAfterItsDestructionWhateverTheLoopIsDoing)
{
    for (std::uint32_t round = 0; round < 400; ++round) {
        auto alive = std::make_unique<std::atomic<bool>>(true);
        auto timer = std::make_unique<sys::Timer>(m_loop);
        timer->set(round % 3, [&] { EXPECT_TRUE(*alive); });
        if (round % 4 == 0)
            std::this_thread::sleep_for(1ms);
        timer.reset();
        alive.reset();
    }
}

} // namespace
} // namespace zel::test
