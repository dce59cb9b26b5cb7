#include "mutex.h"

#include <algorithm>

#include <windows.h>

namespace zel {

namespace {

static_assert(sizeof(SRWLOCK) == sizeof(void*) && sizeof(CONDITION_VARIABLE) == sizeof(void*));

PSRWLOCK lockAt(void*& place)
{
    return reinterpret_cast<PSRWLOCK>(&place);
}

PCONDITION_VARIABLE variableAt(void*& place)
{
    return reinterpret_cast<PCONDITION_VARIABLE>(&place);
}

} // namespace

void Mutex::lock()
{
    AcquireSRWLockExclusive(lockAt(m_lock));
}

bool Mutex::try_lock()
{
    return TryAcquireSRWLockExclusive(lockAt(m_lock)) != 0;
}

void Mutex::unlock()
{
    ReleaseSRWLockExclusive(lockAt(m_lock));
}

void ConditionVariable::notify_one()
{
    WakeConditionVariable(variableAt(m_variable));
}

void ConditionVariable::notify_all()
{
    WakeAllConditionVariable(variableAt(m_variable));
}

void ConditionVariable::sleep(Mutex& mutex, std::chrono::milliseconds limit)
{
    // INFINITE, or so long that it makes no difference.
    const auto time = static_cast<DWORD>(std::min<long long>(limit.count(), INFINITE));
    SleepConditionVariableSRW(variableAt(m_variable), lockAt(mutex.m_lock), time, 0);
}

} // namespace zel
