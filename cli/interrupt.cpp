#include "interrupt.h"

#include <csignal>

#include "console.h"

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

} // namespace

void installInterruptHandler()
{
    std::signal(SIGINT, onInterrupt);
    std::signal(SIGTERM, onInterrupt);
}

bool isInterrupted()
{
    return interruptions != 0;
}

void stopIfInterrupted()
{
    if (isInterrupted()) {
        throw Interrupted{};
    }
}

} // namespace zel::cli
