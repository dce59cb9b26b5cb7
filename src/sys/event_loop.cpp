#include "event_loop.h"

#include "event_flag.h"
#include "looking_permit.h"
#include "port_twin.h"

#include <algorithm>
#include <cassert>
#include <limits>

namespace zel::sys {

namespace {

constexpr std::size_t kInitialBuckets = 8;
constexpr int kServingMs = 5;

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
        m_events[event.id] = std::make_shared<const EventCallback>(std::move(callback));
    }
    if (event.socket == kNoSocket)
        return 0;
    if (const auto failure = m_port->watch(event)) {
        m_log.writeError("Could not add event to event loop '" + *failure + "'");
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

bool EventLoop::dispatch(EventId id, bool mayRepeat)
{
    int more = 0;
    do {
        // Declared before the lock: what the callback owns may be freed without it.
        std::shared_ptr<const EventCallback> callback;
        const std::lock_guard lock{m_mutex};
        const auto found = m_events.find(id);
        if (found == m_events.end())
            return false;
        const DispatchMark mark{m_dispatcher};
        callback = found->second;
        more = (*callback)();
    } while (mayRepeat && more > 0);
    return true;
}

bool EventLoop::lend(const Event& event)
{
    return m_port->ignore(event);
}

void EventLoop::serve(const Event& event, const EventFlag& flag)
{
    if (const LookingPermit permit; permit.isGranted()) {
        const bool hasCome = permit.look([&] { return m_port->hasInput(event, 0); });
        if (hasCome && !dispatch(event.id, true))
            return;
    }
    while (!flag.isSet() && m_port->hasInput(event, kServingMs) && dispatch(event.id, true)) {
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

int EventLoop::execute()
{
    if (!m_port->isOpen()) {
        m_log.writeError("Could not create io completion port!");
        m_hasEnded = true;
        return -1;
    }
    m_thread = std::this_thread::get_id();
    for (;;) {
        const PortTwin::WakeUp wakeUp = m_port->wait(waitLimitMs(), m_log);
        switch (wakeUp.reason) {
        case PortTwin::Reason::event:
            dispatch(wakeUp.id, true);
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
            m_log.writeError("Event loop stopped with error " + wakeUp.failure);
            m_hasEnded = true;
            m_thread = std::thread::id{};
            return 0;
        }
        m_timers.runDue();
    }
}

void EventLoop::stop()
{
    m_port->postStop();
}

} // namespace zel::sys
