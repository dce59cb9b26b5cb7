#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace zel::cli {

struct FirmwareImage {
    std::string name;
    std::filesystem::path path;
    std::uint64_t size = 0;
};

/// The images that a folder holds, in the order in which they are transferred. Throws
/// CommandFailure when there are none, or one that no module takes.
std::vector<FirmwareImage> firmwareImagesIn(const std::string& folder);

/// A folder that holds one image alone, so that a transfer of it is a transfer of that image. Gone
/// with this object.
class SingleImageFolder {
public:
    explicit SingleImageFolder(const FirmwareImage& image);
    ~SingleImageFolder();
    SingleImageFolder(const SingleImageFolder&) = delete;
    SingleImageFolder& operator=(const SingleImageFolder&) = delete;

    std::string name() const;

private:
    std::filesystem::path m_path;
};

} // namespace zel::cli
