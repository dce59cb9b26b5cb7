#include "event_loop.h"

#include "event_flag.h"
#include "port_twin.h"
#include "spin_budget.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <limits>
#include <string>
#include <utility>

namespace zel::sys {

namespace {

constexpr std::size_t kInitialBuckets = 8;
constexpr int kServingMs = 5;
// A peer that never stops sending must not keep the timers and the other peers waiting.
constexpr int kCallsInATurn = 32;

} // namespace

std::size_t EventIdHash::operator()(EventId id) const
{
    std::uint64_t hash = 0xcbf29ce484222325u;
    for (int byte = 0; byte < 8; ++byte) {
        hash ^= (id >> (8 * byte)) & 0xFF;
        hash *= 0x100000001b3u;
    }
    return hash;
}

/// One call of an event's callback, in its turn. Not inside another one.
class EventLoop::Call {
public:
    Call(EventLoop& loop, EventId id, Registration& registration)
        : m_loop(loop), m_id(id), m_registration(registration), m_turn(registration.turn)
    {
        const std::lock_guard lock{m_loop.m_mutex};
        m_callback = m_registration.callback;
        m_registration.isRunning = m_callback != nullptr;
        m_before = std::exchange(m_loop.m_lastCall, this);
    }
    ~Call()
    {
        const std::lock_guard lock{m_loop.m_mutex};
        Call** place = &m_loop.m_lastCall;
        while (*place != this)
            place = &(*place)->m_before;
        *place = m_before;
        m_registration.isRunning = false;
        // Erased while it was running, it stays until now, so that a second erase() finds what to
        // wait for.
        if (m_callback && !m_registration.callback)
            m_loop.m_events.erase(m_id);
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    bool isErased() const { return m_callback == nullptr; }
    /// What throws is not called again.
    int operator()() const
    {
        try {
            return (*m_callback)();
        } catch (const std::exception&) {
            return 0;
        }
    }
    /// Whether the thread runs this call or one of those before it. Under the loop's mutex.
    bool isOneOf(std::thread::id thread) const
    {
        const Call* call = this;
        while (call && call->m_thread != thread)
            call = call->m_before;
        return call != nullptr;
    }

private:
    EventLoop& m_loop;
    const EventId m_id;
    Registration& m_registration;
    const std::thread::id m_thread = std::this_thread::get_id();
    Call* m_before = nullptr; // of those under way, which nobody has to make a list for
    // Before the turn: what the callback owns may be freed without it.
    std::shared_ptr<const EventCallback> m_callback;
    const std::lock_guard<Mutex> m_turn;
};

EventLoop::EventLoop()
    : m_port(std::make_unique<PortTwin>()), m_events(kInitialBuckets), m_timers([this] {
          if (!isLoopThread())
              m_port->postWake();
      })
{
    m_events.max_load_factor(1.0F);
}

EventLoop::~EventLoop()
{
    m_port->postStop();
}

int EventLoop::addEvent(const Event& event, EventCallback callback)
{
    if (!callback)
        return -1;
    {
        auto registered = std::make_shared<const EventCallback>(std::move(callback));
        auto fresh = std::make_shared<Registration>();
        const std::lock_guard lock{m_mutex};
        m_unfinished.reserve(m_unfinished.size() + m_events.size() + 1);
        const auto entry = m_events.try_emplace(event.id, std::move(fresh)).first;
        entry->second->callback.swap(registered);
    }
    if (event.socket == kNoSocket)
        return 0;
    if (const auto failure = m_port->watch(event)) {
        m_log.writeError(
            ("Could not add event to event loop '" + systemErrorText(*failure) + "'").c_str());
        return -1;
    }
    return 0;
}

int EventLoop::eraseEvent(const Event& event)
{
    std::shared_ptr<Registration> erased;
    std::shared_ptr<const EventCallback> callback;
    {
        const std::lock_guard lock{m_mutex};
        const auto found = m_events.find(event.id);
        if (found == m_events.end())
            return 0;
        erased = found->second;
        callback.swap(erased->callback);
        if (!erased->isRunning)
            m_events.erase(found);
    }
    m_port->unwatch(event);
    if (isDispatching())
        return 0;
    const std::lock_guard wait{erased->turn};
    return 0;
}

bool EventLoop::isDispatching() const
{
    if (isLoopThread())
        return true;
    const std::lock_guard lock{m_mutex};
    return m_lastCall && m_lastCall->isOneOf(std::this_thread::get_id());
}

std::shared_ptr<EventLoop::Registration> EventLoop::find(EventId id) const
{
    const std::lock_guard lock{m_mutex};
    const auto found = m_events.find(id);
    return found == m_events.end() ? nullptr : found->second;
}

EventLoop::Turn EventLoop::dispatch(EventId id, bool mayRepeat)
{
    const std::shared_ptr<Registration> registration = find(id);
    if (!registration)
        return Turn::gone;
    for (int calls = 0; calls < kCallsInATurn; ++calls) {
        Call call{*this, id, *registration};
        if (call.isErased())
            return Turn::gone;
        if (call() <= 0 || !mayRepeat)
            return Turn::done;
    }
    return Turn::unfinished;
}

void EventLoop::addUnfinished(EventId id)
{
    const std::lock_guard lock{m_mutex};
    if (!m_events.contains(id) || std::ranges::count(m_unfinished, id) != 0)
        return;
    m_unfinished.push_back(id);
    m_hasUnfinished = true;
}

std::optional<EventId> EventLoop::takeUnfinished()
{
    const std::lock_guard lock{m_mutex};
    if (m_unfinished.empty())
        return {};
    const EventId id = m_unfinished.front();
    m_unfinished.erase(m_unfinished.begin());
    m_hasUnfinished = !m_unfinished.empty();
    return id;
}

void EventLoop::goOn()
{
    if (!m_hasUnfinished)
        return;
    std::size_t count;
    {
        const std::lock_guard lock{m_mutex};
        count = m_unfinished.size();
    }
    for (; count > 0; --count)
        if (const auto id = takeUnfinished(); id && dispatch(*id, true) == Turn::unfinished)
            addUnfinished(*id);
}

bool EventLoop::lend(const Event& event)
{
    return m_port->ignore(event);
}

void EventLoop::serve(const Event& event, const EventFlag& flag, const SpinBudget& budget)
{
    const auto hasInput = [&](int limitMs) { return m_port->hasInput(event, limitMs); };
    // Once: what takes longer, or comes in many pieces, is worth no processor time.
    const bool hasCome = budget.spin([&] { return hasInput(0); });
    Turn turn = hasCome ? dispatch(event.id, true) : Turn::done;
    while (!flag.isSet() && turn != Turn::gone &&
           (turn == Turn::unfinished || hasInput(kServingMs)))
        turn = dispatch(event.id, true);
    // Nobody else would be told of what was read from the system already.
    if (turn == Turn::unfinished) {
        addUnfinished(event.id);
        m_port->postWake();
    }
}

void EventLoop::takeBack(const Event& event)
{
    m_port->notice(event);
}

int EventLoop::waitLimitMs() const
{
    const auto wakeAt = m_timers.wakeAt();
    if (!wakeAt)
        return -1;
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(*wakeAt - TimerQueue::Clock::now());
    return static_cast<int>(
        std::clamp<std::int64_t>(left.count(), 0, std::numeric_limits<int>::max()));
}

std::error_code EventLoop::failure() const
{
    return m_port->failure();
}

int EventLoop::execute()
{
    if (m_port->failure()) {
        m_log.writeError("Could not create io completion port!");
        m_hasEnded = true;
        return -1;
    }
    m_thread = std::this_thread::get_id();
    for (;;) {
        const PortTwin::WakeUp wakeUp = m_port->wait(m_hasUnfinished ? 0 : waitLimitMs(), m_log);
        switch (wakeUp.reason) {
        case PortTwin::Reason::event:
            if (dispatch(wakeUp.id, true) == Turn::unfinished)
                addUnfinished(wakeUp.id);
            break;
        case PortTwin::Reason::last:
            dispatch(wakeUp.id, false);
            break;
        case PortTwin::Reason::again:
            break;
        case PortTwin::Reason::stop:
            m_thread = std::thread::id{};
            return 0;
        case PortTwin::Reason::failed:
            m_hasEnded = true;
            m_thread = std::thread::id{};
            tellOfEnd(wakeUp.error);
            return 0;
        }
        m_timers.runDue();
        goOn();
    }
}

void EventLoop::tellOfEnd(int error)
{
    try {
        m_log.writeError(("Event loop stopped with error " + systemErrorText(error)).c_str());
    } catch (const std::exception&) { // without memory the number must do
        std::array<char, 64> text{};
        std::snprintf(text.data(), text.size(), "Event loop stopped with error %d", error);
        m_log.writeError(text.data());
    }
}

void EventLoop::stop()
{
    m_port->postStop();
}

} // namespace zel::sys
