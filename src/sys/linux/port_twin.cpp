#include "port_twin.h"

#include "own_descriptors.h"

#include <array>
#include <cerrno>

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace zel::sys {

namespace {

// Sockets take their ids from a counter that starts above it.
constexpr EventId kWakeUpId = 0;

// Edge-triggered: callbacks read until nothing is left, as they must on a completion port.
constexpr std::uint32_t kWatched = EPOLLIN | EPOLLRDHUP | EPOLLET;

} // namespace

struct PortTwin::Batch {
    std::array<epoll_event, kBatch> events;
    int count = 0;
    int next = 0;
};

PortTwin::PortTwin()
    : m_batch(std::make_unique<Batch>()),
      m_epoll(closedInChild(epoll_create1(EPOLL_CLOEXEC))),
      m_wakeUp(closedInChild(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)))
{
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = kWakeUpId;
    // A loop that nobody can wake is none.
    if (m_epoll < 0 || m_wakeUp < 0 || epoll_ctl(m_epoll, EPOLL_CTL_ADD, m_wakeUp, &event) != 0)
        m_failure = {errno, std::system_category()};
}

PortTwin::~PortTwin()
{
    closeOwn(m_wakeUp);
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
    if (event.socket != kNoSocket)
        epoll_ctl(m_epoll, EPOLL_CTL_DEL, event.socket, nullptr);
}

bool PortTwin::ignore(const Event& event)
{
    // A hang-up is told all the same, but only once.
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
    if (m_batch->next == m_batch->count) {
        m_batch->next = 0;
        m_batch->count = epoll_wait(m_epoll, m_batch->events.data(), kBatch, limitMs);
        if (m_batch->count < 0) {
            m_batch->count = 0;
            // A signal of the host's is no failure of the loop.
            if (errno != EINTR)
                return {Reason::failed, 0, errno};
        }
    }
    if (m_batch->next == m_batch->count)
        return {};
    const EventId id = m_batch->events[static_cast<std::size_t>(m_batch->next++)].data.u64;
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
