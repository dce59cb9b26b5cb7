#include "hexadecimal.h"
#include "simulator.h"
#include "waiting.h"
#include "wire_peer.h"

#include <map>
#include <string>

#include <gtest/gtest.h>

namespace zel::test {
namespace {

using namespace simulator;

constexpr const char* kToModule = "12345678 10 01"; // start, header length, transaction
constexpr const char* kHost = "000a00000000b0b0";   // Src of the host
constexpr const char* kModule = "0000001234ab0001"; // the module's UUID
constexpr const char* kTrailer = "87654321";

/// A simulated module and a host that is played by hand.
class ModuleOnTheWire : public testing::Test {
protected:
    ModuleOnTheWire()
    {
        m_module.setHandler(9, 1, [](const MethodCall& call) {
            return MethodAnswer{0, call.data};
        });
        m_host.connectTo(m_module.port());
    }

    static std::string sized(std::size_t size) { return hex64(size).substr(12); }

    /// A transaction of the host; `body` in hexadecimal, after the label.
    void send(const std::string& type, const std::string& label, const std::string& body,
              const std::string& destination = kModule)
    {
        const std::string size = sized(12 + unhex(body).size());
        m_host.write(
            unhex(kToModule + size + kHost + type + label + destination + body + kTrailer));
    }

    /// The module's next telegram without what all of them must have in common.
    std::string receive(const std::string& label)
    {
        const std::string telegram = hex(m_host.readTelegram());
        const std::string type = telegram.substr(32, 4);
        const std::size_t size = telegram.size() / 2 - 20;
        EXPECT_EQ(telegram.substr(0, 32), "1234567810"
                                          "01" +
                                              sized(size) + kModule);
        EXPECT_EQ(telegram.substr(36, 20), label + kHost) << "label and destination";
        EXPECT_EQ(telegram.substr(telegram.size() - 8), kTrailer);
        return type + telegram.substr(56, telegram.size() - 64);
    }

    /// Nothing came before the answer to this request, and the connection still works.
    void expectNothingPending(const std::string& label)
    {
        send("0001", label, "0009 0001 77");
        EXPECT_EQ(receive(label), "0002"
                                  "0009"
                                  "0001"
                                  "00000000"
                                  "77");
    }

    Simulator m_simulator;
    Module& m_module = m_simulator.addModule();
    WirePeer m_host;
};

TEST_F(ModuleOnTheWire, TellsItsUuidAndAnswersCalls)
{
    m_host.write(unhex("12345678 10 02 0004 000a00000000b0b0 0001 00a7 87654321"));
    EXPECT_EQ(hex(m_host.readTelegram()),
              "12345678"
              "10"
              "02"
              "0010"
              "0000001234ab0001" // frame
              "0100"
              "00a7"
              "00000000"
              "0000001234ab0001" // response, label, reserved, UUID
              "87654321");

    send("0001", "0005", "0009 0001 6869");
    EXPECT_EQ(receive("0005"), "0002"
                               "0009"
                               "0001"
                               "00000000"
                               "6869");
    send("0001", "0006", "0001 0063");
    EXPECT_EQ(receive("0006").substr(0, 20), "0002"
                                             "0001"
                                             "0063"
                                             "fff0bcf5")
        << "unknown method";
    ASSERT_EQ(m_module.received().size(), 2u);
    EXPECT_EQ(m_module.received()[0].data, "hi");
    EXPECT_EQ(m_module.received()[0].source, 0x000a00000000b0b0u);
}

TEST_F(ModuleOnTheWire, AcknowledgesEveryPieceOfARequestButTheLast)
{
    send("0010", "0001", "00000007"); // 7 bytes to come
    EXPECT_EQ(receive("0001"), "0012");
    send("0011", "0001", "0009 0001 61");
    EXPECT_EQ(receive("0001"), "0012");
    send("0011", "0001", "6263");
    EXPECT_EQ(receive("0001"), "0002"
                               "0009"
                               "0001"
                               "00000000"
                               "616263");
    EXPECT_TRUE(m_module.received().front().segmented);
}

TEST_F(ModuleOnTheWire, AnnouncesSegmentsAndWaitsForEachAcknowledge)
{
    m_module.setHandler(9, 2, [](const MethodCall&) {
        return MethodAnswer{0, std::string(kLargestWholeAnswer + 1, 'x')};
    });
    send("0001", "0001", "0009 0002");
    EXPECT_EQ(receive("0001"), "0003"
                               "00000bb8")
        << "3 s to go on";
    EXPECT_EQ(receive("0001"), "0013"
                               "0000fff4")
        << "8 bytes of header and 65516 of data";
    expectNothingPending("0002");
    send("0015", "0001", "");
    const std::string first = receive("0001");
    EXPECT_EQ(first.substr(0, 22), "0014"
                                   "0009"
                                   "0002"
                                   "00000000"
                                   "78");
    EXPECT_EQ(first.size(), 4 + 2 * 61440u);
    expectNothingPending("0003");
    send("0015", "0001", "");
    EXPECT_EQ(receive("0001").size(), 4 + 2 * (65524 - 61440u));
    send("0015", "0001", "");
    expectNothingPending("0004");
}

TEST_F(ModuleOnTheWire, DropsWhatAHostMustNotSend)
{
    // A piece beyond the announced length, and one that nobody announced.
    send("0010", "0001", "00000005");
    EXPECT_EQ(receive("0001"), "0012");
    send("0011", "0001", "0009 0001 6162");
    send("0011", "0002", "0009 0001");
    // Announcements without length, of nothing, and of far more than a module holds.
    send("0010", "0003", "0005");
    send("0010", "0004", "00000000");
    send("0010", "0005", "ffffffff");
    // A request without room for a method, and acknowledges of nothing.
    send("0001", "0006", "000900");
    send("0015", "0007", "");
    EXPECT_EQ(m_module.statistics().misaddressed, 0u);
    send("0001", "0008", "0009 0001", "0000001234ab0002");
    expectNothingPending("0009");
    EXPECT_EQ(m_module.statistics().misaddressed, 1u);
    EXPECT_EQ(m_module.received().size(), 1u);

    m_host.write(unhex("12345678 10 01 0000 000a00000000b0b0 87654320"));
    EXPECT_TRUE(m_host.isClosedByOther()) << "after a wrong trailer";
    EXPECT_TRUE(m_module.waitForConnections(0, 5000ms));
}

/// Each fault makes wrong what it names, and nothing else of the answer 000900010000000061.
TEST_F(ModuleOnTheWire, FaultsDistortWhatTheyName)
{
    const std::string good = std::string{"12345678"
                                         "10"
                                         "01"
                                         "0015"} +
                             kModule +
                             "0002"
                             "0001" +
                             kHost +
                             "0009"
                             "0001"
                             "00000000"
                             "61" +
                             kTrailer;
    struct Case {
        FaultKind kind;
        std::size_t position; // of the byte that is wrong
    };
    const Case cases[]{
        {FaultKind::wrongStart, 0},
        {FaultKind::wrongHeaderLength, 4},
        {FaultKind::wrongTelegramType, 5},
        {FaultKind::wrongSource, 15},
        {FaultKind::wrongTransactionType, 17},
        {FaultKind::wrongLabel, 19},
        {FaultKind::wrongDestination, 27},
        {FaultKind::wrongService, 29},
        {FaultKind::wrongMethod, 31},
        {FaultKind::wrongTrailer, 40},
    };
    for (const Case& distortion : cases) {
        SCOPED_TRACE(faultName(distortion.kind));
        Fault fault;
        fault.kind = distortion.kind;
        fault.count = 1;
        m_module.setFault(fault);
        send("0001", "0001", "0009 0001 61");
        const std::string answer = m_host.read(good.size() / 2);
        std::string expected = unhex(good);
        EXPECT_NE(answer[distortion.position], expected[distortion.position]);
        expected[distortion.position] = answer[distortion.position];
        EXPECT_EQ(hex(answer), hex(expected));
        expectNothingPending("0002");
    }
}

TEST_F(ModuleOnTheWire, FaultsOfSegmentsAndPendingTimes)
{
    const auto next = [this](FaultKind kind) {
        Fault fault;
        fault.kind = kind;
        fault.count = 1;
        fault.size = 4;
        fault.time = 250ms;
        m_module.setFault(fault);
        send("0001", "0001", "0009 0001 6162");
        return receive("0001");
    };
    EXPECT_EQ(next(FaultKind::wrongPendingLength), "0003"
                                                   "0000");
    EXPECT_EQ(next(FaultKind::pendingOnly), "0003"
                                            "000000fa");
    EXPECT_EQ(next(FaultKind::segmentsUnannounced), "0013"
                                                    "0000000a");
    EXPECT_EQ(next(FaultKind::wrongSegmentLength), "0003"
                                                   "00000bb8");
    EXPECT_EQ(receive("0001"), "0013"
                               "0000");

    EXPECT_EQ(next(FaultKind::shortSegments), "0003"
                                              "00000bb8");
    EXPECT_EQ(receive("0001"), "0013"
                               "0000000a");
    for (const char* piece : {"00090001", "00000000", "6162"}) {
        send("0015", "0001", "");
        EXPECT_EQ(receive("0001"), "0014" + std::string{piece});
    }

    EXPECT_EQ(next(FaultKind::oversizedSegment), "0003"
                                                 "00000bb8");
    EXPECT_EQ(receive("0001"), "0013"
                               "0000000a");
    send("0015", "0001", "");
    EXPECT_EQ(receive("0001"), "0014"
                               "00090001"
                               "00000000"
                               "6162"
                               "21");
    EXPECT_EQ(receive("0001"), "0014"
                               "00090001"
                               "00000000"
                               "6162");
}

TEST_F(ModuleOnTheWire, ARestartComesAfterItsAnswerAndEndsOnTheSamePort)
{
    m_module.inspect([](ModuleModel& model) { model.controls.ledModes[1] = 2; });
    const std::string cold =
        hex("<?xml version=\"1.0\" encoding=\"UTF-8\"?><SrvParams><Cold>1</Cold></SrvParams>");
    send("0001", "0001", "0006 000c" + cold);
    EXPECT_EQ(receive("0001"), "0002"
                               "0006"
                               "000c"
                               "00000000");
    EXPECT_TRUE(m_host.isClosedByOther());
    const std::uint16_t port = m_module.port();
    EXPECT_TRUE(eventually([&] {
        try {
            m_host.close();
            m_host.connectTo(port);
            expectNothingPending("0001");
            return true;
        } catch (const std::exception&) {
            return false;
        }
    }));
    EXPECT_TRUE(
        m_module.inspect([](ModuleModel& model) { return model.controls.ledModes.empty(); }));
}

TEST_F(ModuleOnTheWire, AModuleThatStopsReadingGoesOnWhereItStopped)
{
    Fault fault;
    fault.kind = FaultKind::stopReading;
    m_module.setFault(fault);
    for (int i = 0; i < 3; ++i)
        send("0001", "000" + std::to_string(i), "0009 0001 61");
    EXPECT_FALSE(m_module.waitForCalls(1, 100ms));
    m_module.clearFaults();
    EXPECT_TRUE(m_module.waitForCalls(3, 5000ms));
}

} // namespace
} // namespace zel::test
