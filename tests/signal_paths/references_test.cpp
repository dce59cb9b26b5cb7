#include "signal_path.h"
#include "ZEL_VR_Framework.h"

#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zel {
namespace {

using signals::ReferenceKind;
using Numbers = std::array<std::uint32_t, 3>;

struct Case {
    const char* text;
    int kind;
    const char* components;
    Numbers numbers;
};

TEST(SignalReferences, OfEveryFormAreTakenApart)
{
    const std::vector<Case> cases{
        {"AnalogIn_Connector1.Signal2", 0, "Connector Signal ", {1, 2}},
        {"AnalogOut_Index4294967295", 1, "Index ", {4294967295}},
        {"AnalogOut_Connector3", 1, "Connector ", {3}},
        {"DigitalIO_Index0.Signal0", 2, "Index Signal ", {}},
        {"CanReceiver_Connector1.Decoder2.Signal3", 3, "Connector Decoder Signal ", {1, 2, 3}},
        {"EtherCatReceiver_Connector4.Index5.Signal6", 4, "Connector Index Signal ", {4, 5, 6}},
        {"Alarm_Index1.Signal2", 5, "Index Signal ", {1, 2}},
        {"Gate_Index1.Signal2", 6, "Index Signal ", {1, 2}},
        {"Math_Index1.Signal2", 7, "Index Signal ", {1, 2}},
        {"Peak_Index1.Signal2", 8, "Index Signal ", {1, 2}},
        {"SignalGenerator_Index1.Signal2", 9, "Index Signal ", {1, 2}},
        {"CanRawReceiver_Connector7", 10, "Connector ", {7}},
        {"CanCcpXcpReceiver_Connector8", 11, "Connector ", {8}},
        {"Fiber_Connector1.Channel2.Signal3", 12, "Connector Channel Signal ", {1, 2, 3}},
        {"FiberFb_Connector1.Channel2", 13, "Connector Channel ", {1, 2}},
        {"FiberRt_Connector1.Channel2", 13, "Connector Channel ", {1, 2}},
        {"Etalon_Spectrum1", 13, "Spectrum ", {1}},
        {"Etalon_Peaks2", 13, "Peaks ", {2}},
        {"GasCell_Spectrum3", 13, "Spectrum ", {3}},
        {"GasCell_Peaks4", 13, "Peaks ", {4}},
    };
    for (const Case& wanted : cases) {
        const auto found = signals::parseReference(wanted.text);
        ASSERT_TRUE(found) << wanted.text;
        EXPECT_EQ(static_cast<int>(found->form.kind), wanted.kind) << wanted.text;
        EXPECT_EQ(signals::kindOf(wanted.text), found->form.kind) << wanted.text;
        EXPECT_TRUE(std::string{wanted.text}.starts_with(std::string{found->form.word} + "_"));
        std::string components;
        for (const std::string_view component : found->form.components)
            components += component.empty() ? "" : std::string{component} + " ";
        EXPECT_EQ(components, wanted.components) << wanted.text;
        EXPECT_EQ(found->numbers, wanted.numbers) << wanted.text;
        const bool hasPath = wanted.kind == 0 || wanted.kind == 3 || wanted.kind == 12;
        EXPECT_EQ(!signals::pathOf(wanted.text).empty(), hasPath) << wanted.text;

        // One byte less or more is another text, unless it is a digit.
        EXPECT_FALSE(signals::parseReference(std::string{"x"} + wanted.text)) << wanted.text;
        EXPECT_FALSE(signals::parseReference(wanted.text + std::string{"\0", 1})) << wanted.text;
        EXPECT_FALSE(signals::parseReference(wanted.text + std::string{".Signal"})) << wanted.text;
        EXPECT_FALSE(signals::parseReference(wanted.text + 1)) << wanted.text;
    }
}

TEST(SignalReferences, ThatAreNoneAreRefused)
{
    const std::string many(1'000'000, '7');
    const std::vector<std::string> texts{
        "_",
        "AnalogIn_",
        "AnalogIn_Connector",
        "AnalogIn_Connector1.Signal",
        "AnalogIn_Connector1,Signal2",
        "AnalogIn_Connector1.signal2",
        "AnalogIn_Connector1.Signal2.Signal3",
        "AnalogIn_Signal2.Connector1",
        "AnalogIn_Connector0x1.Signal2",
        "AnalogIn_Connector-.Signal2",
        "AnalogIn_Connector+-1.Signal2",
        "AnalogIn_Connector- 1.Signal2",
        "AnalogIn_Connector1 .Signal2",
        "AnalogIn__Connector1.Signal2",
        "AnalogIn_Connector#.Signal#",
        "AnalogIn_Connector4294967296.Signal2",
        "AnalogIn_Connector-4294967296.Signal2",
        "AnalogIn_Connector1.Signal18446744073709551617",
        "CanReceiver_Connector1.Decoder2.Signal4294967296",
        "AnalogIn_Connector\xD9\xA1.Signal2", // a digit, but not one of ours
        "AnalogIn_Connector\xFF.Signal\xC0\x80",
        "\xEF\xBB\xBF"
        "AnalogIn_Connector1.Signal2",
        std::string("AnalogIn_Connector1\0.Signal2", 28),
        std::string(1'000'000, '_'),
        std::string(1'000'000, ' '),
        "AnalogIn_Connector" + many + ".Signal1",
        "AnalogIn_Connector1.Signal2" + many,
        "AnalogIn_Connector" + std::string(1'000'000, ' '),
    };
    for (const std::string& text : texts) {
        EXPECT_FALSE(signals::parseReference(text)) << text.substr(0, 60);
        EXPECT_FALSE(signals::parseSignalPath(text)) << text.substr(0, 60);
        EXPECT_EQ(signals::pathOf(text), "") << text.substr(0, 60);
    }
}

// As scanf's "%u" reads them: hosts format references with blanks and leading zeros, too.
TEST(SignalReferences, MayHaveBlanksZerosAndASignBeforeTheirNumbers)
{
    for (const char* const text :
         {"AnalogIn_Connector 1.Signal2", "AnalogIn_Connector+1.Signal\t\n 2",
          "AnalogIn_Connector00000000000000000000001.Signal02", "AnalogIn_Connector1.Signal +2"}) {
        const auto found = signals::parseReference(text);
        ASSERT_TRUE(found) << text;
        EXPECT_EQ(found->numbers, (Numbers{1, 2})) << text;
    }
    for (const char* const text :
         {"AnalogIn_Connector4294967295.Signal0", "AnalogIn_Connector-1.Signal0"}) {
        const auto found = signals::parseSignalPath(text);
        ASSERT_TRUE(found) << text;
        EXPECT_EQ(found->connector, 0u) << text;
    }
}

TEST(SignalReferences, OfCanSignalsHaveTwoPaths)
{
    const auto amplifier =
        signals::numbersOf("CanReceiver_Connector1.Decoder4.Signal9", ZEL_CONNECTOR_CAN);
    ASSERT_TRUE(amplifier);
    EXPECT_EQ(
        signals::signalPath(*amplifier, signals::PathForm::address),
        R"(Amplifier/Connector[@address="2"]/Mode[@choice="CanBus"]/CanBus/CanInChannel[@address="5"]/AsyncSignal)");
    EXPECT_EQ(
        signals::pathOf("CanReceiver_Connector1.Decoder4.Signal9"),
        R"(AdditionalConnector/Connector[@address="2"]/Mode/CanBus/CanInChannel[@address="5"]/AsyncSignal)");
}

TEST(SignalReferences, OfAnalogAndFiberSignalsHaveOnePath)
{
    EXPECT_EQ(
        signals::pathOf("AnalogIn_Connector1.Signal2"),
        R"(Amplifier/Connector[@address="2"]/Mode[@choice="AnalogInChannel"]/AnalogInChannel/SyncSignal[@address="3"])");
    EXPECT_EQ(
        signals::pathOf("Fiber_Connector0.Channel1.Signal2"),
        R"(AdditionalConnector/Connector[@address="1"]/Mode[@choice="Fiber"]/Fiber/FiberChannel[@address="2"]/SyncSignal[@address="3"])");
}

TEST(SignalPaths, ThatAreAlmostRightAreRefused)
{
    const std::vector<std::string> paths{
        R"(Amplifier/Connector[@address="1"]/Mode[@choice="AnalogInChannel"]/AnalogInChannel/SyncSignal[@address="3"])",
        R"(Amplifier/Connector1/Mode[@choice="CanBus"]/CanBus/CanInChannel[@address="2"]/AsyncSignal)",
        R"(AdditionalConnector/Connector[@address="1"]/Mode/CanBus/CanInChannel[@address="2"]/AsyncSignal)",
    };
    for (const std::string& path : paths) {
        ASSERT_TRUE(signals::parseSignalPath(path)) << path;
        for (std::size_t at = 0; at < path.size(); ++at) {
            // Without a byte, and with a wrong one; digits may well be others.
            std::string changed = path;
            changed[at] = '~';
            EXPECT_FALSE(signals::parseSignalPath(changed)) << changed;
            changed.erase(at, 1);
            EXPECT_FALSE(signals::parseSignalPath(changed)) << changed;
        }
        EXPECT_FALSE(signals::parseSignalPath(path + " "));
        EXPECT_FALSE(signals::parseSignalPath(path + path));
        EXPECT_FALSE(signals::parseReference(path));
    }
}

} // namespace
} // namespace zel
