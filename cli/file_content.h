#pragma once

#include <filesystem>
#include <string>

namespace zel::cli {

/// A file name as it stands on the command line (UTF-8 on both platforms).
std::filesystem::path hostPath(const std::string& name);

/// A path in the library's way, UTF-8.
std::string hostName(const std::filesystem::path& path);

/// The whole file, or standard input for "-". Throws CommandFailure.
std::string readHostFile(const std::string& name);

/// Throws CommandFailure when the file is there and may not be replaced.
void requireNewFile(const std::string& name, bool mayReplace);

/// Throws CommandFailure for what cannot be copied: folders, pipes, devices, and files of the
/// system that have no size of their own.
void requireCopyableFile(const std::string& name);

/// Throws CommandFailure when the file cannot be written in full.
void writeHostFile(const std::string& name, const std::string& content);

} // namespace zel::cli
