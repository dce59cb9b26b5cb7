#include "interrupt.h"

#include "console.h"

#include <csignal>

namespace zel::cli {

namespace {

volatile std::sig_atomic_t interruptions = 0;

extern "C" void onInterrupt(int signal)
{
    interruptions = 1;
    std::signal(signal, SIG_DFL);
    static const char note[] = "\nzel: stopping when the request that is running ends"
                               " (once more: leave at once)\n";
    writeFromSignalHandler(note, sizeof note - 1);
}

void onClosedTerminal()
{
    // No way out at the second one: terminals, shells and the system each send their own.
    interruptions = 1;
}

} // namespace

void installInterruptHandler()
{
    whenHungUp(onClosedTerminal);
    std::signal(SIGINT, onInterrupt);
    std::signal(SIGTERM, onInterrupt);
}

bool isInterrupted()
{
    return interruptions != 0;
}

void stopIfInterrupted()
{
    if (isInterrupted())
        throw Interrupted{};
}

} // namespace zel::cli
