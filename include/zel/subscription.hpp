/**
 * @file subscription.hpp
 * Measured values in blocks. Included by ZEL_VR_Framework.hpp.
 */
#ifndef ZEL_SUBSCRIPTION_HPP
#define ZEL_SUBSCRIPTION_HPP

#include "block.hpp"
#include "connection.hpp"
#include "module.hpp"
#include "signal.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

namespace zel {

/// A fetch that is under way while its caller does something else. Holds the block until it comes.
///
/// A pending fetch that is destroyed is given up: the library has let go of the block when the
/// destructor returns, and the answer, if it still comes, is dropped with the values in it. It
/// holds a Library, so that none of this interface unloads the library under it; where the host
/// itself calls ZEL_Unload, get() gives ZEL_SYS_NOT_STARTED and nothing is written any more.
///
/// One thread at a time. Starting and collecting wait for each other over all modules: a get() that
/// waits holds up the get() and the fetchLater() of all other threads. Move only; one that was
/// moved from, or collected, holds nothing.
class PendingFetch {
public:
    PendingFetch(PendingFetch&& other) noexcept
        : m_module(std::move(other.m_module)), m_state(std::move(other.m_state))
    {
    }
    PendingFetch& operator=(PendingFetch&& other) noexcept
    {
        giveUp();
        m_module = std::move(other.m_module);
        m_state = std::move(other.m_state);
        return *this;
    }
    /// Waits for no module, but for a get() of another thread.
    ~PendingFetch() { giveUp(); }

    /// Whether there is something to collect.
    explicit operator bool() const noexcept { return m_state != nullptr; }

    /// Waits for the block and hands it over, filled (ZEL_XCOM_Async_ReadData_Timeout). However it
    /// ends the fetch is over then. Blocks for `timeout` at most. Throws Error: with the code
    /// ZEL_UTIL_WAIT_TIMEOUT after that time; ZEL_SRV_BUFFER_TOO_SMALL where the module sent more
    /// than was asked for; request codes. std::logic_error where there is nothing to collect.
    Block get(std::chrono::milliseconds timeout = std::chrono::seconds(5))
    {
        if (!m_state)
            throw std::logic_error("the fetch has been collected");
        const auto state = std::move(m_state);
        const auto module = std::move(m_module);
        const auto wait = std::clamp<std::int64_t>(timeout.count(), 0,
                                                   (std::numeric_limits<std::uint32_t>::max)());
        const std::int32_t code =
            ZEL_XCOM_Async_ReadData_Timeout(state->handle, static_cast<std::uint32_t>(wait));
        module->check(
            code, [] { return "fetch measured values"; }, Answer::data);
        state->block.setSize(state->received);
        return std::move(state->block);
    }

private:
    friend class Subscription;

    // Where the library writes: it stays in its place while this is moved.
    struct State {
        Block block;
        std::uint64_t received = 0;
        std::uint32_t handle = 0;
    };

    PendingFetch(detail::ConnectionPointer module, Block block)
        : m_module(std::move(module)), m_state(std::make_unique<State>(State{std::move(block)}))
    {
        State& state = *m_state;
        const std::int32_t code =
            ZEL_XDAQ_Async_GetMeasValBlock(m_module->uuid(), state.block.room(), &state.received,
                                           state.block.capacity(), &state.handle);
        m_module->check(
            code, [] { return "fetch measured values"; }, Answer::data);
    }

    void giveUp() noexcept
    {
        if (m_state)
            ZEL_XCOM_Async_ReadData_Timeout(m_state->handle, 0);
        m_state.reset();
        m_module.reset();
    }

    detail::ConnectionPointer m_module;
    std::unique_ptr<State> m_state;
};

/// Signals that a module measures and keeps for this host until they are fetched.
///
///     zel::Subscription stream(module);
///     stream.add("AnalogIn_Connector0.Signal0");
///     stream.start();
///     zel::Block block;
///     while (...)
///         if (!stream.fetch(block))
///             ... wait some 20 ms ...
///
/// A module has one subscription for all of this library. Opening another one replaces it: the one
/// that was there before throws Error with the code ZEL_DAQ_SUBSCRIPTION_STATE from then on, and
/// leaves the new one alone when it ends. Keeps its module connected.
///
/// Threads: fetch() and isReplaced() any number at the same time, each with a block of its own; all
/// others one at a time, and not while a fetch is running. Move only; what was moved from can only
/// be destroyed and assigned to.
class Subscription {
public:
    /// Elements in one record, at most; the module sends smaller ones when it is asked often.
    static constexpr std::uint64_t kLargestRecord = 65536;

    /// Opens a subscription (ZEL_XDAQ_OpenSubscription). Nothing is sent; waits for a start() of
    /// the module's that is under way. Throws Error.
    explicit Subscription(const Module& module)
        : m_module(module.m_connection),
          m_number(++numbers()),
          m_largest(std::make_unique<std::atomic<std::uint64_t>>(0))
    {
        m_module->share().subscription = m_number;
        m_module->check(ZEL_XDAQ_OpenSubscription(m_module->uuid()),
                        [] { return "open a subscription"; });
    }
    Subscription(Subscription&&) noexcept = default;
    Subscription& operator=(Subscription&& other) noexcept
    {
        clear();
        m_module = std::move(other.m_module);
        m_number = other.m_number;
        m_lastId = other.m_lastId;
        m_isStarted = other.m_isStarted;
        m_largest = std::move(other.m_largest);
        return *this;
    }
    /// Ends it, if finish() has not; blocks for the request time. What is left in the module is
    /// lost.
    ~Subscription() { clear(); }

    /// Adds a signal by its reference, and gives the number under which its records will come: 1,
    /// 2, and so on (ZEL_XDAQ_AddSignal). Nothing is sent: a signal that the module does not have
    /// shows at start(). Throws Error, with the code ZEL_DAQ_SUBSCRIPTION_STATE after start().
    std::uint16_t add(const std::string& reference, std::uint64_t largestRecord = kLargestRecord)
    {
        if (m_lastId == (std::numeric_limits<std::uint16_t>::max)())
            throw std::invalid_argument("a subscription takes 65535 signals");
        add(reference, static_cast<std::uint16_t>(m_lastId + 1), largestRecord);
        return m_lastId;
    }
    std::uint16_t add(const Signal& signal, std::uint64_t largestRecord = kLargestRecord)
    {
        return add(signal.reference, largestRecord);
    }
    /// The same under a number of the caller's.
    void add(const std::string& reference, std::uint16_t id, std::uint64_t largestRecord)
    {
        requireCurrent();
        m_module->check(
            ZEL_XDAQ_AddSignal(m_module->uuid(), detail::terminated(reference), id, largestRecord),
            [&] { return "subscribe to " + reference; });
        m_lastId = (std::max)(m_lastId, id);
    }

    /// Lets the module begin (ZEL_XDAQ_FinishSubscription): at `time`, nanoseconds since 1970 by
    /// the module's clock, or at once where that is 0 or has passed. Blocks for the request time.
    /// Throws Error; whatever the result, another attempt begins with a new Subscription.
    void start(std::uint64_t time = 0)
    {
        requireCurrent();
        m_module->check(ZEL_XDAQ_FinishSubscription(m_module->uuid(), time),
                        [] { return "start the subscription"; });
        m_isStarted = true;
    }

    /// Replaces what is in the block by what the module has ready (ZEL_XDAQ_GetMeasValBlock), also
    /// nothing, and waits for no more to be measured. Blocks for the request time; allocates
    /// nothing here.
    ///
    /// True where the module may have more to give at once, because this block is as full as blocks
    /// get: fetch again. False: this was all; look again some ten times a second.
    ///
    /// Throws Error; the block is empty then, but for ZEL_SRV_BUFFER_TOO_SMALL (the module sent
    /// more than it was asked for): its whole records are there, and walking it throws where they
    /// end. std::invalid_argument for a block without room.
    bool fetch(Block& block)
    {
        constexpr std::uint64_t kSmallestLimit = 16384;
        requireCurrent();
        if (block.capacity() == 0)
            throw std::invalid_argument("the block has no room of its own");
        std::uint64_t received = 0;
        const std::int32_t code =
            ZEL_XDAQ_GetMeasValBlock(m_module->uuid(), block.room(), &received, block.capacity());
        block.setSize(received);
        m_module->check(
            code, [] { return "fetch measured values"; }, Answer::data);
        std::uint64_t largest = m_largest->load(std::memory_order_relaxed);
        while (received > largest &&
               !m_largest->compare_exchange_weak(largest, received, std::memory_order_relaxed)) {
        }
        // Modules may have a limit of their own below what they are asked for.
        return received >= kSmallestLimit && received >= (std::max)(largest, received) / 2;
    }

    /// The same without waiting: gives the block to the library, and hands it back when it is
    /// collected (ZEL_XDAQ_Async_GetMeasValBlock). Waits while another thread collects one, and up
    /// to 3 s for the connection to take the request. Throws Error, std::invalid_argument for a
    /// block without room.
    PendingFetch fetchLater(Block block)
    {
        requireCurrent();
        if (block.capacity() == 0)
            throw std::invalid_argument("the block has no room of its own");
        return {m_module, std::move(block)};
    }

    /// Ends the subscription (ZEL_XDAQ_ClearSubscription); nothing to do for one that never started
    /// or was replaced. Blocks for the request time. Throws Error; it has ended all the same.
    void finish()
    {
        if (std::exchange(m_isStarted, false) && !isReplaced())
            m_module->check(ZEL_XDAQ_ClearSubscription(m_module->uuid()),
                            [] { return "end the subscription"; });
    }

    /// Whether another one has been opened for the same module, by this interface, since.
    bool isReplaced() const noexcept { return m_module->share().subscription != m_number; }

private:
    static std::atomic<std::uint64_t>& numbers()
    {
        static std::atomic<std::uint64_t> last{0};
        return last;
    }

    void requireCurrent() const
    {
        if (isReplaced())
            m_module->check(ZEL_DAQ_SUBSCRIPTION_STATE,
                            [] { return "use a subscription that another one has replaced"; });
    }

    void clear() noexcept
    {
        if (m_module && m_isStarted && !isReplaced())
            ZEL_XDAQ_ClearSubscription(m_module->uuid());
        m_isStarted = false;
    }

    detail::ConnectionPointer m_module;
    std::uint64_t m_number = 0;
    std::uint16_t m_lastId = 0;
    bool m_isStarted = false;
    std::unique_ptr<std::atomic<std::uint64_t>> m_largest; // block received
};

} // namespace zel

#endif
