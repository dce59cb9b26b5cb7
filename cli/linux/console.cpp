#include "console.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zel::cli {

namespace {

void (*onHangUp)() = nullptr;

} // namespace

std::vector<std::string> utf8Arguments(int argc, char** argv)
{
    return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

void prepareConsole()
{
    std::signal(SIGPIPE, SIG_IGN);
}

void setEnvironment(const char* name, const std::string& value)
{
    setenv(name, value.c_str(), 1);
}

std::FILE* takeStandardOutput()
{
    std::fflush(stdout);
    const int own = dup(STDOUT_FILENO);
    if (own < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
        return nullptr;
    return fdopen(own, "w");
}

bool isTerminal(std::FILE* stream)
{
    return isatty(fileno(stream)) != 0;
}

TerminalSize terminalSize(std::FILE* stream)
{
    winsize size{};
    const bool isKnown = ioctl(fileno(stream), TIOCGWINSZ, &size) == 0;
    if (!isKnown || size.ws_col < 2 || size.ws_row < 2)
        return {};
    return {size.ws_col, size.ws_row};
}

void makeBinary(std::FILE*) {}

void whenHungUp(void (*function)())
{
    onHangUp = function;
    // Under nohup it is ignored, and shall be.
    if (std::signal(SIGHUP, SIG_IGN) != SIG_IGN)
        std::signal(SIGHUP, [](int) { onHangUp(); });
}

void writeFromSignalHandler(const char* text, std::size_t length)
{
    [[maybe_unused]] const auto written = write(STDERR_FILENO, text, length);
}

} // namespace zel::cli
