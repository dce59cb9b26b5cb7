#include "signal_path.h"
#include "ZEL_VR_Framework.h"

#include <array>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace zel {
namespace {

using signals::PathForm;
using signals::ReferenceKind;

struct Parsed {
    std::int32_t result;
    std::array<std::uint32_t, 4> numbers; // connector, channel, signal, type

    bool operator==(const Parsed&) const = default;
};

Parsed parse(const std::string& text)
{
    Parsed parsed{77, {77, 77, 77, 77}};
    auto& [connector, channel, signal, type] = parsed.numbers;
    parsed.result =
        ZEL_XUTIL_ParseSignalPath(text.c_str(), 0, &connector, &channel, &signal, &type);
    return parsed;
}

const Parsed kRefused{ZEL_FAILED, {0, 0, 0, 0}};

/// What a composer writes into a buffer that is large enough.
template <class Compose>
std::string composed(Compose compose)
{
    char buffer[256];
    std::uint64_t length = 99;
    EXPECT_EQ(compose(buffer, sizeof buffer, &length), ZEL_OK);
    EXPECT_EQ(length, std::string{buffer}.size());
    return buffer;
}

std::string channelPath(std::uint32_t connector, std::uint32_t channel, std::uint32_t type)
{
    return composed([&](char* buffer, std::uint64_t size, std::uint64_t* length) {
        return ZEL_XUTIL_ComposeChannelPath(connector, channel, type, buffer, size, length);
    });
}

std::string sensorPath(std::uint32_t type)
{
    return composed([&](char* buffer, std::uint64_t size, std::uint64_t* length) {
        return ZEL_XUTIL_ComposeSensorPath(1, 2, type, buffer, size, length);
    });
}

std::string signalPath(std::uint32_t connector, std::uint32_t channel, std::uint32_t signal,
                       std::uint32_t type)
{
    return composed([&](char* buffer, std::uint64_t size, std::uint64_t* length) {
        return ZEL_XUTIL_ComposeSignalPath(connector, channel, signal, type, buffer, size, length);
    });
}

constexpr const char* kCanTail = R"(]/Mode[@choice="CanBus"]/CanBus/CanInChannel[@address="5"])";

TEST(SignalPaths, AreComposedForEachType)
{
    EXPECT_EQ(channelPath(2, 5, 2), R"(Amplifier/Connector[@address="2")" + std::string{kCanTail});
    EXPECT_EQ(channelPath(2, 5, 3),
              R"(AdditionalConnector/Connector[@address="2")" + std::string{kCanTail});
    EXPECT_EQ(
        channelPath(2, 5, 4),
        R"(AdditionalConnector/Connector[@address="2"]/Mode[@choice="Fiber"]/Fiber/FiberChannel[@address="5"])");
    const std::string analog =
        R"(Amplifier/Connector[@address="4294967295"]/Mode[@choice="AnalogInChannel"]/AnalogInChannel)";
    EXPECT_EQ(channelPath(4294967295, 5, 1), analog);
    EXPECT_EQ(channelPath(4294967295, 6, 77), analog);

    EXPECT_TRUE(sensorPath(1).ends_with("/AnalogInChannel/Sensor"));
    EXPECT_TRUE(sensorPath(2).ends_with(R"(CanInChannel[@address="2"]/CanSensor)"));
    EXPECT_TRUE(sensorPath(3).starts_with(R"(AdditionalConnector/Connector[@address="1"])"));
    EXPECT_TRUE(sensorPath(4).ends_with(R"(FiberChannel[@address="2"]/Fiber)"));
    EXPECT_EQ(sensorPath(0), "");
    EXPECT_EQ(sensorPath(5), "");

    EXPECT_EQ(
        signalPath(1, 9, 3, 1),
        R"(Amplifier/Connector1/Mode[@choice="AnalogInChannel"]/AnalogInChannel/SyncSignal[@address="3"])");
    EXPECT_EQ(
        signalPath(1, 2, 9, 2),
        R"(Amplifier/Connector1/Mode[@choice="CanBus"]/CanBus/CanInChannel[@address="2"]/AsyncSignal)");
    EXPECT_EQ(
        signalPath(1, 2, 9, 3),
        R"(AdditionalConnector/Connector[@address="1"]/Mode/CanBus/CanInChannel[@address="2"]/AsyncSignal)");
    EXPECT_EQ(
        signalPath(1, 2, 3, 4),
        R"(AdditionalConnector/Connector1/Mode[@choice="Fiber"]/Fiber/FiberChannel[@address="2"]/SyncSignal[@address="3"])");
}

TEST(SignalPaths, OfFunctionsAndOfTheAmplifier)
{
    EXPECT_EQ(composed(ZEL_XUTIL_ComposeAlarmPath), "AdditionalFunction/Alarm");
    EXPECT_EQ(composed(ZEL_XUTIL_ComposeGatePath), "AdditionalFunction/Gate");
    EXPECT_EQ(composed(ZEL_XUTIL_ComposePeakPath), "AdditionalFunction/Peak");
    const auto indexed = [](auto compose) {
        return composed([&](char* buffer, std::uint64_t size, std::uint64_t* length) {
            return compose(buffer, size, length, 7);
        });
    };
    EXPECT_EQ(indexed(ZEL_XUTIL_ComposeMathIndexPath),
              R"(AdditionalFunction/Math/MathIndex[@address="7"])");
    EXPECT_EQ(indexed(ZEL_XUTIL_ComposePeakIndexPath),
              R"(AdditionalFunction/Peak/PeakIndex[@address="7"])");
    EXPECT_EQ(signals::alarmIndexPath(7), R"(AdditionalFunction/Alarm/AlarmIndex[@address="7"])");
    EXPECT_EQ(signals::gateIndexPath(7), R"(AdditionalFunction/Gate/GateIndex[@address="7"])");

    char buffer[64];
    EXPECT_EQ(ZEL_XUTIL_ComposeAmplifierPath(3, buffer, sizeof buffer), ZEL_OK);
    EXPECT_STREQ(buffer, "/Amplifier/Connector3/Mode/AnalogInChannel");
}

TEST(SignalPaths, AreCutWithoutAWordWhereTheBufferIsSmall)
{
    char buffer[8] = "#######";
    std::uint64_t length = 99;
    EXPECT_EQ(ZEL_XUTIL_ComposeAlarmPath(buffer, 5, &length), ZEL_OK);
    EXPECT_EQ(std::string(buffer, sizeof buffer), std::string("Addi\0##", 7) + '\0');
    EXPECT_EQ(length, 4u);
    EXPECT_EQ(ZEL_XUTIL_ComposeAlarmPath(buffer, 1, &length), ZEL_OK);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(ZEL_XUTIL_ComposeAlarmPath(buffer, sizeof buffer, nullptr), ZEL_OK);
    EXPECT_EQ(ZEL_XUTIL_ComposeAlarmPath(nullptr, 5, &length), ZEL_SYS_BAD_PARAMETER);
    EXPECT_EQ(ZEL_XUTIL_ComposeAlarmPath(buffer, 0, &length), ZEL_SYS_BAD_PARAMETER);
    EXPECT_EQ(length, 0u);
}

TEST(SignalPaths, AreTakenApartCountingFromOne)
{
    // The numbers of paths count from 1 already, and come out one too high.
    EXPECT_EQ(parse(signalPath(1, 9, 3, 1)), (Parsed{0, {2, 1, 4, 1}}));
    EXPECT_EQ(parse(signals::signalPath({1, 9, 3, 1}, PathForm::address)),
              (Parsed{0, {2, 1, 4, 1}}));
    EXPECT_EQ(parse(signalPath(1, 2, 3, 2)), (Parsed{0, {2, 3, 1, 2}}));
    EXPECT_EQ(parse(signals::signalPath({1, 2, 3, 2}, PathForm::address)),
              (Parsed{0, {2, 3, 1, 2}}));
    EXPECT_EQ(parse(signalPath(1, 2, 3, 3)), (Parsed{0, {2, 3, 1, 3}}));
    EXPECT_EQ(parse("AnalogIn_Connector0.Signal0"), (Parsed{0, {1, 1, 1, 1}}));
    EXPECT_EQ(parse("CanReceiver_Connector2.Decoder3.Signal4"), (Parsed{0, {3, 4, 1, 3}}));

    for (
        const char* const text :
        {"", "AnalogIn_Connector0.Signal0x", "AnalogIn_Connector0.Signal", "AnalogIn_Connector0",
         "analogIn_Connector0.Signal0", "AnalogIn_Connector4294967296.Signal0",
         "CanReceiver_Connector2.Decoder3.Signal4 ", "Fiber_Connector0.Channel0.Signal0",
         R"(Amplifier/Connector1/Mode[@choice="AnalogInChannel"]/AnalogInChannel)",
         R"(/Amplifier/Connector1/Mode[@choice="AnalogInChannel"]/AnalogInChannel/SyncSignal[@address="3"])"})
        EXPECT_EQ(parse(text), kRefused) << text;
    EXPECT_EQ(parse(signalPath(1, 2, 3, 4)), kRefused);
    EXPECT_EQ(parse(std::string(1'000'000, '1')), kRefused);
    EXPECT_EQ(parse("AnalogIn_Connector" + std::string(1'000'000, '1') + ".Signal0"), kRefused);

    std::uint32_t kept = 77;
    EXPECT_EQ(ZEL_XUTIL_ParseSignalPath(nullptr, 0, &kept, &kept, &kept, &kept),
              ZEL_SYS_BAD_PARAMETER);
    EXPECT_EQ(kept, 77u);
}

TEST(SignalReferences, AreClassifiedByTheirWholeWord)
{
    EXPECT_EQ(signals::kindOf("AnalogIn_Connector0.Signal0"), ReferenceKind::analogIn);
    EXPECT_EQ(signals::kindOf("AnalogOut_Index0"), ReferenceKind::analogOut);
    EXPECT_EQ(signals::kindOf("EtherCatReceiver_Connector0"), ReferenceKind::etherCatReceiver);
    EXPECT_EQ(signals::kindOf("CanCcpXcpReceiver_Connector0"), ReferenceKind::canCcpXcpReceiver);
    EXPECT_EQ(signals::kindOf("Fiber_"), ReferenceKind::fiber);
    EXPECT_EQ(static_cast<int>(ReferenceKind::fiber), 12);
    for (const char* const text :
         {"", "_", "Fiber", "FiberFb_Connector0.Channel0", "analogIn_Connector0.Signal0",
          "AnalogI_Connector0.Signal0", "Etalon_Spectrum0"})
        EXPECT_EQ(signals::kindOf(text), ReferenceKind::other) << text;
}

TEST(SignalReferences, BecomePathsInTheAddressForm)
{
    EXPECT_EQ(
        signals::pathOf("AnalogIn_Connector1.Signal2"),
        R"(Amplifier/Connector[@address="2"]/Mode[@choice="AnalogInChannel"]/AnalogInChannel/SyncSignal[@address="3"])");
    EXPECT_EQ(
        signals::pathOf("CanReceiver_Connector1.Decoder2.Signal0"),
        R"(AdditionalConnector/Connector[@address="2"]/Mode/CanBus/CanInChannel[@address="3"]/AsyncSignal)");
    EXPECT_EQ(
        signals::pathOf("Fiber_Connector0.Channel1.Signal2"),
        R"(AdditionalConnector/Connector[@address="1"]/Mode[@choice="Fiber"]/Fiber/FiberChannel[@address="2"]/SyncSignal[@address="3"])");
    const auto asAmplifiers =
        signals::numbersOf("CanReceiver_Connector1.Decoder2.Signal0", ZEL_CONNECTOR_CAN);
    ASSERT_TRUE(asAmplifiers);
    EXPECT_EQ(asAmplifiers->type, ZEL_CONNECTOR_CAN);
    for (const char* const text : {"", "Math_Index0.Signal0", "AnalogIn_Connector1", "Nothing_1"})
        EXPECT_EQ(signals::pathOf(text), "") << text;
}

TEST(SignalReferences, MayBeReadByManyThreadsAtFirst)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back(
            [] { EXPECT_EQ(parse("AnalogIn_Connector0.Signal0").result, ZEL_OK); });
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
} // namespace zel
