#pragma once

namespace zel::cli {

/// Thrown where a command may stop; unwinding closes the connection and stops the library.
struct Interrupted {};

/// Makes Ctrl-C, a request to terminate and a closed terminal end the command at its next stopping
/// point. A second one of the first two ends the process at once.
void installInterruptHandler();

bool isInterrupted();

/// Throws Interrupted once Ctrl-C was pressed.
void stopIfInterrupted();

} // namespace zel::cli
