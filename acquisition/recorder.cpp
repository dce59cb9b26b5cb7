#include "recorder.h"

#include <algorithm>
#include <cstdlib>
#include <thread>
#include <utility>

namespace zel::acquisition {

namespace {

constexpr std::uint64_t kSecond = 1'000'000'000;
// Values come some time after they were measured.
constexpr std::chrono::seconds kLongestDelay{1};
// Two equal times that are both rounded down are at most this far apart.
constexpr std::uint64_t kRounding = 2;

std::uint64_t hostTime()
{
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                          std::chrono::system_clock::now().time_since_epoch())
                                          .count());
}

/// The end of a window; a nanosecond before it comes from rounding.
std::uint64_t endOf(std::uint64_t from, std::uint64_t duration)
{
    return duration < RecordingPart::kOpen - from
               ? from + std::max(duration, kRounding + 1) - kRounding
               : RecordingPart::kOpen;
}

std::uint64_t earlier(std::uint64_t time, std::uint64_t by)
{
    return time > by ? time - by : 0;
}

std::string milliseconds(std::int64_t nanoseconds)
{
    const std::int64_t tenths = std::abs(nanoseconds) / 100'000;
    return std::to_string(tenths / 10) + '.' + std::to_string(tenths % 10) + " ms";
}

} // namespace

Recorder::Recorder(const Setup& setup, const RecordingPlan& plan, MakeSinks makeSinks,
                   Notice notice)
    : m_setup(setup),
      m_plan(plan),
      m_makeSinks(std::move(makeSinks)),
      m_notice(std::move(notice)),
      m_firstTimes(setup.modules.size()),
      m_shifts(setup.modules.size())
{
    if (plan.trigger)
        m_trigger.emplace(*plan.trigger, setup.signals[plan.triggerSignal], plan.triggerSignal);
}

Recorder::~Recorder()
{
    if (m_isFinished)
        return;
    m_pool.reset();
    for (Part& part : m_parts)
        part.recording->finish("broken off");
}

void Recorder::add(Module connected, ModuleTarget name, const Source::Options& options)
{
    const std::size_t module = m_sources.size();
    std::vector<std::size_t> signals;
    for (std::size_t i = 0; i < m_setup.signals.size(); ++i)
        if (m_setup.signals[i].module == module)
            signals.push_back(i);
    const std::string label = m_setup.modules[module].label;
    m_sources.push_back(std::make_unique<Source>(
        m_setup, module, std::move(signals), std::move(connected), std::move(name), options,
        [this](SharedBatch batch) { take(std::move(batch)); },
        [this, label](const std::string& what) { m_notice(label, what); }));
}

void Recorder::begin()
{
    for (const auto& source : m_sources)
        source->begin();
    if (!isTriggered()) {
        // Also where nothing comes at all.
        const std::uint64_t wait = earlier(m_plan.startAt.value_or(0), hostTime());
        openPart(Windows(m_setup.modules.size()), m_plan.startAt.value_or(m_setup.begin),
                 m_plan.duration == 0
                     ? Clock::time_point::max()
                     : Clock::now() + std::chrono::nanoseconds(wait + m_plan.duration));
        if (m_plan.splitTime != 0)
            m_splitAt = m_plan.startAt.value_or(hostTime()) + m_plan.splitTime;
    }
    m_pool = std::make_unique<SourcePool>(m_sources);
}

void Recorder::take(SharedBatch batch)
{
    if (m_setup.isOnHostTime)
        batch = onHostTime(batch);
    const std::lock_guard lock{m_mutex};
    noteFirstLocked(*batch);
    const Clock::time_point now = Clock::now();
    for (Part& part : m_parts) {
        const std::uint64_t before = part.recording->totals().samples;
        part.recording->take(batch);
        if (part.recording->totals().samples != before)
            part.progress = now;
    }
    if (!isTriggered())
        return;
    keepLocked(batch);
    if (!m_trigger || batch->module != m_setup.signals[m_plan.triggerSignal].module)
        return;
    const auto found = m_trigger->find(*batch, m_quietUntil);
    if (found && !m_triggered)
        m_triggered = {*found, batch->module};
}

void Recorder::trigger()
{
    const std::uint64_t now = hostTime();
    const std::lock_guard lock{m_mutex};
    if (!m_triggered && now >= m_quietUntil)
        m_triggered = {now, std::nullopt};
}

/// Where a module's recording begins and ends is known with its first sample.
void Recorder::noteFirstLocked(const Batch& batch)
{
    std::uint64_t& first = m_firstTimes[batch.module];
    if (first != 0 || batch.chunks.empty() || m_parts.empty() || isTriggered())
        return;
    first = RecordingPart::kOpen;
    for (const Chunk& chunk : batch.chunks)
        first = std::min(first, batch.timeOf(chunk, 0));
    Part& part = m_parts.front();
    std::uint64_t from = first;
    if (m_plan.startAt) {
        const std::int64_t offset = m_setup.isOnHostTime ? 0
                                    : batch.clock        ? batch.clock->offset
                                                         : 0;
        from = std::max(first, *m_plan.startAt - static_cast<std::uint64_t>(offset));
        part.recording->beginAt(batch.module, from);
    }
    if (m_plan.duration == 0)
        return;
    part.recording->limit(batch.module, endOf(from, m_plan.duration));
    const auto wait = std::chrono::nanoseconds(earlier(from, first) + m_plan.duration);
    part.due = std::max(part.due, Clock::now() + wait);
}

/// A module's times on the host's clock. The shift is held until the estimate has left it: times
/// that jump with each of them would be no better.
SharedBatch Recorder::onHostTime(const SharedBatch& batch)
{
    std::int64_t shift = 0;
    {
        const std::lock_guard lock{m_mutex};
        auto& held = m_shifts[batch->module];
        if (const auto& clock = batch->clock;
            clock && (!held || std::abs(clock->offset - *held) >
                                   static_cast<std::int64_t>(clock->uncertainty)))
            held = clock->offset;
        shift = held.value_or(0);
    }
    const auto move = [shift](std::uint64_t& time) { time += static_cast<std::uint64_t>(shift); };
    auto moved = std::make_shared<Batch>(*batch);
    for (Chunk& chunk : moved->chunks) {
        if (chunk.line.rate != 0) {
            move(chunk.line.first);
            continue;
        }
        auto* const times = reinterpret_cast<std::uint64_t*>(moved->bytes.data() + chunk.times);
        std::for_each(times, times + chunk.count, move);
    }
    for (Gap& gap : moved->gaps) {
        move(gap.begin);
        move(gap.end);
    }
    return moved;
}

/// What came lately stays for as long as a trigger may want it, and a little longer: modules are
/// not fetched at the same moment.
void Recorder::keepLocked(const SharedBatch& batch)
{
    constexpr std::uint64_t kLonger = 2 * kSecond;
    m_kept.push_back(batch);
    m_keptBytes += batch->size();
    const std::uint64_t oldest = earlier(batch->receivedAt, m_plan.preTrigger + kLonger);
    while (!m_kept.empty() &&
           (m_kept.front()->receivedAt < oldest || m_keptBytes > m_plan.memory / 2)) {
        m_keptBytes -= m_kept.front()->size();
        m_kept.pop_front();
    }
}

std::int64_t Recorder::offsetOf(std::size_t module) const
{
    if (m_setup.isOnHostTime)
        return 0;
    const auto clock = m_sources[module]->state().clock;
    return clock ? clock->offset : 0;
}

std::uint64_t Recorder::moduleTime(std::size_t module, std::uint64_t hostTime) const
{
    return hostTime - static_cast<std::uint64_t>(offsetOf(module));
}

void Recorder::openPart(Windows windows, std::uint64_t begin, Clock::time_point due)
{
    std::size_t number = 0;
    {
        const std::lock_guard lock{m_mutex};
        number = ++m_done.parts;
    }
    auto sinks = m_makeSinks(number, begin);
    const std::size_t memory = m_plan.memory / 2 / std::max<std::size_t>(sinks.size(), 1);
    auto part = std::make_unique<RecordingPart>(m_setup, std::move(windows), std::move(sinks),
                                                memory);
    const std::lock_guard lock{m_mutex};
    // What a trigger's recording begins with came before the trigger.
    for (const SharedBatch& batch : m_kept)
        part->take(batch);
    m_parts.push_back({std::move(part), due, Clock::now()});
}

bool Recorder::poll()
{
    openTriggered();
    split();
    closePassed();
    lookAtSinks();
    compareClocks();
    const std::lock_guard lock{m_mutex};
    const bool isMoreToTrigger =
        isTriggered() && (m_plan.repeats == 0 || m_done.parts < m_plan.repeats);
    return !m_parts.empty() || isMoreToTrigger;
}

void Recorder::openTriggered()
{
    Event event;
    {
        const std::lock_guard lock{m_mutex};
        if (!m_triggered || (m_plan.repeats != 0 && m_done.parts >= m_plan.repeats))
            return;
        event = *std::exchange(m_triggered, std::nullopt);
        // One recording at a time: the next trigger counts behind this one's end.
        m_quietUntil = m_plan.duration == 0 ? RecordingPart::kOpen
                                            : endOf(event.time, m_plan.duration);
    }
    const std::uint64_t host =
        event.module ? event.time + static_cast<std::uint64_t>(offsetOf(*event.module))
                     : event.time;
    Windows windows;
    for (std::size_t i = 0; i < m_sources.size(); ++i) {
        const std::uint64_t at = i == event.module ? event.time : moduleTime(i, host);
        windows.push_back({earlier(at, m_plan.preTrigger + kRounding),
                           m_plan.duration == 0 ? RecordingPart::kOpen
                                                : endOf(at, m_plan.duration)});
    }
    const Clock::time_point due =
        m_plan.duration == 0 ? Clock::time_point::max()
                             : Clock::now() + std::chrono::nanoseconds(m_plan.duration);
    openPart(std::move(windows), host, due);
}

/// The next part is opened a moment before its time, so that nothing has gone into the old one yet.
void Recorder::split()
{
    constexpr std::uint64_t kAhead = kSecond / 2;
    const std::uint64_t now = hostTime();
    std::uint64_t bytes = 0;
    {
        const std::lock_guard lock{m_mutex};
        if (m_parts.size() != 1 || isTriggered())
            return;
        for (const auto& sink : m_parts.front().recording->sinks())
            bytes = std::max(bytes, sink->state().bytes);
    }
    const bool isLarge = m_plan.splitBytes != 0 && bytes >= m_plan.splitBytes;
    const bool isLong = m_splitAt != 0 && now + kAhead >= m_splitAt;
    if (!isLarge && !isLong)
        return;
    const std::uint64_t at = isLong ? std::max(m_splitAt, now) : now + kAhead;
    if (isLong)
        m_splitAt += m_plan.splitTime;
    Windows windows;
    Clock::time_point due;
    {
        const std::lock_guard lock{m_mutex};
        RecordingPart& old = *m_parts.front().recording;
        for (std::size_t i = 0; i < m_sources.size(); ++i) {
            const std::uint64_t cut = std::max(moduleTime(i, at), old.nextTime(i));
            windows.push_back({cut, old.window(i).to});
        }
        due = m_parts.front().due;
    }
    if (std::ranges::all_of(windows, [](const auto& window) { return window.from >= window.to; }))
        return; // the recording ends before
    openPart(windows, at, due);
    const std::lock_guard lock{m_mutex};
    Part& old = m_parts.front();
    for (std::size_t i = 0; i < windows.size(); ++i)
        old.recording->limit(i, windows[i].from);
    old.due = Clock::now() + std::chrono::nanoseconds(at > now ? at - now : 0);
}

bool Recorder::isPassed(const Part& part, Clock::time_point now) const
{
    bool areAllComplete = true;
    for (std::size_t i = 0; i < m_sources.size(); ++i)
        areAllComplete = areAllComplete && part.recording->window(i).to != RecordingPart::kOpen &&
                         part.recording->isComplete(i);
    if (areAllComplete) {
        // Values with times of their own come when they come.
        return now >= part.due || std::ranges::any_of(m_setup.signals, &SignalInfo::isEven);
    }
    return part.due != Clock::time_point::max() && now >= part.due + kLongestDelay &&
           now >= part.progress + kLongestDelay;
}

void Recorder::closePassed()
{
    std::vector<std::unique_ptr<RecordingPart>> passed;
    {
        const std::lock_guard lock{m_mutex};
        const Clock::time_point now = Clock::now();
        for (Part& part : m_parts) {
            if (!isPassed(part, now))
                continue;
            for (std::size_t i = 0; i < m_sources.size(); ++i)
                part.recording->noteMissingEnd(
                    i, m_sources[i]->state().link == Source::Link::up ? Cause::timeStep
                                                                      : Cause::outage);
            passed.push_back(std::move(part.recording));
        }
        std::erase_if(m_parts, [](const Part& part) { return !part.recording; });
    }
    for (auto& part : passed)
        close(std::move(part), {});
}

void Recorder::close(std::unique_ptr<RecordingPart> part, const std::string& cause)
{
    const std::string problem = part->finish(cause);
    if (!problem.empty())
        m_problems += (m_problems.empty() ? "" : "; ") + problem;
    const std::lock_guard lock{m_mutex};
    add(*part, m_done);
}

void Recorder::lookAtSinks()
{
    std::string failure;
    bool goesOn = false;
    {
        const std::lock_guard lock{m_mutex};
        goesOn = m_parts.empty();
        for (const Part& part : m_parts)
            for (const auto& sink : part.recording->sinks()) {
                const std::string why = sink->state().failure;
                goesOn = goesOn || why.empty();
                failure = why.empty() ? failure : why;
            }
    }
    if (!goesOn)
        throw SinkFailure(failure);
}

void Recorder::compareClocks()
{
    const Clock::time_point now = Clock::now();
    if (m_hasToldClocks || m_setup.isOnHostTime || m_sources.size() < 2 ||
        now - m_comparedAt < std::chrono::seconds{1})
        return;
    m_comparedAt = now;
    std::uint64_t fastest = 0;
    for (const SignalInfo& signal : m_setup.signals)
        fastest = std::max(fastest, signal.isEven ? signal.rate : 0);
    if (fastest == 0)
        return;
    const auto period = static_cast<std::int64_t>(1'000'000'000'000 / fastest);
    for (std::size_t i = 0; i < m_sources.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            const auto a = m_sources[i]->state().clock;
            const auto b = m_sources[j]->state().clock;
            if (!a || !b)
                continue;
            const std::int64_t apart = std::abs(a->offset - b->offset);
            const auto doubt = static_cast<std::int64_t>(a->uncertainty + b->uncertainty);
            if (apart <= period + doubt)
                continue;
            m_hasToldClocks = true;
            return m_notice({}, "the clocks of " + m_setup.modules[j].label + " and " +
                                    m_setup.modules[i].label + " are " + milliseconds(apart) +
                                    " apart, more than a sample; --align host puts their samples "
                                    "on one clock");
        }
    }
}

void Recorder::finishSources()
{
    if (m_pool)
        m_pool->stop();
    // One silent module takes seconds; they do not add up.
    constexpr std::size_t kAtOnce = 32;
    for (std::size_t first = 0; first < m_sources.size(); first += kAtOnce) {
        std::vector<std::jthread> threads;
        for (std::size_t i = first; i < std::min(first + kAtOnce, m_sources.size()); ++i)
            threads.emplace_back([&source = *m_sources[i]] {
                Block block;
                source.finish(block);
            });
    }
}

/// What a module has measured until now and has not come: because its link is down, or because one
/// of its signals stays behind the others.
void Recorder::endAtNow(RecordingPart& part)
{
    for (std::size_t i = 0; i < m_sources.size(); ++i) {
        const bool isUp = m_sources[i]->state().link == Source::Link::up;
        const std::uint64_t next = part.nextTime(i);
        if (next == 0)
            continue;
        part.limit(i, isUp ? std::max(earlier(next, kSecond), part.window(i).from)
                           : moduleTime(i, hostTime()));
        part.noteMissingEnd(i, isUp ? Cause::timeStep : Cause::outage);
    }
}

std::string Recorder::finish(const std::string& cause)
{
    m_isFinished = true;
    finishSources();
    std::vector<Part> parts;
    {
        const std::lock_guard lock{m_mutex};
        parts.swap(m_parts);
    }
    for (Part& part : parts) {
        endAtNow(*part.recording);
        close(std::move(part.recording), cause);
    }
    return m_problems;
}

void Recorder::add(const RecordingPart& part, Status& status)
{
    const RecordingPart::Totals& totals = part.totals();
    status.samples += totals.samples;
    status.recorded += totals.last - totals.first;
    std::uint64_t missing = totals.missing;
    std::uint64_t gaps = totals.gaps;
    for (const auto& sink : part.sinks()) {
        const SinkQueue::State state = sink->state();
        missing = std::max(missing, state.missing);
        gaps = std::max(gaps, state.gaps);
        status.bytes += state.bytes;
        status.waiting += state.waiting;
        status.isDiskFull = status.isDiskFull || state.isDiskFull;
        status.isReaderGone = status.isReaderGone || state.isReaderGone;
    }
    status.missing += missing;
    status.gaps += gaps;
}

Recorder::Status Recorder::status() const
{
    Status status;
    {
        const std::lock_guard lock{m_mutex};
        status = m_done;
        for (const Part& part : m_parts)
            add(*part.recording, status);
        status.isWaitingForTrigger = isTriggered() && m_parts.empty();
    }
    const auto now = static_cast<std::int64_t>(hostTime());
    for (const auto& source : m_sources) {
        const Source::State state = source->state();
        status.modulesDown += state.link == Source::Link::up ? 0 : 1;
        if (state.newest == 0 || !state.clock)
            continue;
        const std::int64_t lag =
            now - state.clock->offset - static_cast<std::int64_t>(state.newest);
        status.lag = std::max(status.lag, static_cast<std::uint64_t>(std::max<std::int64_t>(lag, 0)));
    }
    return status;
}

std::vector<Source::State> Recorder::sources() const
{
    std::vector<Source::State> states;
    for (const auto& source : m_sources)
        states.push_back(source->state());
    return states;
}

} // namespace zel::acquisition
