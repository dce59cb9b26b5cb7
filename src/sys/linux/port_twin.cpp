#include "port_twin.h"

#include "own_descriptors.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace zel::sys {

namespace {

// Sockets take their ids from a counter that starts above the one and does not reach the other.
constexpr EventId kWakeUpId = 0;
constexpr EventId kRoomId = ~EventId{0};

// Edge-triggered: callbacks read until nothing is left, as they must on a completion port.
constexpr std::uint32_t kWatched = EPOLLIN | EPOLLRDHUP | EPOLLET;

} // namespace

struct PortSystem::Batch {
    std::array<epoll_event, kBatch> events;
    int count = 0;
    int next = 0;

    bool isEmpty() const { return next == count; }
    EventId takeNext() { return events[static_cast<std::size_t>(next++)].data.u64; }
    /// 0 or the system's error.
    int fill(int epoll, int limitMs)
    {
        next = 0;
        count = epoll_wait(epoll, events.data(), kBatch, limitMs);
        const int error = count < 0 ? errno : 0;
        count = std::max(count, 0);
        return error;
    }
};

PortSystem::PortSystem()
    : m_batch(std::make_unique<Batch>()),
      m_roomBatch(std::make_unique<Batch>()),
      m_epoll(closedInChild(epoll_create1(EPOLL_CLOEXEC))),
      m_wakeUp(closedInChild(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))),
      m_roomEpoll(closedInChild(epoll_create1(EPOLL_CLOEXEC)))
{
    const auto watchOwn = [this](int descriptor, EventId id) {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.u64 = id;
        return epoll_ctl(m_epoll, EPOLL_CTL_ADD, descriptor, &event) == 0;
    };
    // A loop that nobody can wake is none.
    if (m_epoll < 0 || m_wakeUp < 0 || m_roomEpoll < 0 || !watchOwn(m_wakeUp, kWakeUpId) ||
        !watchOwn(m_roomEpoll, kRoomId))
        m_failure = {errno, std::system_category()};
}

PortSystem::~PortSystem()
{
    closeOwn(m_wakeUp);
    closeOwn(m_roomEpoll);
    closeOwn(m_epoll);
}

std::optional<int> PortTwin::watch(const Event& event)
{
    epoll_event watched{};
    watched.events = kWatched;
    watched.data.u64 = event.id;
    if (epoll_ctl(m_epoll, EPOLL_CTL_ADD, event.socket, &watched) == 0)
        return {};
    if (errno == EEXIST && epoll_ctl(m_epoll, EPOLL_CTL_MOD, event.socket, &watched) == 0)
        return {};
    return errno;
}

void PortTwin::unwatch(const Event& event)
{
    if (event.socket == kNoSocket)
        return;
    epoll_ctl(m_epoll, EPOLL_CTL_DEL, event.socket, nullptr);
    epoll_ctl(m_roomEpoll, EPOLL_CTL_DEL, event.socket, nullptr);
}

bool PortSystem::watchRoom(const Event& event)
{
    epoll_event watched{};
    watched.events = EPOLLOUT | EPOLLONESHOT;
    watched.data.u64 = event.id;
    return epoll_ctl(m_roomEpoll, EPOLL_CTL_MOD, event.socket, &watched) == 0 ||
           epoll_ctl(m_roomEpoll, EPOLL_CTL_ADD, event.socket, &watched) == 0;
}

bool PortTwin::ignore(const Event& event)
{
    // A hang-up is reported all the same, but only once.
    epoll_event ignored{};
    ignored.events = EPOLLET;
    ignored.data.u64 = event.id;
    return epoll_ctl(m_epoll, EPOLL_CTL_MOD, event.socket, &ignored) == 0;
}

void PortTwin::notice(const Event& event)
{
    epoll_event watched{};
    watched.events = kWatched;
    watched.data.u64 = event.id;
    // Fails where the event was erased meanwhile, and must not bring it back.
    epoll_ctl(m_epoll, EPOLL_CTL_MOD, event.socket, &watched);
}

bool PortTwin::hasInput(const Event& event, int limitMs)
{
    pollfd entry{event.socket, POLLIN | POLLRDHUP, 0};
    return poll(&entry, 1, limitMs) == 1;
}

PortTwin::WakeUp PortTwin::wait(int limitMs, EventLog&)
{
    if (!m_roomBatch->isEmpty())
        return {Reason::event, m_roomBatch->takeNext()};
    if (m_batch->isEmpty()) {
        const int error = m_batch->fill(m_epoll, limitMs);
        // A signal of the host's is no failure of the loop.
        if (error != 0 && error != EINTR)
            return {Reason::failed, 0, error};
        if (m_batch->isEmpty())
            return {};
    }
    const EventId id = m_batch->takeNext();
    if (id == kRoomId) {
        m_roomBatch->fill(m_roomEpoll, 0);
        return {};
    }
    if (id != kWakeUpId)
        return {Reason::event, id};
    std::uint64_t posts = 0;
    [[maybe_unused]] const ssize_t got = read(m_wakeUp, &posts, sizeof posts);
    return {m_mustStop.load() ? Reason::stop : Reason::again};
}

void PortTwin::postStop()
{
    m_mustStop = true;
    postWake();
}

void PortTwin::postWake()
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t put = write(m_wakeUp, &one, sizeof one);
}

} // namespace zel::sys
