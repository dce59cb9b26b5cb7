#pragma once

#include "logger.h"

#include <utility>

namespace zel {

/// One line about transactions, see clLogger::write().
template <class Text>
void logTransaction(LogLevel level, Text&& text) noexcept
{
    logger().write(level, LogCategory::transactions, std::forward<Text>(text));
}

} // namespace zel
