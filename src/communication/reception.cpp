#include "reception.h"

namespace zel::communication {

Reception::Wait::Wait(Reception& reception, const sys::Event& event, sys::EventFlag& flag)
    : m_reception(reception), m_event(event), m_flag(flag)
{
    {
        const std::lock_guard lock{m_reception.m_mutex};
        if (m_reception.m_hasReceiver) {
            m_reception.listLocked(*this);
            m_isBehindAnother = true;
            return;
        }
        m_reception.m_hasReceiver = true;
    }
    // Said only when it is: a callback that stops early where nobody receives is not repeated.
    m_isReceiver = m_reception.m_loop.lend(m_event);
    if (m_isReceiver)
        m_reception.m_isLent = true;
    else
        m_reception.m_hasReceiver = false;
}

void Reception::Wait::untilSet()
{
    while (m_isBehindAnother && !m_isReceiver && !m_flag.isSet())
        m_flag.waitOrWoken();
    if (m_isReceiver) {
        m_reception.m_loop.serve(m_event, m_flag, m_budget);
        // Where nothing has come for a while, nobody is in a hurry.
        if (!m_flag.isSet()) {
            m_isReceiver = false;
            m_reception.endLoan();
            m_reception.m_loop.takeBack(m_event);
        }
    } else if (!m_isBehindAnother) {
        // The loop's thread receives: nothing was looked for yet.
        m_budget.spin([this] { return m_flag.isSet(); });
    }
    m_flag.wait();
}

void Reception::Wait::end()
{
    {
        const std::lock_guard lock{m_reception.m_mutex};
        m_reception.unlistLocked(*this);
        if (!m_isReceiver.exchange(false))
            return;
        // The newest has the longest to wait.
        Wait* next = m_reception.m_newest;
        while (next && next->m_flag.isSet())
            next = next->m_older;
        if (next) {
            m_reception.unlistLocked(*next);
            next->m_isReceiver = true;
            next->m_flag.wake();
            return;
        }
        m_reception.endLoan();
    }
    m_reception.m_loop.takeBack(m_event);
}

void Reception::endLoan()
{
    m_isLent = false;
    m_hasReceiver = false;
}

void Reception::listLocked(Wait& wait)
{
    wait.m_isListed = true;
    wait.m_older = m_newest;
    if (m_newest)
        m_newest->m_newer = &wait;
    m_newest = &wait;
}

void Reception::unlistLocked(Wait& wait)
{
    if (!wait.m_isListed)
        return;
    wait.m_isListed = false;
    if (wait.m_older)
        wait.m_older->m_newer = wait.m_newer;
    (wait.m_newer ? wait.m_newer->m_older : m_newest) = wait.m_older;
}

} // namespace zel::communication
