#include "host_file.h"

#include "ZEL_VR_Framework.h"

#include <fstream>
#include <system_error>

namespace zel {

namespace {

constexpr std::size_t kChunk = std::size_t{1} << 20;

} // namespace

std::filesystem::path hostPath(std::string_view name)
{
    try {
        return {std::u8string(name.begin(), name.end())};
    } catch (const std::system_error&) {
        return {};
    }
}

std::int32_t readHostFile(const std::filesystem::path& file, std::uint64_t largest,
                          std::string& content)
{
    content.clear();
    std::error_code failure;
    // Opening a pipe would wait for whoever writes into it.
    if (!std::filesystem::is_regular_file(file, failure))
        return ZEL_FILE_OPEN;
    std::ifstream in{file, std::ios::binary};
    if (!in)
        return ZEL_FILE_OPEN;
    // To the end, whatever size the system tells: it has files without one.
    while (in.good() && content.size() <= largest) {
        const std::size_t before = content.size();
        content.resize(before + kChunk);
        in.read(content.data() + before, static_cast<std::streamsize>(kChunk));
        content.resize(before + static_cast<std::size_t>(in.gcount()));
    }
    const bool isTooLarge = content.size() > largest;
    if (!in.bad() && !isTooLarge)
        return ZEL_OK;
    content = {};
    return isTooLarge ? ZEL_SYS_FILE_TOO_LARGE : ZEL_FILE_READ;
}

HostFileWriter::HostFileWriter(const std::filesystem::path& file) : m_file(file)
{
    std::error_code ignored;
    // A link to nothing is there, and must not be removed either.
    const bool existed = std::filesystem::exists(std::filesystem::symlink_status(m_file, ignored));
    m_isOpen = !m_file.empty() && std::ofstream{m_file, std::ios::binary | std::ios::app}.is_open();
    m_isNew = m_isOpen && !existed;
}

HostFileWriter::~HostFileWriter()
{
    std::error_code ignored;
    if (m_isNew)
        std::filesystem::remove(m_file, ignored);
}

std::int32_t HostFileWriter::write(const void* data, std::size_t size)
{
    m_isNew = false;
    std::ofstream out{m_file, std::ios::binary | std::ios::trunc};
    out.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
    out.close();
    return out ? ZEL_OK : ZEL_FILE_WRITE;
}

} // namespace zel
