#include "library_with_module.h"
#include "ZEL_VR_Framework.hpp"

#include <thread>

namespace zel::test {
namespace {

using simulator::FaultKind;

constexpr const char* kSignal = "AnalogIn_Connector0.Signal0";

class CppSubscriptions : public LibraryWithModule {
protected:
    void SetUp() override
    {
        LibraryWithModule::SetUp();
        m_connected.emplace(Address{m_module.address(), m_module.port()});
        m_connected->set("Amplifier/Connector[@address=\"1\"]/Mode/AnalogInChannel/"
                         "SyncSignal[@address=\"1\"]/Waveform",
                         "Counter");
    }
    void TearDown() override
    {
        m_connected.reset();
        LibraryWithModule::TearDown();
    }

    Subscription started()
    {
        Subscription stream(*m_connected);
        EXPECT_EQ(stream.add(kSignal, 50), 1);
        EXPECT_EQ(stream.add(m_connected->signal("AnalogIn_Connector0.Signal1")), 2);
        stream.start();
        return stream;
    }

    /// Every value and time of the counter follows the one before.
    void take(const Block& block)
    {
        for (const Record& record : block) {
            if (record.signalId() != 1)
                continue;
            const auto values = record.values<double>();
            const auto times = record.times();
            for (std::size_t i = 0; i < values.size(); ++i, ++m_count) {
                m_began = m_count == 0 ? times[i] : m_began;
                ASSERT_EQ(values[i], static_cast<double>(m_count));
                // The record's time stamp is rounded, and so is what lies behind it.
                const auto due = m_began + timeOfIndex(m_count, record.millihertz());
                ASSERT_LE(due - times[i], 1u);
            }
        }
    }
    bool takeSome(Subscription& stream, Block& block, std::uint64_t count)
    {
        return eventually([&] {
            while (stream.fetch(block))
                take(block);
            take(block);
            return m_count >= count || HasFatalFailure();
        });
    }
    static std::int32_t codeOf(const std::function<void()>& call)
    {
        try {
            call();
        } catch (const Error& error) {
            return error.code();
        }
        return ZEL_OK;
    }

    std::optional<Module> m_connected;
    std::uint64_t m_count = 0;
    std::uint64_t m_began = 0;
};

TEST_F(CppSubscriptions, BringEveryValueIntoABlockThatIsUsedAgain)
{
    Subscription stream = started();
    Block block(4000);
    const std::byte* const room = block.room();
    EXPECT_TRUE(takeSome(stream, block, 600));
    EXPECT_EQ(block.room(), room);
    EXPECT_EQ(codeOf([&] { stream.add(kSignal); }), ZEL_DAQ_SUBSCRIPTION_STATE);
    Block view{std::span<const std::byte>{}};
    EXPECT_THROW(stream.fetch(view), std::invalid_argument);
    stream.finish();
    stream.finish();
    EXPECT_LT(codeOf([&] { stream.fetch(block); }), ZEL_OK);
    EXPECT_TRUE(block.empty());
    EXPECT_LT(codeOf([&] {
                  Subscription other(*m_connected);
                  other.add("AnalogIn_Connector77.Signal0");
                  other.start();
              }),
              ZEL_OK);
}

TEST_F(CppSubscriptions, AreReplacedByTheNextOneOfTheModuleAndLeaveItAlone)
{
    Subscription first = started();
    Module again(m_connected->address());
    Subscription second(again);
    EXPECT_TRUE(first.isReplaced());
    second.add(kSignal, 100);
    second.start();
    Block block;
    EXPECT_EQ(codeOf([&] { first.fetch(block); }), ZEL_DAQ_SUBSCRIPTION_STATE);
    first.finish();
    {
        const Subscription gone = std::move(first);
    }
    // The module stays connected for its subscription.
    m_connected.reset();
    {
        const Module gone = std::move(again);
    }
    EXPECT_TRUE(takeSome(second, block, 200));
    second = [&] {
        Subscription third(Module(Address{m_module.address(), m_module.port()}));
        third.add(kSignal);
        third.start();
        return third;
    }();
    m_count = 0;
    EXPECT_TRUE(takeSome(second, block, 200));
}

TEST_F(CppSubscriptions, FetchWithoutWaiting)
{
    Subscription stream = started();
    Block block;
    EXPECT_TRUE(eventually([&] {
        PendingFetch pending = stream.fetchLater(std::move(block));
        PendingFetch moved = std::move(pending);
        block = moved.get();
        EXPECT_FALSE(pending || moved);
        take(block);
        return m_count >= 100;
    }));
    m_module.setFault(fault(FaultKind::silence));
    EXPECT_EQ(codeOf([&] { stream.fetchLater(Block{}).get(20ms); }), ZEL_UTIL_WAIT_TIMEOUT);
    {
        const PendingFetch givenUp = stream.fetchLater(Block{});
    }
    PendingFetch lost = stream.fetchLater(Block{});
    m_connected->disconnect();
    EXPECT_EQ(codeOf([&] { lost.get(); }), ZEL_CONN_RECEIVE_FAILED);
    EXPECT_THROW(lost.get(), std::logic_error);
    EXPECT_EQ(codeOf([&] { stream.fetchLater(Block{}).get(); }), ZEL_CONN_UNKNOWN_UUID);
}

TEST_F(CppSubscriptions, SurviveThatTheHostStopsTheLibraryItself)
{
    Subscription stream = started();
    m_module.setFault(fault(FaultKind::silence));
    PendingFetch pending = stream.fetchLater(Block{});
    PendingFetch dropped = stream.fetchLater(Block{});
    ZEL_Unload();
    EXPECT_EQ(codeOf([&] { pending.get(); }), ZEL_SYS_NOT_STARTED);
    Block block;
    EXPECT_EQ(codeOf([&] { stream.fetch(block); }), ZEL_SYS_NOT_STARTED);
}

} // namespace
} // namespace zel::test
