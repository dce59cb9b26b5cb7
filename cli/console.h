#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What the terminal and the operating system do differently on the two platforms.
namespace zel::cli {

/// The command line as UTF-8, without the program's name.
std::vector<std::string> utf8Arguments(int argc, char** argv);

/// Prepares the streams: UTF-8 and cursor movements on a Windows console, and a reader that goes
/// away gives an error when writing instead of ending the process with its connections open.
void prepareConsole();

/// "" for what is not set.
std::string environmentText(const char* name);
void setEnvironment(const char* name, const std::string& value);

/// Gives what this process's standard output led to as a stream of its own; from then on everything
/// else that is written to standard output, by whatever library, goes to standard error.
/// Null when the system refuses.
std::FILE* takeStandardOutput();

bool isTerminal(std::FILE* stream);

struct TerminalSize {
    std::size_t columns = 80;
    std::size_t lines = 24;
};

/// Of the terminal behind the stream; the usual size when it does not tell.
TerminalSize terminalSize(std::FILE* stream);

/// The line that the person at the terminal answers; nothing, and nothing is asked, where nobody
/// sits there. Ctrl-C ends the process meanwhile.
std::optional<std::string> askPerson(const std::string& question);

/// Leaves the stream's bytes alone (Windows would turn every line end into two characters).
void makeBinary(std::FILE* stream);

/// Has the function called when the terminal is closed or the system shuts down, which on Windows
/// leaves the process some seconds; there also for Ctrl-Break. Comes on any thread, also as a
/// signal, any number of times.
void whenHungUp(void (*function)());

/// Writes without locks or memory: callable from a signal handler.
void writeFromSignalHandler(const char* text, std::size_t length);

} // namespace zel::cli
