#include "firmware_images.h"

#include "command_failure.h"
#include "file_content.h"
#include "number_text.h"

#include <array>
#include <random>

namespace zel::cli {

namespace fs = std::filesystem;

namespace {

struct KnownImage {
    const char* name;
    std::uint64_t largestSize;
};

/// The order matters: the images that a module falls back to come first, the description last.
constexpr std::array kKnownImages{
    KnownImage{"pImage_bak", 0x100000},      KnownImage{"rootfs_bak.initrd", 0x400000},
    KnownImage{"pImage", 0x100000},          KnownImage{"rootfs.initrd", 0x600000},
    KnownImage{"emptyfile.bin", 0x300000},   KnownImage{"afcdev.bin", 0x100000},
    KnownImage{"MspAppl.bin", 0x10000},      KnownImage{"MspLoader.bin", 0x10000},
    KnownImage{"ubootenv.bin", 0x20000},     KnownImage{"uboot.bin", 0x40000},
    KnownImage{"NecAppl.bin", 0x100000},     KnownImage{"NecLoader.bin", 0x100000},
    KnownImage{"FirmwareUpdate.xml", 100000}};

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

void requireSize(const FirmwareImage& image, std::uint64_t largest)
{
    if (image.size > largest) {
        throw CommandFailure({.problem = "the image " + hostName(image.path) + " has " +
                                         std::to_string(image.size) + " bytes, but modules take " +
                                         std::to_string(largest) + " at most",
                              .advice = "nothing was sent; is it the right file?"});
    }
}

} // namespace

std::vector<FirmwareImage> firmwareImagesIn(const std::string& folder)
{
    const fs::path directory = hostPath(folder);
    std::vector<FirmwareImage> images;
    std::error_code error;
    for (const KnownImage& known : kKnownImages) {
        const fs::path path = directory / known.name;
        if (fs::exists(fs::symlink_status(path, error))) {
            requireCopyableFile(hostName(path));
            images.push_back({known.name, path, fs::file_size(path, error)});
            requireSize(images.back(), known.largestSize);
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
