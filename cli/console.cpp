#include "console.h"

#include <csignal>
#include <cstdlib>

namespace zel::cli {

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

} // namespace zel::cli
