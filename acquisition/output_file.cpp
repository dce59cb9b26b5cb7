#include "output_file.h"

#include <system_error>

namespace zel::acquisition {

OutputFile::OutputFile(const OutputTarget& target)
    : m_name(target.name.empty() ? "standard output" : target.name)
{
    if (target.name.empty()) {
        adopt(target.descriptor);
        return;
    }
    try {
        m_path = recordingPath(target.name);
        std::error_code ignored;
        if (std::filesystem::is_directory(m_path, ignored))
            throw SinkFailure("could not create " + m_name + ": it is a folder");
        const auto type = std::filesystem::status(m_path, ignored).type();
        const bool isDevice =
            std::filesystem::exists(m_path, ignored) && type != std::filesystem::file_type::regular;
        if (!isDevice || !target.mayReplace)
            m_guard.emplace(target.name, target.mayReplace ? GuardedFile::Opening::replace
                                                           : GuardedFile::Opening::create);
    } catch (const GuardedFile::Failure& failure) {
        throw SinkFailure(failure.what());
    }
    open();
    m_isOwn = true;
}

void OutputFile::undo()
{
    if (!m_guard || !m_guard->isNew())
        return;
    try {
        close();
    } catch (const SinkFailure&) {
        // It goes away anyway.
    }
    std::error_code ignored;
    std::filesystem::remove(m_path, ignored);
}

void OutputFile::clear()
{
    if (m_isOwn && m_isRegular && m_size > 0 && !takeBack(m_size))
        fail("it could not be emptied");
    m_written = 0;
}

void OutputFile::fail(const std::string& why) const
{
    throw SinkFailure("could not write to " + m_name + ": " + why);
}

} // namespace zel::acquisition
