#include "file_content.h"

#include "command_failure.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>

namespace zel::cli {

namespace {

[[noreturn]] void fail(const std::string& tried, const std::string& name, int error)
{
    const std::string why = error != 0 ? std::strerror(error) : "input or output error";
    throw CommandFailure({.problem = "could not " + tried + " the file " + name + ": " + why,
                          .advice = "is the name right, and may you do that there?"});
}

std::string readAll(std::istream& stream)
{
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

} // namespace

std::filesystem::path hostPath(const std::string& name)
{
    return std::filesystem::path(std::u8string(name.begin(), name.end()));
}

std::string hostName(const std::filesystem::path& path)
{
    const std::u8string name = path.u8string();
    return {name.begin(), name.end()};
}

std::string readHostFile(const std::string& name)
{
    if (name == "-")
        return readAll(std::cin);
    const auto path = hostPath(name);
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored))
        fail("read", name, EISDIR);
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file)
        fail("open", name, errno);
    std::string content = readAll(file);
    if (file.bad())
        fail("read", name, errno);
    return content;
}

void requireNewFile(const std::string& name, bool mayReplace)
{
    std::error_code ignored;
    if (!mayReplace && std::filesystem::exists(hostPath(name), ignored)) {
        throw CommandFailure({.problem = "there is a file " + name + " already",
                              .advice = "name another file, or replace it with --force"});
    }
}

void requireCopyableFile(const std::string& name)
{
    const auto path = hostPath(name);
    std::error_code error;
    const bool isRegular = std::filesystem::is_regular_file(path, error);
    if (error)
        fail("open", name, error.value());
    errno = 0;
    std::ifstream file;
    if (isRegular) {
        file.open(path, std::ios::binary);
        if (!file)
            fail("open", name, errno);
    }
    const bool hasSize =
        isRegular && (std::filesystem::file_size(path, error) > 0 || file.peek() == EOF);
    if (!hasSize) {
        throw CommandFailure({.problem = name + " is no file that can be copied",
                              .advice = "folders, pipes, devices and the system's own files are "
                                        "not; put what they hold into a file first"});
    }
}

void writeHostFile(const std::string& name, const std::string& content)
{
    errno = 0;
    std::ofstream file(hostPath(name), std::ios::binary | std::ios::trunc);
    if (!file)
        fail("open", name, errno);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    file.close();
    if (!file)
        fail("write", name, errno);
}

} // namespace zel::cli
