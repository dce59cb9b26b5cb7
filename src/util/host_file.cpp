#include "host_file.h"

#include "ZEL_VR_Framework.h"

#include <fstream>
#include <system_error>

namespace zel {

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
    std::ifstream in{file, std::ios::binary};
    if (file.empty() || !in)
        return ZEL_FILE_OPEN;
    std::error_code failure;
    const std::uintmax_t size = std::filesystem::file_size(file, failure);
    if (failure)
        return ZEL_FILE_READ;
    if (size > largest)
        return ZEL_SYS_FILE_TOO_LARGE;
    content.resize(static_cast<std::size_t>(size));
    in.read(content.data(), static_cast<std::streamsize>(content.size()));
    if (static_cast<std::size_t>(in.gcount()) == content.size())
        return ZEL_OK;
    content.clear();
    return ZEL_FILE_READ;
}

HostFileWriter::HostFileWriter(const std::filesystem::path& file) : m_file(file)
{
    std::error_code ignored;
    const bool existed = std::filesystem::exists(m_file, ignored);
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
