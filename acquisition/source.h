#pragma once

#include "block_decoder.h"
#include "clock_estimator.h"

#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace zel::acquisition {

/// One module that is recorded: its link, its subscription, what it sends. A link that is lost is
/// dialled again, and the subscription made anew.
///
/// step() by one thread at a time; state() by any.
class Source {
public:
    using Clock = std::chrono::steady_clock;

    struct Options {
        bool mayReconnect = true;
        std::chrono::milliseconds pause{50}; ///< between two fetches when the module has no more
    };
    /// Something that a person should know: "the link is lost: ...".
    using Notice = std::function<void(const std::string&)>;
    using Deliver = std::function<void(SharedBatch)>;

    /// `signals`: positions in Setup::signals. `name`: how the module was asked for; what is no
    /// address is looked for again when it is gone. `deliver` and `notice` are called by the thread
    /// in step(). The setup must outlive this.
    Source(const Setup& setup, std::size_t module, std::vector<std::size_t> signals,
           Module connected, ModuleTarget name, const Options& options, Deliver deliver,
           Notice notice);

    /// Subscribes. Throws Error when the module refuses.
    void begin();
    /// Does what is next: fetches or dials, for as long as the module takes to answer. The block is
    /// any one of the caller's. Gives the time at which it should be called again.
    Clock::time_point step(Block& block);
    /// Fetches what the module has measured until now, then ends the subscription.
    void finish(Block& block);

    enum class Link : std::uint8_t { up, lost, ended };
    struct State {
        Link link = Link::up;
        std::uint64_t outages = 0;
        std::uint64_t samples = 0; ///< received
        std::uint64_t missing = 0; ///< known to be missing
        std::uint64_t gaps = 0;
        std::uint64_t newest = 0; ///< time of the newest sample, by the module's clock
        std::optional<ClockEstimator::Estimate> clock;
        std::string problem; ///< why the link is not up
        std::int32_t code = 0; ///< of the library, where that was its answer
    };
    State state() const;

private:
    Clock::time_point fetch(Block& block);
    bool fetchOnce(Block& block);
    void deliver(Batch batch, bool isAll, std::uint64_t roundTrip);
    void lookAtClock(Batch& batch, std::uint64_t roundTrip);
    void nameOverruns(Batch& batch);
    Clock::time_point fetchFailed(const Error& error);
    Clock::time_point lose(const Error& why);
    Clock::time_point dial();
    void subscribe(std::uint64_t start);
    std::uint64_t startTime() const;

    const Setup& m_setup;
    const std::size_t m_index;
    const std::vector<std::size_t> m_signals;
    const ModuleTarget m_name;
    const std::uint64_t m_uuid;
    const Options m_options;
    const Deliver m_deliver;
    const Notice m_notice;

    // whoever steps
    std::optional<Module> m_module;
    std::optional<Subscription> m_subscription;
    BlockDecoder m_decoder;
    ClockEstimator m_clock;
    Clock::time_point m_caughtUp;
    Clock::time_point m_lostAt;
    Clock::time_point m_overrunsAsked;
    bool m_hasOverrun = false;
    std::chrono::milliseconds m_delay{0};
    int m_failures = 0; // of fetches, one after the other

    mutable std::mutex m_mutex;
    State m_state; // under m_mutex
};

} // namespace zel::acquisition
