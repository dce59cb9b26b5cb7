// What strangers throw at the library's ports, and what does not come of it.

#include "connection_table.h"
#include "hexadecimal.h"
#include "library_with_module.h"
#include "phonebook.h"
#include "readiness.h"
#include "transaction_handler.h"
#include "udp_connection.h"

#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/ip/udp.hpp>

namespace zel::test {
namespace {

using asio::ip::udp;

class Datagrams : public LibraryWithModule {
protected:
    static constexpr const char* kModule = "00000000000000fe";

    void SetUp() override
    {
        LibraryWithModule::SetUp();
        m_uuid = connected(m_module);
        m_context = std::make_unique<asio::io_context>();
        m_socket = std::make_unique<udp::socket>(*m_context, udp::v4());
    }
    void TearDown() override
    {
        m_socket.reset();
        m_context.reset();
        LibraryWithModule::TearDown();
    }

    void send(const std::string& datagram, std::uint16_t port)
    {
        std::error_code full;
        m_socket->send_to(asio::buffer(datagram), {asio::ip::address_v4::loopback(), port}, 0,
                          full);
    }

    /// Module 254's answer to the scan with this label, sent by `source`.
    static std::string answer(unsigned label, const std::string& source,
                              const std::string& result = "00000000",
                              const std::string& destination = hex64(ZEL_XCOM_GetOwnUUID()),
                              const std::string& trailer = "87654321")
    {
        char digits[5];
        std::snprintf(digits, sizeof digits, "%04x", label & 0xFFFFu);
        return unhex("12345678 10 01 0000" + source + "0002" + digits + destination + "0006 000d" +
                     result) +
               "<SrvParams><IpAdr>1.2.3.4</IpAdr><TcpPort>1</TcpPort><Uuid>254</Uuid></SrvParams>" +
               unhex(trailer);
    }

    /// How many modules a scan finds while `work` runs.
    template <class Work>
    std::uint32_t foundDuring(Work&& work)
    {
        auto scan = std::async(std::launch::async, [] {
            auto segment = std::make_unique<ZEL_SegmentArray>();
            EXPECT_EQ(ZEL_XCOM_ScanEthSegment(0xFFFFFFFF, segment.get()), ZEL_OK);
            return segment->count;
        });
        work();
        return scan.get();
    }

    std::uint64_t m_uuid = 0;
    std::unique_ptr<asio::io_context> m_context;
    std::unique_ptr<udp::socket> m_socket;
};

TEST_F(Datagrams, OfStrangersEnterNothing)
{
    const std::string own = hex64(ZEL_XCOM_GetOwnUUID());
    const std::string good = "00000000";
    const std::uint32_t found = foundDuring([&] {
        for (const std::uint16_t port : {std::uint16_t{1201}, std::uint16_t{1300}}) {
            // Every label: one of them is the scan's own.
            for (unsigned label = 0; label < 1000; ++label) {
                send(answer(label, "00000000000000aa"), port);
                send(answer(label, kModule, good, own, "87654320"), port);
                send(answer(label, kModule, good, "0123456789abcdef"), port);
                send(answer(label, kModule, "ffffffff"), port);
            }
            send("", port);
            send(std::string(19, 'x'), port);
            send(unhex("12345678 10 01 0000 00000000000000aa 87654321"), port);
            send(std::string(65507, 'x'), port);
        }
    });
    EXPECT_EQ(found, 0u);
    EXPECT_EQ(echo(m_uuid), ZEL_OK);
}

TEST_F(Datagrams, OfAModuleCountAlsoWithAWarning)
{
    const std::uint32_t found = foundDuring([&] {
        // Again and again: the scan may not have begun yet.
        for (const Stopwatch watch; watch.elapsed() < 1000ms;)
            for (unsigned label = 0; label < 1000; ++label)
                send(answer(label, kModule, "00000001"), 1201);
    });
    EXPECT_EQ(found, 1u);
}

TEST_F(Datagrams, InAFloodLeaveTheConnectionsServed)
{
    const std::string noise =
        unhex("12345678 10 01 0000 00000000000000aa") + std::string(500, 'x') + unhex("87654321");
    const std::uint32_t found = foundDuring([&] {
        auto calls = std::async(std::launch::async, [&] {
            int good = 0;
            const Stopwatch watch;
            while (watch.elapsed() < 2000ms)
                good += echo(m_uuid) == ZEL_OK ? 1 : 0;
            return good;
        });
        for (int i = 0; i < 100000; ++i)
            send(noise, 1201);
        EXPECT_GT(calls.get(), 100);
    });
    EXPECT_EQ(found, 0u);
}

TEST_F(Datagrams, LeaveByTheChosenAdapterOrNotAtAll)
{
    sys::EventLoop loop;
    clConHndlr connections{loop};
    clTransactionHandlerRequestorOnly handler{connections};
    clUDPConnection broadcasts{loop, handler};
    const std::string datagram = "for nobody";
    const Bytes bytes = asBytes(datagram.data(), datagram.size());
    EXPECT_EQ(broadcasts.sendOver(987654, bytes), ZEL_CONN_SEND_FAILED);
    EXPECT_EQ(broadcasts.sendOver(clUDPConnection::kAnyInterface, bytes), ZEL_OK);
}

TEST_F(Datagrams, PortsThatOthersHaveCostOnlyTheScans)
{
    ZEL_Unload();
    udp::socket taken{*m_context, {udp::v4(), 1201}};
    testing::internal::CaptureStderr();
    ZEL_Init();
    testing::internal::GetCapturedStderr();
    m_uuid = connected(m_module);
    EXPECT_EQ(echo(m_uuid), ZEL_OK);
    EXPECT_EQ(foundDuring([] {}), 0u);
    taken.close();
}

TEST(Phonebook, KeepsOfForgedAnswersOnlySoManyAndSoMuch)
{
    const auto phonebook = std::make_shared<clPhonebook>();
    const clPhonebook::Scan scan{phonebook, 1};
    ModuleRecord record;
    record.address = std::string(300, '9');
    for (int i = 0; i < 300; ++i)
        record.name += "\u00fc"; // two bytes: the last one that fits must not be cut in half
    for (record.uuid = 0; record.uuid < clPhonebook::kMostModules + 5; ++record.uuid)
        phonebook->enter(1, record);
    record.uuid = 7;
    record.type = "known already";
    phonebook->enter(1, record);
    std::size_t count = 0;
    scan.list([&](const ModuleRecord& kept) {
        ++count;
        EXPECT_EQ(kept.address.size(), clPhonebook::kLongestText);
        EXPECT_EQ(kept.name.size(), clPhonebook::kLongestText - 1);
        EXPECT_EQ(kept.type.empty(), kept.uuid != 7);
    });
    EXPECT_EQ(count, clPhonebook::kMostModules);
}

TEST(Phonebook, ListsEachScanWhatCameSinceItBegan)
{
    const auto phonebook = std::make_shared<clPhonebook>();
    const auto enter = [&](std::uint32_t interfaceIndex, std::uint64_t uuid) {
        ModuleRecord record;
        record.uuid = uuid;
        phonebook->enter(interfaceIndex, record);
    };
    const auto listed = [](const clPhonebook::Scan& scan) {
        std::vector<std::uint64_t> uuids;
        scan.list([&](const ModuleRecord& module) { uuids.push_back(module.uuid); });
        return uuids;
    };
    using Uuids = std::vector<std::uint64_t>;
    std::optional<clPhonebook::Scan> first{std::in_place, phonebook, std::nullopt};
    enter(1, 1);
    enter(2, 2);
    std::optional<clPhonebook::Scan> second{std::in_place, phonebook, 1u};
    enter(1, 3);
    EXPECT_EQ(listed(*first), (Uuids{1, 3, 2}));
    EXPECT_EQ(listed(*second), Uuids{3});
    first.reset();
    second.reset();
    const clPhonebook::Scan third{phonebook, 1u};
    EXPECT_EQ(listed(third), Uuids{});
}

#ifdef _WIN32
TEST(DatagramSocket, ThatCannotReceiveIsTriedAgain)
{
    sys::EventLoop loop;
    sys::Readiness readiness{loop}; // without a socket every attempt is refused at once
    const auto buffer = std::make_shared<sys::DatagramBuffer>();
    int attempts = 0;
    loop.addEvent(readiness.event(), [&] {
        EXPECT_FALSE(readiness.nextDatagram(buffer));
        if (++attempts == 2)
            loop.stop();
        return 0;
    });
    readiness.arm();
    const Stopwatch watch;
    EXPECT_EQ(loop.execute(), 0);
    EXPECT_GT(watch.elapsed(), 500ms);
}
#endif

} // namespace
} // namespace zel::test
