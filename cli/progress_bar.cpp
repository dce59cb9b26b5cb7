#include "progress_bar.h"

#include "console.h"
#include "printable.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace zel::cli {

ProgressBar::ProgressBar() : m_isTerminal(isTerminal(stderr)) {}

ProgressBar::~ProgressBar()
{
    if (m_isDrawn)
        std::fputs("\n", stderr);
}

void ProgressBar::beginStep(const std::string& text)
{
    if (!m_isTerminal)
        std::fputs((printable(text) + "\n").c_str(), stderr);
}

void ProgressBar::draw(double share, const std::string& text)
{
    constexpr std::size_t kCells = 16;
    const double bounded = std::clamp(share, 0.0, 1.0);
    const auto filled = static_cast<std::size_t>(std::floor(bounded * double{kCells}));
    const auto percent = std::to_string(std::llround(std::floor(bounded * 100)));
    draw("[" + std::string(filled, '#') + std::string(kCells - filled, '.') + "] " +
         std::string(3 - std::min<std::size_t>(percent.size(), 3), ' ') + percent + " %  " + text);
}

void ProgressBar::draw(const std::string& text)
{
    if (!m_isTerminal)
        return;
    // A line that wraps would not be drawn over by the next one.
    std::string line{firstColumns(printable(text), terminalSize(stderr).columns - 1)};
    const std::size_t width = columns(line);
    line.append(m_drawnColumns - std::min(m_drawnColumns, width), ' ');
    m_drawnColumns = width;
    m_isDrawn = true;
    std::fputs(("\r" + line).c_str(), stderr);
    std::fflush(stderr);
}

void ProgressBar::clear()
{
    if (m_isDrawn)
        std::fputs(("\r" + std::string(m_drawnColumns, ' ') + "\r").c_str(), stderr);
    m_isDrawn = false;
    m_drawnColumns = 0;
}

void ProgressBar::tell(const std::string& text)
{
    clear();
    std::fputs((printable(text) + "\n").c_str(), stderr);
}

} // namespace zel::cli
