// What is recognised is built by the first call in a process: here by many threads at once, before
// any test of this program has run.

#include "signal_path.h"

#include <atomic>
#include <latch>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace zel {
namespace {

constexpr int kThreads = 8;
std::atomic<int> readByFirstCalls = 0;

class FirstCalls : public testing::Environment {
    void SetUp() override
    {
        std::latch start{kThreads};
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&start, i] {
                start.arrive_and_wait();
                const bool isPath = i % 2 == 0;
                const std::string path = signals::pathOf("CanReceiver_Connector0.Decoder1.Signal2");
                const auto numbers =
                    signals::parseSignalPath(isPath ? path : "AnalogIn_Connector1.Signal2");
                readByFirstCalls += numbers && numbers->connector == 2 ? 1 : 0;
            });
        }
        for (std::thread& thread : threads)
            thread.join();
    }
};

[[maybe_unused]] const auto* const kFirstCalls = testing::AddGlobalTestEnvironment(new FirstCalls);

TEST(SignalPaths, AreReadByTheFirstCallsOfManyThreads)
{
    EXPECT_EQ(readByFirstCalls, kThreads);
}

} // namespace
} // namespace zel
