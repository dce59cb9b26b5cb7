#include "readiness.h"

#include "port_twin.h"

#include <atomic>
#include <cstring>

#include <netinet/in.h>
#include <sys/socket.h>

namespace zel::sys {

namespace {

EventId nextId()
{
    static std::atomic<EventId> last = 0;
    return ++last;
}

} // namespace

Readiness::Readiness(EventLoop& loop) : m_loop(loop)
{
    m_event.id = nextId();
}

Readiness::~Readiness() = default;

void Readiness::arm() {}

Readiness::Posted Readiness::post()
{
    return Posted::pending;
}

void Readiness::expectDatagrams() {}

bool Readiness::canReceiveDatagrams(NativeSocket)
{
    return true;
}

bool Readiness::nextDatagram(const std::shared_ptr<DatagramBuffer>& buffer)
{
    union {
        char bytes[CMSG_SPACE(sizeof(in_pktinfo))];
        cmsghdr alignment;
    } control{};
    iovec part{buffer->data.data(), buffer->data.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = &control;
    message.msg_controllen = sizeof control;
    const ssize_t size = recvmsg(m_event.socket, &message, MSG_DONTWAIT);
    if (size < 0)
        return false;
    buffer->size = static_cast<std::size_t>(size);
    buffer->interfaceIndex = 0;
    for (cmsghdr* record = CMSG_FIRSTHDR(&message); record;
         record = CMSG_NXTHDR(&message, record)) {
        if (record->cmsg_level != IPPROTO_IP || record->cmsg_type != IP_PKTINFO)
            continue;
        in_pktinfo info;
        std::memcpy(&info, CMSG_DATA(record), sizeof info);
        buffer->interfaceIndex = static_cast<std::uint32_t>(info.ipi_ifindex);
    }
    return true;
}

bool Readiness::askForRoom(Bytes, std::shared_ptr<const void>)
{
    return m_loop.port().watchRoom(m_event);
}

std::optional<std::size_t> Readiness::takenBytes()
{
    return 0;
}

void Readiness::retire() {}

void Readiness::renew()
{
    m_event = {nextId(), kNoSocket};
}

bool Readiness::isPending() const
{
    return false;
}

} // namespace zel::sys
