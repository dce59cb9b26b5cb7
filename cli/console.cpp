#include "console.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>

#ifdef _WIN32
#include <windows.h>
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
#include <sys/stat.h>
#else
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace zel::cli {

namespace {

void (*onHangUp)() = nullptr;

} // namespace

std::optional<std::string> askPerson(const std::string& question)
{
    std::FILE* const shown = isTerminal(stderr) ? stderr : stdout;
    if (!isTerminal(stdin) || !isTerminal(shown))
        return {};
    const auto handler = std::signal(SIGINT, SIG_DFL);
    std::fputs(question.c_str(), shown);
    std::fflush(shown);
    std::string answer;
    int c = std::getc(stdin);
    for (; c != EOF && c != '\n'; c = std::getc(stdin))
        answer += static_cast<char>(c);
    std::fputs(c == EOF ? "\n" : "", shown);
    std::signal(SIGINT, handler);
    return answer;
}

std::string environmentText(const char* name)
{
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string{} : std::string{value};
}

#ifdef _WIN32

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

int openToWrite(const std::filesystem::path& path)
{
    return _wopen(path.c_str(), _O_WRONLY | _O_CREAT | _O_TRUNC | _O_BINARY | _O_NOINHERIT,
                  _S_IREAD | _S_IWRITE);
}

std::size_t writeTo(int file, std::string_view bytes)
{
    constexpr std::size_t kMost = 1U << 20U; // to a pipe it is all or nothing
    std::size_t written = 0;
    while (written < bytes.size()) {
        const auto piece = bytes.substr(written, kMost);
        const int count = _write(file, piece.data(), static_cast<unsigned>(piece.size()));
        if (count <= 0) {
            // A part of the bytes found room: some runtimes have no error for that.
            errno = count == 0 || _doserrno == 0 ? ENOSPC : errno;
            break;
        }
        written += static_cast<std::size_t>(count);
    }
    return written;
}

std::optional<std::uint64_t> sizeOf(int file)
{
    struct _stat64 status {};
    if (_fstat64(file, &status) != 0 || (status.st_mode & _S_IFMT) != _S_IFREG)
        return {};
    return static_cast<std::uint64_t>(status.st_size);
}

bool cutTo(int file, std::uint64_t size)
{
    return _chsize_s(file, static_cast<std::int64_t>(size)) == 0 &&
           _lseeki64(file, 0, SEEK_END) >= 0;
}

bool closeFile(int file)
{
    return _close(file) == 0;
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

#else

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

int openToWrite(const std::filesystem::path& path)
{
    return open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
}

std::size_t writeTo(int file, std::string_view bytes)
{
    std::size_t written = 0;
    while (written < bytes.size()) {
        const auto count = write(file, bytes.data() + written, bytes.size() - written);
        if (count > 0) {
            written += static_cast<std::size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            errno = count == 0 ? ENOSPC : errno;
            break;
        }
    }
    return written;
}

std::optional<std::uint64_t> sizeOf(int file)
{
    struct stat status {};
    if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    return static_cast<std::uint64_t>(status.st_size);
}

bool cutTo(int file, std::uint64_t size)
{
    return ftruncate(file, static_cast<off_t>(size)) == 0 && lseek(file, 0, SEEK_END) >= 0;
}

bool closeFile(int file)
{
    return close(file) == 0;
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

#endif

} // namespace zel::cli
