#include "source.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zel::acquisition {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kFirstDelay{500};
constexpr milliseconds kLongestDelay{30'000};
constexpr std::chrono::seconds kTolerance{1};
constexpr int kMostFailures = 3;
/// "DAQ: Buffer overrun" in a module's list of errors.
constexpr std::int32_t kBufferOverrun = -1014085;

std::uint64_t hostTime()
{
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                          std::chrono::system_clock::now().time_since_epoch())
                                          .count());
}

std::uint64_t nanoseconds(Source::Clock::duration time)
{
    return static_cast<std::uint64_t>(
        std::max<std::int64_t>(std::chrono::nanoseconds(time).count(), 0));
}

std::string inSeconds(Source::Clock::duration time)
{
    const auto tenths = std::chrono::duration_cast<milliseconds>(time).count() / 100;
    return std::to_string(tenths / 10) + '.' + std::to_string(tenths % 10) + " s";
}

/// No answer, or one that made no sense.
bool isTransactionCode(std::int32_t code)
{
    return code <= ZEL_TRANS_WRONG_TYPE && code >= ZEL_TRANS_HEADER_ERROR;
}

bool reportsOverrun(const Module& module)
{
    ZEL_ErrorList errors{};
    if (ZEL_XSTAT_GetErrorStatus(module.uuid(), &errors) < ZEL_OK)
        return false;
    const std::size_t count = std::min<std::size_t>(errors.count, std::size(errors.entries));
    return std::any_of(errors.entries, errors.entries + count, [](const ZEL_ErrorEntry& error) {
        return error.code == kBufferOverrun;
    });
}

} // namespace

Source::Source(const Setup& setup, std::size_t module, std::vector<std::size_t> signals,
               Module connected, ModuleTarget name, const Options& options, Deliver deliver,
               Notice notice)
    : m_setup(setup),
      m_index(module),
      m_signals(std::move(signals)),
      m_name(std::move(name)),
      m_uuid(connected.uuid()),
      m_options(options),
      m_deliver(std::move(deliver)),
      m_notice(std::move(notice)),
      m_module(std::move(connected)),
      m_decoder(setup, module, m_signals)
{
}

void Source::begin()
{
    subscribe(0);
    m_caughtUp = Clock::now();
}

void Source::subscribe(std::uint64_t start)
{
    m_subscription.reset();
    m_subscription.emplace(*m_module);
    for (const std::size_t signal : m_signals)
        m_subscription->add(m_setup.signals[signal].reference);
    m_subscription->start(start);
}

Source::Clock::time_point Source::step(Block& block)
{
    try {
        return m_subscription ? fetch(block) : dial();
    } catch (const std::bad_alloc&) {
        // What has come and found no room is missing before what comes next.
        m_decoder.interrupt(Cause::queue);
        return Clock::now() + kFirstDelay;
    }
}

Source::Clock::time_point Source::fetch(Block& block)
{
    try {
        const bool hasMore = fetchOnce(block);
        m_failures = 0;
        return hasMore ? Clock::now() : Clock::now() + m_options.pause;
    } catch (const Error& error) {
        return fetchFailed(error);
    }
}

bool Source::fetchOnce(Block& block)
{
    const Clock::time_point asked = Clock::now();
    bool hasMore = false;
    try {
        hasMore = m_subscription->fetch(block);
    } catch (const Error& error) {
        // What is whole of it is there.
        if (error.code() != ZEL_SRV_BUFFER_TOO_SMALL)
            throw;
    }
    const Clock::time_point now = Clock::now();
    const BlockDecoder::Arrival arrival{hostTime(), nanoseconds(now - m_caughtUp + kTolerance)};
    deliver(m_decoder.decode(block, arrival), !hasMore, nanoseconds(now - asked));
    // An empty answer of a module that has just been subscribed anew is no sign of its samples.
    if (!hasMore && !block.empty())
        m_caughtUp = asked;
    return hasMore;
}

void Source::deliver(Batch batch, bool isAll, std::uint64_t roundTrip)
{
    if (batch.chunks.empty() && batch.gaps.empty())
        return;
    nameOverruns(batch);
    if (isAll)
        lookAtClock(batch, roundTrip);
    {
        const std::lock_guard lock{m_mutex};
        for (const Chunk& chunk : batch.chunks) {
            m_state.samples += chunk.count;
            m_state.newest =
                std::max(m_state.newest, batch.timeOf(chunk, chunk.count - 1));
        }
        for (const Gap& gap : batch.gaps) {
            m_state.missing += gap.count;
            if (gap.cause == Cause::clockSet || gap.cause == Cause::restart)
                m_state.newest = gap.end;
        }
        m_state.gaps += batch.gaps.size();
        m_state.clock = m_clock.estimate();
    }
    m_deliver(std::make_shared<const Batch>(std::move(batch)));
}

void Source::lookAtClock(Batch& batch, std::uint64_t roundTrip)
{
    for (const Gap& gap : batch.gaps)
        if (gap.cause == Cause::clockSet || gap.cause == Cause::restart)
            m_clock.restart();
    std::uint64_t newest = 0;
    std::uint64_t period = 0;
    for (const Chunk& chunk : batch.chunks) {
        const std::uint64_t time = batch.timeOf(chunk, chunk.count - 1);
        if (chunk.line.rate == 0 || time <= newest)
            continue;
        newest = time;
        period = 1'000'000'000'000 / chunk.line.rate;
    }
    if (newest == 0)
        return;
    m_clock.add(newest, batch.receivedAt, roundTrip, period);
    if (const auto estimate = m_clock.estimate())
        batch.clock = {m_index, estimate->moduleTime, estimate->offset, estimate->drift,
                       estimate->uncertainty};
}

/// A step in the times is an overrun where the module says so itself; it is asked once a second.
void Source::nameOverruns(Batch& batch)
{
    const auto isStep = [](const Gap& gap) { return gap.cause == Cause::timeStep; };
    if (std::ranges::none_of(batch.gaps, isStep))
        return;
    const Clock::time_point now = Clock::now();
    if (now - m_overrunsAsked >= std::chrono::seconds{1}) {
        m_overrunsAsked = now;
        m_hasOverrun = reportsOverrun(*m_module);
    }
    if (m_hasOverrun)
        for (Gap& gap : batch.gaps)
            if (isStep(gap))
                gap.cause = Cause::overrun;
}

Source::Clock::time_point Source::fetchFailed(const Error& error)
{
    if (error.isConnectionLost() || ++m_failures >= kMostFailures)
        return lose(error);
    // A module that has nothing subscribed has begun anew behind a link that held.
    if (!isTransactionCode(error.code())) {
        try {
            m_decoder.restart(nanoseconds(Clock::now() - m_caughtUp));
            subscribe(startTime());
            m_notice("the module had ended the subscription, it is made anew: " +
                     std::string{error.what()});
            return Clock::now() + m_options.pause;
        } catch (const Error& again) {
            return lose(again);
        }
    }
    return Clock::now() + m_options.pause;
}

Source::Clock::time_point Source::lose(const Error& why)
{
    m_lostAt = Clock::now();
    m_failures = 0;
    if (m_module)
        m_module->disconnect(); // also one that is only silent
    m_subscription.reset();
    m_module.reset();
    {
        const std::lock_guard lock{m_mutex};
        m_state.link = m_options.mayReconnect ? Link::lost : Link::ended;
        m_state.problem = why.what();
        m_state.code = why.code();
        ++m_state.outages;
    }
    m_notice("the link is lost: " + std::string{why.what()});
    m_delay = kFirstDelay;
    return m_options.mayReconnect ? m_lostAt + m_delay : Clock::time_point::max();
}

Source::Clock::time_point Source::dial()
{
    if (!m_options.mayReconnect)
        return Clock::time_point::max();
    try {
        // A module with a name may come back under another address.
        m_module.emplace(m_name.mayBeName ? Module{m_name.text} : Module{*m_name.address});
        if (m_module->uuid() != m_uuid)
            throw std::runtime_error("another module answers there");
        m_decoder.restart(nanoseconds(Clock::now() - m_caughtUp));
        m_decoder.interrupt(Cause::outage);
        subscribe(startTime());
    } catch (const std::exception& error) {
        m_subscription.reset();
        m_module.reset();
        m_delay = std::min(2 * m_delay, kLongestDelay);
        const std::lock_guard lock{m_mutex};
        m_state.problem = error.what();
        return Clock::now() + m_delay;
    }
    {
        const std::lock_guard lock{m_mutex};
        m_state.link = Link::up;
        m_state.problem.clear();
    }
    m_notice("the link is up again after " + inSeconds(Clock::now() - m_lostAt));
    return Clock::now();
}

/// Where the samples go on in their steps, so that their number tells how many are missing.
std::uint64_t Source::startTime() const
{
    constexpr std::uint64_t kSoon = 20'000'000;
    const auto clock = m_clock.estimate();
    if (!clock)
        return 0;
    const auto now = static_cast<std::uint64_t>(static_cast<std::int64_t>(hostTime()) -
                                                clock->offset);
    return m_decoder.commonTime(now + clock->uncertainty + kSoon);
}

void Source::finish(Block& block)
{
    if (!m_subscription)
        return;
    try {
        // A module that measures faster than it sends would never come to an end.
        for (int blocks = 0; blocks < 1000 && fetchOnce(block); ++blocks) {
        }
        m_subscription->finish();
    } catch (const Error& error) {
        m_notice("the end of the recording did not come: " + std::string{error.what()});
    }
    m_subscription.reset();
}

Source::State Source::state() const
{
    const std::lock_guard lock{m_mutex};
    return m_state;
}

} // namespace zel::acquisition
