#pragma once

#include "last_error_store.h"
#include "telegram_container.h"

#include <memory>
#include <string>

namespace zel {

/// The explanation that came with the last failed synchronous request to each module.
clLastErrorStore<std::string>& messageStore();

/// The last response of each module that was longer than its caller's buffer.
clLastErrorStore<std::unique_ptr<clRxTelContainer>>& dataStore();

/// The host is done with a module: what is too large to be kept for long goes.
void dropHugeErrors(std::uint64_t uuid);

/// Empties both and lets their memory go.
void clearLastErrorStores();

} // namespace zel
