#include "console.h"

#include <cerrno>

#include <windows.h>
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
#include <sys/stat.h>

namespace zel::cli {

namespace {

void (*onHangUp)() = nullptr;

} // namespace

std::vector<std::string> utf8Arguments(int argc, char** argv)
{
    std::vector<std::string> arguments;
    int count = 0;
    wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
    if (wide == nullptr)
        return {argv + (argc > 0 ? 1 : 0), argv + argc};
    for (int i = 1; i < count; ++i) {
        const int size = WideCharToMultiByte(CP_UTF8, 0, wide[i], -1, nullptr, 0, nullptr, nullptr);
        std::string text(size > 0 ? static_cast<std::size_t>(size) : 1, '\0');
        WideCharToMultiByte(CP_UTF8, 0, wide[i], -1, text.data(), size, nullptr, nullptr);
        text.pop_back(); // the terminating zero, which the conversion counts
        arguments.push_back(std::move(text));
    }
    LocalFree(wide);
    return arguments;
}

void prepareConsole()
{
    SetConsoleOutputCP(CP_UTF8);
    // What moves the cursor is text like any other until it is asked for.
    const HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    if (GetConsoleMode(console, &mode) != 0)
        SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

void setEnvironment(const char* name, const std::string& value)
{
    _putenv_s(name, value.c_str()); // the system's own environment as well
}

std::FILE* takeStandardOutput()
{
    std::fflush(stdout);
    const int own = _dup(_fileno(stdout));
    if (own < 0 || _dup2(_fileno(stderr), _fileno(stdout)) != 0)
        return nullptr;
    return _fdopen(own, "wb");
}

bool isTerminal(std::FILE* stream)
{
    return _isatty(_fileno(stream)) != 0;
}

TerminalSize terminalSize(std::FILE* stream)
{
    CONSOLE_SCREEN_BUFFER_INFO info{};
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
    const bool isKnown = GetConsoleScreenBufferInfo(handle, &info) != 0;
    const int columns = info.srWindow.Right - info.srWindow.Left + 1;
    const int lines = info.srWindow.Bottom - info.srWindow.Top + 1;
    if (!isKnown || columns < 2 || lines < 2)
        return {};
    return {static_cast<std::size_t>(columns), static_cast<std::size_t>(lines)};
}

void makeBinary(std::FILE* stream)
{
    _setmode(_fileno(stream), _O_BINARY);
}

void whenHungUp(void (*function)())
{
    onHangUp = function;
    const auto handler = [](DWORD event) -> BOOL {
        if (event == CTRL_C_EVENT)
            return FALSE;
        onHangUp();
        // The process is ended as soon as this returns, so its end has to come first.
        if (event != CTRL_BREAK_EVENT)
            Sleep(INFINITE);
        return TRUE;
    };
    SetConsoleCtrlHandler(handler, TRUE);
}

void writeFromSignalHandler(const char* text, std::size_t length)
{
    [[maybe_unused]] const int written = _write(2, text, static_cast<unsigned>(length));
}

} // namespace zel::cli
