// zel firmware write and status: new firmware for a module.

#include "application.h"
#include "firmware_images.h"
#include "interrupt.h"
#include "module_session.h"
#include "number_text.h"
#include "progress_bar.h"

#include <chrono>
#include <future>
#include <thread>

#include <nlohmann/json.hpp>

namespace zel::cli {

namespace {

using Clock = std::chrono::steady_clock;

struct FirmwareArguments {
    std::string address;
    std::string folder;
    bool isTransferOnly = false;
    std::uint32_t stallSeconds = 300;
};

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// How far a transfer is. Bytes count as sent when the module has taken the whole image; within an
/// image the bar runs on by the speed of the images before.
class TransferProgress {
public:
    explicit TransferProgress(const std::vector<FirmwareImage>& images)
    {
        for (const auto& image : images)
            m_total += image.size;
    }

    void beginImage(const FirmwareImage& image, std::size_t number, std::size_t count)
    {
        m_size = image.size;
        m_imageStart = Clock::now();
        m_name = "image " + std::to_string(number) + " of " + std::to_string(count) + ", " +
                 image.name + " (" + byteCount(image.size) + ")";
        m_bar.beginStep(m_name);
    }

    void draw()
    {
        constexpr double kMostOfAnImage = 0.95;
        const double speed = m_busySeconds > 0 ? static_cast<double>(m_sent) / m_busySeconds : 0;
        const double inImage = std::min(speed * secondsSince(m_imageStart),
                                        kMostOfAnImage * static_cast<double>(m_size));
        const double done = static_cast<double>(m_sent) + inImage;
        const auto total = static_cast<double>(std::max<std::uint64_t>(m_total, 1));
        const std::string left = speed > 0 ? duration((total - done) / speed) + " left" : "started";
        m_bar.draw(done / total,
                   left + ", " + byteCount(m_sent) + " of " + byteCount(m_total) + ", " + m_name);
    }

    void endImage()
    {
        m_sent += m_size;
        m_busySeconds += secondsSince(m_imageStart);
        m_size = 0;
        draw();
    }

    std::uint64_t total() const { return m_total; }

private:
    ProgressBar m_bar;
    std::uint64_t m_total = 0;
    std::uint64_t m_sent = 0;
    std::uint64_t m_size = 0;
    double m_busySeconds = 0;
    Clock::time_point m_imageStart;
    std::string m_name;
};

/// The library's transfer tells nothing while it runs. One image at a time, the command knows how
/// far it is and can stop between two.
std::uint64_t transfer(const ModuleSession& session, const std::vector<FirmwareImage>& images)
{
    constexpr std::chrono::milliseconds kRedraw{200};
    TransferProgress progress(images);
    for (std::size_t i = 0; i < images.size(); ++i) {
        stopIfInterrupted();
        const SingleImageFolder folder(images[i]);
        progress.beginImage(images[i], i + 1, images.size());
        session.ask(
            {.tried = "write the firmware image " + images[i].name,
             .advice = "nothing was flashed: the module goes on with the firmware that it has",
             .answer = Answer::words},
            [&](Module& module) {
                auto result =
                    std::async(std::launch::async, [&] { module.writeFirmware(folder.name()); });
                do {
                    progress.draw();
                } while (result.wait_for(kRedraw) != std::future_status::ready);
                result.get();
            });
        progress.endImage();
    }
    return progress.total();
}

FlashStatus flashStatus(const ModuleConnection& module)
{
    return module.ask({"read the flashing status"},
                      [](const Module& one) { return one.flashStatus(); });
}

FlashStatus flashUntilDone(const ModuleSession& session, std::uint32_t stallSeconds)
{
    constexpr std::chrono::milliseconds kPause{250};
    constexpr std::uint32_t kDone = 100;
    session.ask({.tried = "start flashing", .answer = Answer::words},
                [](Module& module) { module.startFlashing(); });
    ProgressBar bar;
    bar.beginStep("flashing");
    const auto start = Clock::now();
    auto lastStep = start;
    FlashStatus flash = flashStatus(session);
    while (flash.progress < kDone) {
        const double elapsed = secondsSince(start);
        const double share = flash.progress / 100.0;
        bar.draw(share, (share > 0 ? duration(elapsed / share - elapsed) + " left, " : "") +
                            "flashing, status " + std::to_string(flash.status));
        std::this_thread::sleep_for(kPause);
        const FlashStatus next = flashStatus(session);
        if (next.progress != flash.progress || next.status != flash.status)
            lastStep = Clock::now();
        flash = next;
        if (secondsSince(lastStep) > stallSeconds) {
            throw CommandFailure(
                {.problem = session.address() + " has not got on with flashing for " +
                            duration(stallSeconds) + " (status " + std::to_string(flash.status) +
                            ", " + std::to_string(flash.progress) + " %)",
                 .advice = "do not switch the module off: 'zel firmware status' shows whether it "
                           "goes on, "
                           "'zel errors' what is wrong"});
        }
    }
    bar.draw(1, "flashed");
    return flash;
}

void write(CommandOutput& output, const FirmwareArguments& arguments)
{
    const auto images = firmwareImagesIn(arguments.folder);
    const ModuleSession session(arguments.address);
    const std::uint64_t sent = transfer(session, images);
    auto names = nlohmann::json::array();
    for (const auto& image : images)
        names.push_back(image.name);
    nlohmann::json result{{"images", names}, {"bytes", sent}, {"flashed", false}};
    std::string text =
        "sent " + counted(images.size(), "image") + ", " + byteCount(sent) + " in all";
    if (!arguments.isTransferOnly) {
        const FlashStatus flash = flashUntilDone(session, arguments.stallSeconds);
        result["flashed"] = true;
        result["status"] = flash.status;
        text += "; flashed, status " + std::to_string(flash.status);
    }
    if (output.isJson)
        output.json(session.identity(), result);
    else
        output.value(text);
}

void status(CommandOutput& output, const FirmwareArguments& arguments)
{
    const ModuleSession session(arguments.address);
    const FlashStatus flash = flashStatus(session);
    if (output.isJson) {
        output.json(session.identity(), {{"status", flash.status}, {"progress", flash.progress}});
    } else {
        output.line("status " + std::to_string(flash.status) + ", " +
                    std::to_string(flash.progress) + " %");
    }
}

} // namespace

void addFirmwareCommands(CLI::App& app, Application& application)
{
    auto& firmware = addCommand(app, {.name = "firmware",
                                      .group = "System",
                                      .description = "Give a module new firmware",
                                      .examples = ""});
    firmware.require_subcommand(0, 1);

    auto& writeCommand =
        addCommand(firmware, {.name = "write",
                              .group = "Commands",
                              .description = "Send the images of a folder and flash them",
                              .examples = "  zel firmware write 192.168.169.20 images-4.3"});
    const auto arguments = std::make_shared<FirmwareArguments>();
    addAddressArgument(writeCommand, arguments->address);
    writeCommand.add_option("FOLDER", arguments->folder, "Folder that holds the firmware images")
        ->required();
    writeCommand.add_flag("--transfer-only", arguments->isTransferOnly,
                          "Send the images, but do not start to flash them");
    writeCommand
        .add_option("--stall", arguments->stallSeconds,
                    "Give up when the flashing does not get on for so long (default 300)")
        ->check(CLI::Range(1, 86400))
        ->option_text("SECONDS");
    whenChosen(writeCommand, application, arguments, write);

    auto& statusCommand =
        addCommand(firmware, {.name = "status",
                              .group = "Commands",
                              .description = "Tell how far the flashing is",
                              .examples = "  zel firmware status 192.168.169.20"});
    const auto toWatch = std::make_shared<FirmwareArguments>();
    addAddressArgument(statusCommand, toWatch->address);
    whenChosen(statusCommand, application, toWatch, status);
}

} // namespace zel::cli
