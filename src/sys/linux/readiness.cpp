#include "readiness.h"

#include <atomic>

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
