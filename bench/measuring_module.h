#pragma once

#include "peer_process.h"

namespace zel::bench {

/// A simulated module in a process of its own that measures as fast as it is asked: blocks of
/// 32-bit floats come back full.
PeerProcess& measuringModule();

} // namespace zel::bench
