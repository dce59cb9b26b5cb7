#include "progress_bar.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "console.h"
#include "printable.h"

namespace zel::cli {

ProgressBar::ProgressBar() : m_isTerminal(isTerminal(stderr)) {}

ProgressBar::~ProgressBar()
{
    if (m_isDrawn) {
        std::fputs("\n", stderr);
    }
}

void ProgressBar::beginStep(const std::string& text)
{
    if (!m_isTerminal) {
        std::fputs((printable(text) + "\n").c_str(), stderr);
    }
}

void ProgressBar::draw(double share, const std::string& text)
{
    constexpr std::size_t kCells = 16;
    if (!m_isTerminal) {
        return;
    }
    const double bounded = std::clamp(share, 0.0, 1.0);
    const auto filled = static_cast<std::size_t>(std::floor(bounded * double{kCells}));
    const auto percent = std::to_string(std::llround(std::floor(bounded * 100)));
    std::string line = "[" + std::string(filled, '#') + std::string(kCells - filled, '.') + "] " +
                       std::string(3 - std::min<std::size_t>(percent.size(), 3), ' ') + percent +
                       " %  " + printable(text);
    // A line that wraps would not be drawn over by the next one.
    line = line.substr(0, terminalColumns() - 1);
    const std::size_t width = columns(line);
    line.append(m_drawnColumns - std::min(m_drawnColumns, width), ' ');
    m_drawnColumns = width;
    m_isDrawn = true;
    std::fputs(("\r" + line).c_str(), stderr);
    std::fflush(stderr);
}

} // namespace zel::cli
