#include "event_loop.h"

#include "event_flag.h"
#include "looking_permit.h"
#include "port_twin.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <limits>
#include <string>

namespace zel::sys {

namespace {

constexpr std::size_t kInitialBuckets = 8;
constexpr int kServingMs = 5;
// A peer that never stops sending must not keep the timers and the other peers waiting.
constexpr int kCallsInATurn = 32;

/// Says which thread calls back; callbacks may be nested.
class DispatchMark {
public:
    explicit DispatchMark(std::atomic<std::thread::id>& dispatcher)
        : m_dispatcher(dispatcher), m_before(dispatcher.load(std::memory_order_relaxed))
    {
        m_dispatcher.store(std::this_thread::get_id(), std::memory_order_relaxed);
    }
    ~DispatchMark() { m_dispatcher.store(m_before, std::memory_order_relaxed); }
    DispatchMark(const DispatchMark&) = delete;
    DispatchMark& operator=(const DispatchMark&) = delete;

private:
    std::atomic<std::thread::id>& m_dispatcher;
    const std::thread::id m_before;
};

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

EventLoop::EventLoop()
    : m_port(std::make_unique<PortTwin>()), m_events(kInitialBuckets), m_timers(m_mutex, [this] {
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
        const std::lock_guard lock{m_mutex};
        m_unfinished.reserve(m_unfinished.size() + m_events.size() + 1);
        m_events[event.id] = std::make_shared<const EventCallback>(std::move(callback));
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
    std::shared_ptr<const EventCallback> erased;
    {
        const std::lock_guard lock{m_mutex};
        const auto found = m_events.find(event.id);
        if (found == m_events.end())
            return 0;
        erased = std::move(found->second);
        m_events.erase(found);
    }
    m_port->unwatch(event);
    return 0;
}

EventLoop::Turn EventLoop::dispatch(EventId id, bool mayRepeat)
{
    for (int calls = 0; calls < kCallsInATurn; ++calls) {
        // Declared before the lock: what the callback owns may be freed without it.
        std::shared_ptr<const EventCallback> callback;
        const std::lock_guard lock{m_mutex};
        const auto found = m_events.find(id);
        if (found == m_events.end())
            return Turn::gone;
        const DispatchMark mark{m_dispatcher};
        callback = found->second;
        try {
            if ((*callback)() <= 0 || !mayRepeat)
                return Turn::done;
        } catch (const std::exception&) {
            return Turn::done;
        }
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

void EventLoop::serve(const Event& event, const EventFlag& flag)
{
    Turn turn = Turn::done;
    if (const LookingPermit permit; permit.isGranted()) {
        if (permit.look([&] { return m_port->hasInput(event, 0); }))
            turn = dispatch(event.id, true);
    }
    while (!flag.isSet() && turn != Turn::gone &&
           (turn == Turn::unfinished || m_port->hasInput(event, kServingMs)))
        turn = dispatch(event.id, true);
    // What was read from the system already, nobody else would be told of.
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
