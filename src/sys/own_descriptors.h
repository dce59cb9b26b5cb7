#pragma once

namespace zel::sys {

// Linux only. A forked child inherits every descriptor, and a connection ends, and a port is free,
// only when the last copy is closed. So the child closes its copies at the fork, before it runs any
// code of its own.

/// From now on a child closes it. Gives it back, also where it is -1.
int closedInChild(int descriptor);
/// Closes it here.
void closeOwn(int descriptor);

} // namespace zel::sys
