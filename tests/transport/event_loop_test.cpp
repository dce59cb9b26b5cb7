#include "running_loop.h"
#include "timer.h"

#include <atomic>
#include <future>

#include <gtest/gtest.h>

namespace zel::test {
namespace {

class EventLoopTest : public testing::Test {
protected:
    /// Waits until the loop has handled what came before.
    void settle()
    {
        const int before = m_settled;
        m_marker.notify();
        EXPECT_TRUE(eventually([&] { return m_settled > before; }));
    }

    RunningLoop m_running;
    sys::EventLoop& m_loop = m_running.loop();
    std::atomic<int> m_calls = 0;
    WatchedSocket m_socket{m_loop};

private:
    std::atomic<int> m_settled = 0;
    WatchedSocket m_marker{m_loop};
    const int m_watched = m_marker.watch([this] {
        m_marker.drain();
        ++m_settled;
        return 0;
    });
};

TEST_F(EventLoopTest, CallsAgainForAsLongAsTheCallbackWantsIt)
{
    m_socket.watch([&] { return ++m_calls < 5 ? 1 : 0; });
    m_socket.notify();
    EXPECT_TRUE(eventually([&] { return m_calls == 5; }));
    settle();
    EXPECT_EQ(m_calls, 5);
}

TEST_F(EventLoopTest, LeavesTimersAndOtherEventsTheirTurnHoweverMuchOneHas)
{
    m_socket.watch([&] {
        ++m_calls;
        return 1;
    });
    m_socket.notify();
    EXPECT_TRUE(eventually([&] { return m_calls > 0; }));
    std::promise<bool> expired;
    sys::Timer timer{m_loop};
    timer.set(20, [&] { expired.set_value(true); });
    EXPECT_EQ(expired.get_future().wait_for(5s), std::future_status::ready);
    settle();
    m_socket.erase();
}

TEST_F(EventLoopTest, ReplacesTheCallbackOfASecondRegistrationAndRefusesAnEmptyOne)
{
    std::atomic<int> second = 0;
    const auto count = [this](std::atomic<int>& calls) {
        return [this, &calls] {
            m_socket.drain();
            ++calls;
            return 0;
        };
    };
    EXPECT_EQ(m_socket.watch(count(m_calls)), 0);
    EXPECT_EQ(m_socket.watch(count(second)), 0);
    EXPECT_EQ(m_loop.addEvent(m_socket.event(), {}), -1);
    m_socket.notify();
    EXPECT_TRUE(eventually([&] { return second == 1; }));
    EXPECT_EQ(m_calls, 0);
}

TEST_F(EventLoopTest, DropsWhatComesForAnErasedEvent)
{
    m_socket.watch([&] {
        ++m_calls;
        EXPECT_EQ(m_socket.erase(), 0) << "a callback may erase itself";
        return 1;
    });
    m_socket.notify();
    EXPECT_TRUE(eventually([&] { return m_calls == 1; }));
    m_socket.notify();
    settle();
    EXPECT_EQ(m_calls, 1);
    EXPECT_EQ(m_socket.erase(), 0) << "also when there is nothing to erase";
}

TEST_F(EventLoopTest, WaitsInEraseForTheCallbackThatIsRunning)
{
    std::promise<void> entered;
    std::promise<void> released;
    m_socket.watch([&] {
        if (++m_calls == 1) {
            entered.set_value();
            released.get_future().wait();
        }
        return 1;
    });
    m_socket.notify();
    entered.get_future().wait();
    auto erased = std::async(std::launch::async, [&] { return m_socket.erase(); });
    WatchedSocket other{m_loop};
    EXPECT_EQ(other.watch([] { return 0; }), 0) << "nobody else has to wait for it";
    EXPECT_EQ(other.erase(), 0);
    EXPECT_EQ(erased.wait_for(50ms), std::future_status::timeout);
    released.set_value();
    EXPECT_EQ(erased.get(), 0);
    const int calls = m_calls;
    m_socket.notify();
    settle();
    EXPECT_EQ(m_calls, calls);
}

TEST_F(EventLoopTest, LetsCallbacksAddAndEraseOthers)
{
    WatchedSocket other{m_loop};
    std::atomic<bool> isOn = true;
    std::thread adding{[&] {
        while (isOn) {
            other.watch([&] { return 0; });
            other.erase();
        }
    }};
    m_socket.watch([&] {
        m_socket.drain();
        m_loop.addEvent({1, sys::kNoSocket}, [] { return 0; });
        m_loop.eraseEvent({1, sys::kNoSocket});
        ++m_calls;
        return 0;
    });
    for (int i = 1; i <= 50; ++i) {
        m_socket.notify();
        EXPECT_TRUE(eventually([&] { return m_calls >= i; }));
    }
    isOn = false;
    adding.join();
}

TEST_F(EventLoopTest, RefusesASocketThatCannotBeWatched)
{
    EXPECT_EQ(m_loop.addEvent({77, static_cast<sys::NativeSocket>(987654)}, [] { return 0; }), -1);
    m_loop.eraseEvent({77, sys::kNoSocket});
}

TEST_F(EventLoopTest, StopsWithEventsRegisteredAndTimersRunning)
{
    m_socket.watch([] { return 0; });
    sys::Timer timer{m_loop};
    timer.set(60000, [&] { ++m_calls; });
    EXPECT_EQ(m_running.stop(), 0);
    EXPECT_TRUE(m_loop.canRun());
    EXPECT_EQ(m_calls, 0);
}

} // namespace
} // namespace zel::test
