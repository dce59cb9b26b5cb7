// Firmware images and files: what arrives is what was sent, and a transfer that fails leaves the
// way free for the next.

#include "firmware.h"
#include "library_with_module.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
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

    const auto before = m_module.received().size();
    EXPECT_EQ(ZEL_XSYS_WriteFile(m_uuid, path("absent").c_str(), "", "x"), ZEL_FILE_OPEN);
    EXPECT_EQ(ZEL_XSYS_WriteFile(m_uuid, path("").c_str(), "", "x"), ZEL_FILE_OPEN);
    EXPECT_EQ(m_module.received().size(), before) << "nothing is sent";
}

TEST_F(Transfers, LeaveTheHostsFileAsItIsUntilTheAnswerIsThere)
{
    constexpr std::int32_t kRefused = -1014302;
    const struct {
        simulator::MethodId id;
        std::function<std::int32_t(const std::string&)> into;
    } calls[] = {
        {{1, 11}, [this](auto& file) { return ZEL_XPAR_GetParViews(m_uuid, file.c_str()); }},
        {{3, 5}, [this](auto& file) { return ZEL_XCTRL_GetControls(m_uuid, file.c_str()); }},
        {{6, 21}, [this](auto& file) { return ZEL_XSYS_ReadFile(m_uuid, "", "x", file.c_str()); }},
    };
    m_module.setHandler(6, 19, [](const auto&) { return simulator::MethodAnswer{0}; });
    for (const auto& [id, into] : calls) {
        const auto answers = [&, id = id](simulator::MethodAnswer answer) {
            m_module.setHandler(id.service, id.method, [answer](const auto&) { return answer; });
        };
        put("old", "what was there");
        answers(kRefused);
        EXPECT_EQ(into(path("old")), kRefused) << id.service;
        EXPECT_EQ(into(path("new")), kRefused) << id.service;
        EXPECT_EQ(get("old"), "what was there") << id.service;
        EXPECT_FALSE(std::filesystem::exists(path("new"))) << id.service;
        answers({0, "short"});
        EXPECT_EQ(into(path("old")), ZEL_OK) << id.service;
        EXPECT_EQ(get("old"), "short") << id.service;
        m_module.clearReceived();
        for (const std::string& name : {path(""), path("no/file"), path(std::string(300, 'x'))})
            EXPECT_EQ(into(name), ZEL_FILE_OPEN) << name;
        EXPECT_TRUE(m_module.received().empty()) << "nothing is sent";
    }
}

TEST_F(Transfers, WaitForNoOtherModuleAndTakeAwayNoOtherCallsFile)
{
    simulator::ModuleSettings settings;
    settings.uuid = m_uuid + 63;
    simulator::Module& other = addModule(settings); // the UUIDs differ by 64 then
    simulator::MethodAnswer never;
    never.pending = 20s;
    never.silent = true;
    m_module.setHandler(6, 19, [never](const auto&) { return never; });
    auto waiting = std::async(std::launch::async, [this] {
        return ZEL_XSYS_ReadFile(m_uuid, "", "x", path("shared").c_str());
    });
    EXPECT_TRUE(m_module.waitForCalls(1, 5s));
    EXPECT_EQ(ZEL_XSTAT_GetTopology(path("shared").c_str()), ZEL_OK);
    const std::string topology = get("shared");
    EXPECT_NE(topology.find("<Topology>"), std::string::npos);
    EXPECT_EQ(ZEL_XSYS_WriteFile(connected(other), path("shared").c_str(), "", "x"), ZEL_OK);
    EXPECT_EQ(ZEL_XSYS_WriteFile(m_uuid, path("absent").c_str(), "", "x"), ZEL_FILE_OPEN);
    EXPECT_EQ(waiting.wait_for(0ms), std::future_status::timeout);
    EXPECT_EQ(ZEL_XCOM_Disconnect(m_uuid), ZEL_OK);
    EXPECT_EQ(waiting.get(), ZEL_CONN_RECEIVE_FAILED);
    EXPECT_EQ(get("shared"), topology);
}

} // namespace
} // namespace zel::test
