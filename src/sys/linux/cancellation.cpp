#include "cancellation.h"

#include <pthread.h>

namespace zel::sys {

CancellationWaits::CancellationWaits()
{
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before);
}

CancellationWaits::~CancellationWaits()
{
    pthread_setcancelstate(m_before, nullptr);
}

} // namespace zel::sys
