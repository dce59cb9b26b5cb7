#include "module_files.h"

#include "module_codes.h"

#include <algorithm>

namespace zel::simulator {

namespace {

constexpr std::size_t kLongestPath = 255;
constexpr std::size_t kMostHosts = 64;
constexpr std::size_t kMostBytes = 128u << 20;
constexpr std::int32_t kNameTooLong = -1016050;

} // namespace

Outcome ModuleFiles::choose(std::uint64_t host, std::string_view path)
{
    if (path.size() > kLongestPath)
        return {kNameTooLong, "a file's path has at most 255 characters"};
    const bool isClean = std::ranges::none_of(
        path, [](char letter) { return static_cast<unsigned char>(letter) < 32; });
    if (path.empty() || !isClean)
        return {kBadParameter, "this is not a file's path"};
    if (m_chosen.size() >= kMostHosts && !m_chosen.contains(host))
        m_chosen.clear();
    m_chosen[host] = path;
    return {};
}

Outcome ModuleFiles::write(std::uint64_t host, std::string bytes)
{
    const auto chosen = m_chosen.find(host);
    if (chosen == m_chosen.end())
        return {kNoFileChosen, "no file was chosen"};
    std::size_t total = bytes.size();
    for (const auto& [path, content] : m_files)
        total += path == chosen->second ? 0 : content.size();
    if (total > kMostBytes)
        return {kFileWrite, "no room for " + std::to_string(bytes.size()) + " bytes more"};
    m_files[chosen->second] = std::move(bytes);
    return {};
}

Outcome ModuleFiles::read(std::uint64_t host) const
{
    const auto chosen = m_chosen.find(host);
    if (chosen == m_chosen.end())
        return {kNoFileChosen, "no file was chosen"};
    const auto file = m_files.find(chosen->second);
    if (file == m_files.end())
        return {kFileNotFound, "there is no file '" + chosen->second + "'"};
    return {0, file->second};
}

} // namespace zel::simulator
