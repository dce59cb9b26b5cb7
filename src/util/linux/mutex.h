#pragma once

#include <condition_variable>
#include <mutex>

namespace zel {

using Mutex = std::mutex;
using ConditionVariable = std::condition_variable;

} // namespace zel
