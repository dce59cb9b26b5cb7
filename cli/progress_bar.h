#pragma once

#include <chrono>
#include <string>

namespace zel::cli {

/// One line on standard error that is drawn again and again; on something that is no terminal, a
/// line for each step instead.
class ProgressBar {
public:
    ProgressBar();
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// Tells people that follow a log which step has begun.
    void beginStep(const std::string& text);

    /// share is from 0 to 1.
    void draw(double share, const std::string& text);

    /// Where nobody knows how much is still to come.
    void draw(const std::string& text);

    /// Takes away what is drawn.
    void clear();

    /// A line for people that stays, also where there is no terminal.
    void tell(const std::string& text);

private:
    const bool m_isTerminal;
    bool m_isDrawn = false;
    std::size_t m_drawnColumns = 0;
};

} // namespace zel::cli
