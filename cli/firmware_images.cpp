#include "firmware_images.h"

#include <array>
#include <random>

#include "command_failure.h"
#include "file_content.h"
#include "number_text.h"

namespace zel::cli {

namespace fs = std::filesystem;

namespace {

/// The order matters: the images that a module falls back to come first, the description last.
constexpr std::array kImageNames{"pImage_bak",        "rootfs_bak.initrd", "pImage",
                                 "rootfs.initrd",     "emptyfile.bin",     "afcdev.bin",
                                 "MspAppl.bin",       "MspLoader.bin",     "ubootenv.bin",
                                 "uboot.bin",         "NecAppl.bin",       "NecLoader.bin",
                                 "FirmwareUpdate.xml"};

[[noreturn]] void fail(const std::string& problem, const std::error_code& error)
{
    throw CommandFailure({.problem = problem + ": " + error.message(),
                          .advice = "is there room for a copy of the images?"});
}

fs::path makePrivateFolder()
{
    std::random_device random;
    std::error_code error;
    for (int attempt = 0; attempt < 16; ++attempt) {
        const std::uint64_t number = (std::uint64_t{random()} << 32U) | random();
        const fs::path path = fs::temp_directory_path() / ("zel-firmware-" + hexadecimal(number));
        // A folder that is there already may be somebody else's: only a new one will do.
        if (fs::create_directory(path, error)) {
            fs::permissions(path, fs::perms::owner_all, error);
            return path;
        }
    }
    fail("could not make a folder in " + hostName(fs::temp_directory_path()), error);
}

} // namespace

std::vector<FirmwareImage> firmwareImagesIn(const std::string& folder)
{
    const fs::path directory = hostPath(folder);
    std::vector<FirmwareImage> images;
    std::error_code error;
    for (const char* const name : kImageNames) {
        const fs::path path = directory / name;
        if (fs::is_regular_file(path, error)) {
            images.push_back({name, path, fs::file_size(path, error)});
        }
    }
    if (images.empty()) {
        const bool isFolder = fs::is_directory(directory, error);
        throw CommandFailure(
            {.problem = isFolder ? "the folder " + folder + " holds no firmware image"
                                 : folder + " is no folder",
             .advice = "images have names like pImage, rootfs.initrd or FirmwareUpdate.xml"});
    }
    return images;
}

SingleImageFolder::SingleImageFolder(const FirmwareImage& image) : m_path(makePrivateFolder())
{
    std::error_code error;
    if (!fs::copy_file(image.path, m_path / image.name, error)) {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
        fail("could not copy " + hostName(image.path), error);
    }
}

SingleImageFolder::~SingleImageFolder()
{
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

std::string SingleImageFolder::name() const
{
    return hostName(m_path);
}

} // namespace zel::cli
