// Firmware images and files: what arrives is what was sent, and a transfer that fails leaves the
// way free for the next.

#include "firmware.h"
#include "library_with_module.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>

namespace zel::test {
namespace {

using simulator::ModuleModel;

class Transfers : public LibraryWithModule {
protected:
    void SetUp() override
    {
        m_folder = std::filesystem::temp_directory_path() /
                   ("zel-transfers-" + std::to_string(std::random_device{}()));
        std::filesystem::create_directories(m_folder);
        LibraryWithModule::SetUp();
        m_uuid = connected(m_module);
    }
    void TearDown() override
    {
        LibraryWithModule::TearDown();
        std::filesystem::remove_all(m_folder);
    }

    std::string path(const std::string& name) const { return (m_folder / name).string(); }

    void put(const std::string& name, const std::string& content) const
    {
        std::ofstream{m_folder / name, std::ios::binary}
            << std::string_view{content.data(), content.size()};
    }
    std::string get(const std::string& name) const
    {
        std::ifstream in{m_folder / name, std::ios::binary};
        return {std::istreambuf_iterator<char>{in}, {}};
    }

    static std::string pattern(std::size_t size)
    {
        std::string bytes(size, '\0');
        std::minstd_rand random{static_cast<unsigned>(size) + 1};
        for (char& byte : bytes)
            byte = static_cast<char>(random() >> 8);
        return bytes;
    }

    std::atomic<bool> m_dies = false;
    std::filesystem::path m_folder;
    std::uint64_t m_uuid = 0;
};

TEST_F(Transfers, BringAWholeFirmwareSetOver)
{
    for (const firmware::Image& image : firmware::imageTable())
        put(image.name, pattern(static_cast<std::size_t>(image.largestSize)));
    ASSERT_EQ(ZEL_XSYS_WriteFirmware(m_uuid, m_folder.string().c_str()), ZEL_OK);
    const auto received =
        m_module.inspect([](ModuleModel& model) { return model.firmware.images(); });
    ASSERT_EQ(received.size(), firmware::imageTable().size());
    for (const auto& [index, content] : received)
        EXPECT_TRUE(content == get(firmware::imageTable()[index].name)) << index;
}

TEST_F(Transfers, AnnounceImagesByTheirPlaceAndStopAtOneThatIsTooLarge)
{
    put("emptyfile.bin", "four");
    put("uboot.bin", pattern(0x40001));
    put("NecAppl.bin", "never");
    EXPECT_EQ(ZEL_XSYS_WriteFirmware(m_uuid, m_folder.string().c_str()), ZEL_SYS_FILE_TOO_LARGE);
    const auto announced = m_module.received(6, 14);
    ASSERT_EQ(announced.size(), 1U);
    EXPECT_EQ(announced[0].data, "<?xml version=\"1.0\" encoding=\"UTF-8\"?><SrvParams>"
                                 "<Index>4</Index></SrvParams>");
    EXPECT_EQ(ZEL_XSYS_WriteFirmware(m_uuid, path("absent").c_str()), ZEL_FILE_NOT_FOUND);
}

TEST_F(Transfers, EndSoonWhenTheModuleDiesAndLeaveTheWayFree)
{
    put("rootfs.initrd", pattern(0x600000));
    m_module.setHandler(6, 14, [this](const auto&) {
        simulator::MethodAnswer answer{0};
        answer.afterwards = [this] { m_dies = true; };
        return answer;
    });
    std::thread killer{[this] {
        eventually([this] { return m_dies.load(); });
        m_module.resetConnections();
    }};
    const Stopwatch watch;
    const std::int32_t result = ZEL_XSYS_WriteFirmware(m_uuid, m_folder.string().c_str());
    killer.join();
    EXPECT_TRUE(result == ZEL_CONN_RECEIVE_FAILED || result == ZEL_CONN_SEND_FAILED ||
                result == ZEL_CONN_UNKNOWN_UUID)
        << result;
    EXPECT_LT(watch.elapsed(), 5000ms);
    m_module.setHandler(6, 14, {});
    ZEL_XCOM_Disconnect(m_uuid);
    std::uint64_t uuid = 0;
    ASSERT_EQ(connectTo(m_module, uuid), ZEL_OK);
    EXPECT_EQ(ZEL_XSYS_WriteFirmware(uuid, m_folder.string().c_str()), ZEL_OK);
}

TEST_F(Transfers, GoOnWhenTheModuleWarns)
{
    constexpr std::int32_t kWarning = 1000;
    put("pImage", pattern(100));
    put("back.bin", "old");
    for (const std::uint16_t method : {std::uint16_t{14}, std::uint16_t{19}})
        m_module.setHandler(6, method,
                            [](const auto&) { return simulator::MethodAnswer{kWarning}; });
    for (const std::uint16_t method : {std::uint16_t{1}, std::uint16_t{20}})
        m_module.setHandler(6, method, [](const auto&) { return simulator::MethodAnswer{0}; });
    m_module.setHandler(6, 21, [](const auto&) { return simulator::MethodAnswer{0, "new"}; });
    EXPECT_EQ(ZEL_XSYS_WriteFirmware(m_uuid, m_folder.string().c_str()), kWarning);
    EXPECT_EQ(m_module.received(6, 1).size(), 1u);
    EXPECT_EQ(ZEL_XSYS_WriteFile(m_uuid, path("pImage").c_str(), "", "x"), kWarning);
    EXPECT_EQ(m_module.received(6, 20).size(), 1u);
    EXPECT_EQ(ZEL_XSYS_ReadFile(m_uuid, "", "x", path("back.bin").c_str()), kWarning);
    EXPECT_EQ(get("back.bin"), "new");
}

TEST_F(Transfers, BringFilesThereAndBack)
{
    const std::string content = pattern(std::size_t{16} << 20);
    put("big.bin", content);
    ASSERT_EQ(ZEL_XSYS_WriteFile(m_uuid, path("big.bin").c_str(), "data", "copy.bin"), ZEL_OK);
    ASSERT_EQ(ZEL_XSYS_ReadFile(m_uuid, "data", "copy.bin", path("back.bin").c_str()), ZEL_OK);
    EXPECT_TRUE(get("back.bin") == content);
    EXPECT_EQ(m_module.received(6, 19).front().data,
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?><SrvParams>"
              "<FilePath>data/copy.bin</FilePath></SrvParams>");
    EXPECT_LT(ZEL_XSYS_ReadFile(m_uuid, "", "absent", path("new.bin").c_str()), 0);
    EXPECT_EQ(m_module.received(6, 19).back().data,
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?><SrvParams>"
              "<FilePath>absent</FilePath></SrvParams>");
    EXPECT_FALSE(std::filesystem::exists(path("new.bin"))) << "nothing is left half done";

    const auto before = m_module.received().size();
    EXPECT_EQ(ZEL_XSYS_WriteFile(m_uuid, path("absent").c_str(), "", "x"), ZEL_FILE_OPEN);
    EXPECT_EQ(ZEL_XSYS_ReadFile(m_uuid, "", "x", path("no/folder").c_str()), ZEL_FILE_OPEN);
    EXPECT_LT(ZEL_XSYS_WriteFile(m_uuid, m_folder.string().c_str(), "", "x"), 0);
    EXPECT_EQ(m_module.received().size(), before) << "nothing is sent";
}

} // namespace
} // namespace zel::test
