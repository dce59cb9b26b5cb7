#include "guarded_file.h"

namespace zel::acquisition {

std::filesystem::path recordingPath(const std::string& name)
{
    if (name.empty())
        throw GuardedFile::Failure("a recording needs the name of a file");
    try {
        return {std::u8string(name.begin(), name.end())};
    } catch (const std::exception&) {
        throw GuardedFile::Failure("the name of the file is not UTF-8");
    }
}

} // namespace zel::acquisition
