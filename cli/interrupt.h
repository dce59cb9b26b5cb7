#pragma once

namespace zel::cli {

/// Thrown where a command may stop; unwinding closes the connection and stops the library.
struct Interrupted {};

/// Makes Ctrl-C (and a request to terminate) end the command at its next stopping point. A second
/// one ends the process at once.
void installInterruptHandler();

bool isInterrupted();

/// Throws Interrupted once Ctrl-C was pressed.
void stopIfInterrupted();

} // namespace zel::cli
