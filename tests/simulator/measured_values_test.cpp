#include "hexadecimal.h"
#include "module_clock.h"
#include "simulator.h"
#include "waiting.h"
#include "wire_host.h"

#include <atomic>
#include <bit>
#include <map>
#include <string>

#include <gtest/gtest.h>

namespace zel::test {
namespace {

using namespace simulator;

constexpr std::uint64_t kBegin = 1'600'000'000'000'000'000;
constexpr const char* kBeginDigits = "16345785d8a00000";
constexpr std::uint64_t kMillisecond = 1'000'000;
constexpr const char* kAnalog0 = "AnalogIn_Connector0.Signal0";
constexpr const char* kSync1 = "Amplifier/Connector1/Mode/AnalogInChannel/SyncSignal1/";
constexpr const char* kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

std::string params(const std::string& inside)
{
    return "<SrvParams>" + inside + "</SrvParams>";
}

std::string signal(const std::string& name, unsigned id, std::uint64_t blockSize)
{
    return "<Signal address=\"Sig1\"><Name>" + name + "</Name><UserSigId>" + std::to_string(id) +
           "</UserSigId><BlockSize>" + std::to_string(blockSize) + "</BlockSize></Signal>";
}

/// A module whose clock the test moves.
class MeasuredValues : public testing::Test {
protected:
    static ModuleSettings withClock(const std::atomic<std::uint64_t>& now, bool freeRunning)
    {
        ModuleSettings settings;
        settings.clock = [&now] { return now.load(); };
        settings.bufferTime = milliseconds{1000};
        settings.freeRunning = freeRunning;
        return settings;
    }
    explicit MeasuredValues(bool freeRunning = false)
        : m_module(m_simulator.addModule(withClock(m_now, freeRunning))),
          m_host(m_module.port(), m_module.uuid())
    {
    }

    void set(const std::string& path, const std::string& value)
    {
        ASSERT_TRUE(m_module.parameters().set(path, value)) << path << " = " << value;
    }
    void setSync1(const std::map<std::string, std::string>& values)
    {
        for (const auto& [name, value] : values)
            set(kSync1 + name, value);
    }
    void advance(std::uint64_t milliseconds) { m_now += milliseconds * kMillisecond; }

    std::int32_t subscribe(const std::string& signals, std::uint64_t start = 0)
    {
        const auto answer = m_host.call(
            5, 2, params(signals + "<StartTime>" + std::to_string(start) + "</StartTime>"));
        EXPECT_EQ(answer.data.empty(), answer.result == 0);
        return answer.result;
    }
    WireHost::Answer fetch(std::uint64_t size = 65536)
    {
        return m_host.call(5, 1, params("<MaxSize>" + std::to_string(size) + "</MaxSize>"));
    }
    std::string fetchDigits() { return hex(fetch().data); }
    WireHost::Answer current(const std::string& name, int scale = 2)
    {
        return m_host.call(5, 7,
                           params("<SigId>" + name + "</SigId><ScaleType>" + std::to_string(scale) +
                                  "</ScaleType>"));
    }
    std::string measured(const std::string& value)
    {
        return kDeclaration + params("<MeasVal>" + value + "</MeasVal>");
    }
    bool reportsOverrun()
    {
        return m_host.call(2, 2, "").data.find("ErrCode=\"-1014085\"") != std::string::npos;
    }
    SignalDescription describe(const std::string& reference)
    {
        return m_module.inspect([&](ModuleModel& model) {
            return describeSignal(model, *parseSignal(reference)).value();
        });
    }

    std::atomic<std::uint64_t> m_now{kBegin};
    Simulator m_simulator;
    Module& m_module;
    WireHost m_host;
};

class FreeRunningModule : public MeasuredValues {
protected:
    FreeRunningModule() : MeasuredValues(true) {}
};

/// 4 samples at 300 /s, in records of 3: -1, -0.5, 0, 0.5. The interval is no whole number.
TEST_F(MeasuredValues, EvenlySampledRecordsOfEveryTypeAndKind)
{
    struct Case {
        const char* name;
        const char* digits; // of the data type
        std::string first;
        std::string second;
        std::string before0, before1; // extra values of kind 2
    };
    const Case cases[]{
        {"Int32", "14", "ffffffff ffffffff 00000000", "00000001", "7fffffff 00000000",
         "00000000 00000000"},
        {"Int64", "18", "ffffffffffffffff ffffffffffffffff 0000000000000000", "0000000000000001",
         "7fffffffffffffff", "0000000000000000"},
        {"Float32", "24", "bf800000 bf000000 00000000", "3f000000", "7f7fffff 00000000",
         "00000000 00000000"},
        {"Float64", "28", "bff0000000000000 bfe0000000000000 0000000000000000", "3fe0000000000000",
         "7fefffffffffffff", "0000000000000000"},
    };
    setSync1({{"SampleRate", "300"}, {"Waveform", "Counter"}, {"Factor", "0.5"}, {"Offset", "-1"}});
    for (const Case& type : cases) {
        for (const std::string kind : {"1", "2"}) {
            SCOPED_TRACE(std::string{type.name} + " " + kind);
            m_now = kBegin;
            setSync1({{"DataType", type.name}, {"RecordKind", kind}});
            ASSERT_EQ(subscribe(signal(kAnalog0, 0x4567, 3)), 0);
            advance(10);
            const std::string rate = "00000000000493e0"; // 300000 mHz
            EXPECT_EQ(fetchDigits(),
                      hex(unhex("0" + kind + type.digits + "4567 00000003" + kBeginDigits +
                                (kind == "1" ? rate : type.before0) + type.first + //
                                "0" + kind + type.digits + "4567 00000001" +       //
                                "16345785d9389680" +                               // + 10 ms
                                (kind == "1" ? rate : type.before1) + type.second)));
            EXPECT_EQ(fetchDigits(), "") << "all is fetched";
        }
    }
    m_now = kBegin;
    setSync1({{"DataType", "Float32"}, {"RecordKind", "1"}});
    ASSERT_EQ(subscribe(signal(kAnalog0, 1, 1000)), 0);
    EXPECT_EQ(fetchDigits().substr(8, 8), "00000001");
    advance(7);
    EXPECT_EQ(fetchDigits().substr(0, 32), hex(unhex("01240001 00000002 16345785d8d2dcd5")))
        << "3333333 ns after the first, rounded down";
}

/// 3 messages: 2.5, -2.5, 2.5.
TEST_F(MeasuredValues, TimeStampedRecordsOfEveryTypeAndKind)
{
    struct Case {
        const char* name;
        const char* digits;
        const char* high;
        const char* low;
        const char *before0, *before1;
    };
    const Case cases[]{
        {"Int64", "50", "0000000000000003", "fffffffffffffffd", "7fffffffffffffff",
         "0000000000000003"},
        {"Int32", "5c", "00000003", "fffffffd", "7f7fffff 00000000", "40200000 00000000"},
        {"Float64", "60", "4004000000000000", "c004000000000000", "7fefffffffffffff",
         "4004000000000000"},
        {"Float32", "6c", "40200000", "c0200000", "7f7fffff 00000000", "40200000 00000000"},
        {"UInt64", "e0", "0000000000000003", "0000000000000000", "ffffffffffffffff",
         "0000000000000003"},
        {"UInt32", "ec", "00000003", "00000000", "ffffffff 00000000", "00000003 00000000"},
    };
    const std::string channel = "Amplifier/Connector2/Mode/CanBus/CanInChannel3/";
    const std::string reference = "CanReceiver_Connector1.Decoder2.Signal0";
    set("Amplifier/Connector2/Mode", "CanBus");
    for (const auto& [name, value] :
         std::map<std::string, std::string>{{"Active", "On"},
                                            {"AsyncSignal/Waveform", "Square"},
                                            {"AsyncSignal/Frequency", "50"},
                                            {"AsyncSignal/Amplitude", "2.5"}})
        set(channel + name, value);
    const SampleTimes times = describe(reference).times;
    EXPECT_EQ(times.cycle, 10 * kMillisecond);
    const auto time = [&](std::uint64_t number) { return hex64(kBegin + times.at(number)); };
    for (const Case& type : cases) {
        for (const std::string kind : {"1", "2"}) {
            SCOPED_TRACE(std::string{type.name} + " " + kind);
            m_now = kBegin;
            set(channel + "AsyncSignal/DataType", type.name);
            set(channel + "AsyncSignal/RecordKind", kind);
            ASSERT_EQ(subscribe(signal(reference, 2, 1000)), 0);
            const std::string head = "0" + kind + type.digits + "0002";
            advance(10);
            m_now += times.at(1) - 10 * kMillisecond - 1;
            EXPECT_EQ(fetchDigits(), hex(unhex(head + "00000001" + time(0) +
                                               (kind == "1" ? "0000000000000000" : type.before0) +
                                               time(0) + type.high)))
                << "the second message is one nanosecond away";
            m_now = kBegin + times.at(2);
            EXPECT_EQ(fetchDigits(), hex(unhex(head + "00000002" + time(1) +
                                               (kind == "1" ? "0000000000000000" : type.before1) +
                                               time(1) + type.low + time(2) + type.high)));
        }
    }
}

TEST_F(MeasuredValues, WaitForTheirStartAndComeInTheOrderOfTheirTimes)
{
    setSync1({{"SampleRate", "100"}});
    set("Amplifier/Connector1/Mode/AnalogInChannel/SyncSignal2/SampleRate", "50");
    ASSERT_EQ(subscribe(signal(kAnalog0, 1, 2) + signal("AnalogIn_Connector0.Signal1", 2, 2),
                        kBegin + 20 * kMillisecond),
              0);
    advance(19);
    EXPECT_EQ(fetchDigits(), "");
    advance(31);
    const std::string block = fetchDigits();
    const std::size_t two = 2 * (24 + 2 * 4);
    ASSERT_EQ(block.size(), 3 * two);
    const std::string start = hex64(kBegin + 20 * kMillisecond);
    EXPECT_EQ(block.substr(4, 28), "000100000002" + start.substr(0, 16));
    EXPECT_EQ(block.substr(two + 4, 28), "000200000002" + start.substr(0, 16));
    EXPECT_EQ(block.substr(2 * two + 4, 28),
              "000100000002" + hex64(kBegin + 40 * kMillisecond).substr(0, 16));
}

TEST_F(MeasuredValues, LoseTheOldestWhenNobodyFetchesAndSaySo)
{
    setSync1({{"SampleRate", "50"}, {"Waveform", "Counter"}, {"RecordKind", "2"}});
    ASSERT_EQ(subscribe(signal(kAnalog0, 1, 1000)), 0);
    advance(1000);
    EXPECT_FALSE(reportsOverrun());
    EXPECT_EQ(fetchDigits().substr(8, 8), "00000033") << "51 samples: the first and one second";
    advance(3000);
    EXPECT_TRUE(reportsOverrun()) << "before anybody fetches";
    const std::string block = fetchDigits();
    EXPECT_EQ(block.substr(8, 8), "00000033");
    EXPECT_EQ(block.substr(16, 16), hex64(kBegin + 3000 * kMillisecond));
    EXPECT_EQ(block.substr(32, 8), "43150000") << "149, just before the first";
    EXPECT_EQ(block.substr(48, 8), "43160000") << "150";
    EXPECT_TRUE(reportsOverrun());
    EXPECT_EQ(m_host.call(5, 3, "").result, 0);
    EXPECT_TRUE(reportsOverrun()) << "until the next subscription";
    ASSERT_EQ(subscribe(signal(kAnalog0, 1, 1000)), 0);
    EXPECT_FALSE(reportsOverrun());
}

TEST_F(MeasuredValues, FollowTheSensorAndTheParameters)
{
    setSync1({{"SampleRate", "100"}, {"Waveform", "Square"}, {"Frequency", "0.001"}});
    ASSERT_EQ(subscribe(signal(kAnalog0, 1, 1000)), 0);
    const auto valueOfNext = [this] {
        advance(10);
        const std::string block = fetchDigits();
        return block.substr(block.size() - 8);
    };
    EXPECT_EQ(valueOfNext(), "42c80000") << "100";
    m_module.inspect([](ModuleModel& model) { model.teds.unplug(0); });
    EXPECT_EQ(valueOfNext(), "7f7fffff") << "no value";
    EXPECT_EQ(current(kAnalog0).data, measured("1.7976931348623157e+308"));
    EXPECT_EQ(current(kAnalog0, 0).data, measured("1.7976931348623157e+308"));

    const auto simulate = [this](const std::string& mode, const std::string& value) {
        const std::string place = "<Connector>0</Connector><Channel>0</Channel><Signal>0</Signal>";
        return m_host
            .call(6, 9, params(place + "<Mode>" + mode + "</Mode><Value>" + value + "</Value>"))
            .result;
    };
    ASSERT_EQ(simulate("1", "5000"), 0);
    EXPECT_EQ(valueOfNext(), "459c4000") << "5000, although there is no sensor";
    EXPECT_EQ(current(kAnalog0, 0).data, measured("4194304")) << "half of 2^23 counts";
    EXPECT_EQ(current(kAnalog0, 1).data, measured("1")) << "half of 2 mV/V";
    EXPECT_EQ(current(kAnalog0, 2).data, measured("5000"));
    set("Amplifier/Connector1/Mode/AnalogInChannel/ZeroOffset", "-4000");
    setSync1({{"Factor", "0.5"}});
    EXPECT_EQ(current(kAnalog0, 2).data, measured("500"));
    EXPECT_EQ(current(kAnalog0, 0).data, measured("4194304")) << "the converter knows no zero";
    EXPECT_EQ(valueOfNext(), "43fa0000") << "500";
    ASSERT_EQ(simulate("1", "1e308"), 0);
    EXPECT_EQ(valueOfNext(), "7f7fffff") << "no 32-bit float, and no infinity";
    ASSERT_EQ(simulate("0", "0"), 0);

    set("Amplifier/Connector1/Mode", "CanBus");
    EXPECT_EQ(valueOfNext(), "7f7fffff");
    EXPECT_EQ(current(kAnalog0).result, -1014102);
}

TEST_F(MeasuredValues, AreListedWithWhatTheyAre)
{
    set(std::string{kSync1} + "Name", "a\tb<");
    setSync1({{"SampleRate", "100000"}, {"DataType", "Int64"}, {"RecordKind", "2"}});
    set("Amplifier/Connector1/Mode/AnalogInChannel/SyncSignal2/Active", "Off");
    const std::string list = m_host.call(5, 6, params("")).data;
    const std::string head =
        std::string{kDeclaration} +
        "<SrvParams><SigCount>56</SigCount>"
        "<SigId name=\"a&#09;b&lt;\" unit=\"N\" rate=\"100000\" dataType=\"24\" kind=\"2\" "
        "enabled=\"1\">AnalogIn_Connector0.Signal0</SigId>"
        "<SigId name=\"Signal 2\" unit=\"N\" rate=\"1200\" dataType=\"36\" kind=\"1\" "
        "enabled=\"0\">AnalogIn_Connector0.Signal1</SigId>";
    EXPECT_EQ(list.substr(0, head.size()), head);
    EXPECT_NE(list.find("<SigId name=\"Can 1\" unit=\"\" rate=\"0\" dataType=\"96\" kind=\"1\" "
                        "enabled=\"0\">CanReceiver_Connector8.Decoder0.Signal0</SigId>"),
              list.npos);
    EXPECT_NE(list.find(">Fiber_Connector9.Channel3.Signal3</SigId></SrvParams>"), list.npos);

    const std::string text = m_host.call(5, 8, params("")).data;
    const std::string line = "AnalogIn_Connector0.Signal0\ta b<\tN\t100000\t24\t2\t1\n"
                             "AnalogIn_Connector0.Signal1\tSignal 2\tN\t1200\t36\t1\t0\n";
    EXPECT_EQ(text.substr(0, line.size()), line);

    const auto all = [this](const char* enabledOnly) {
        return m_host
            .call(5, 7, params(std::string{"<EnabledOnly>"} + enabledOnly + "</EnabledOnly>"))
            .data;
    };
    EXPECT_NE(all("1").find("<SigCount>47</SigCount><SigId>AnalogIn_Connector0.Signal0</SigId>"
                            "<MeasVal>0</MeasVal><SigId>AnalogIn_Connector0.Signal2</SigId>"),
              std::string::npos)
        << all("1");
    EXPECT_NE(all("0").find("<SigCount>56</SigCount>"), std::string::npos);
    EXPECT_NE(all("0").find("<SigId>AnalogIn_Connector0.Signal1</SigId>"
                            "<MeasVal>1.7976931348623157e+308</MeasVal>"),
              std::string::npos);
}

TEST_F(MeasuredValues, RefuseWhatMakesNoSense)
{
    set(std::string{kSync1} + "Active", "Off");
    set("AdditionalConnector/Connector9/Mode/CanBus/CanInChannel1/Active", "On");
    const std::string good = signal("AnalogIn_Connector0.Signal1", 1, 10);
    const std::string now = "<StartTime>0</StartTime>";
    std::string many;
    for (int i = 0; i < 257; ++i)
        many += good;
    struct Case {
        unsigned method;
        std::string document;
        std::int32_t code;
    };
    const std::string can = "CanReceiver_Connector8.Decoder0.Signal0";
    const auto one = [](const std::string& name, const std::string& scale) {
        return params("<SigId>" + name + "</SigId><ScaleType>" + scale + "</ScaleType>");
    };
    const Case cases[]{
        {1, params("<MaxSize>100</MaxSize>"), -1014030},
        {1, params("<MaxSize>-1</MaxSize>"), -1000255},
        {1, params("<MaxSize>18446744073709551616</MaxSize>"), -1000255},
        {1, params(""), -1000255},
        {1, "", -1004135},
        {2, "", -1004135},
        {2, params(now), -1014030},
        {2, params(good), -1000255},
        {2, params(many + now), -1000255},
        {2, params(signal("AnalogIn_Connector0.Signal1", 65536, 10) + now), -1000255},
        {2, params(signal("AnalogIn_Connector0.Signal1", 1, 0) + now), -1000255},
        {2, params(good + "<StartTime>9223372036854775808</StartTime>"), -1000255},
        {2, params(good + signal("AnalogIn_Connector0.Signal4", 1, 10) + now), -1014102},
        {2, params(signal("AnalogIn_Connector8.Signal0", 1, 10) + now), -1014102},
        {2, params(signal(std::string(60000, 'x'), 1, 10) + now), -1014102},
        {2, params(good + signal(kAnalog0, 1, 10) + now), -1014023},
        {6, "", -1004135},
        {7, one("Math_Index0.Signal0", "2"), -1014102},
        {7, one("CanReceiver_Connector0.Decoder0.Signal0", "2"), -1014102},
        {7, one(kAnalog0, "2"), -1014023},
        {7, one("AnalogIn_Connector0.Signal1", "3"), -1014112},
        {7, one(can, "1"), -1014112},
        {7, one(can, "0"), 0},
        {7, one("Fiber_Connector9.Channel0.Signal0", "0"), -1014112},
        {7, one("Fiber_Connector9.Channel0.Signal0", "1"), 0},
        {7, params("<EnabledOnly>x</EnabledOnly>"), -1000255},
        {8, "<a/>", -1004135},
        {3, "", 0},
        {4, "", -1000203},
    };
    for (const Case& wrong : cases) {
        const auto answer = m_host.call(5, wrong.method, wrong.document);
        EXPECT_EQ(answer.result, wrong.code) << wrong.method << wrong.document.substr(0, 200);
        EXPECT_LT(answer.data.size(), 300u);
    }
    ASSERT_EQ(subscribe(good), 0);
    EXPECT_EQ(fetch(28).result, -1014025) << "a record of 28 bytes is ready, and 27 may come";
    EXPECT_EQ(fetch(29).data.size(), 28u);
    ASSERT_EQ(subscribe(signal(kAnalog0, 1, 1)), -1014023);
    EXPECT_EQ(fetch().result, -1014030) << "a refused subscription ends the one before";
}

TEST_F(MeasuredValues, BelongToTheConnectionThatSubscribed)
{
    WireHost other{m_module.port(), m_module.uuid()};
    ASSERT_EQ(subscribe(signal(kAnalog0, 1, 10)), 0);
    const std::string request = params("<MaxSize>1000</MaxSize>");
    EXPECT_EQ(other.call(5, 1, request).result, -1014030);
    {
        WireHost third{m_module.port(), m_module.uuid()};
        ASSERT_EQ(
            third.call(5, 2, params(signal(kAnalog0, 9, 10) + "<StartTime>0</StartTime>")).result,
            0);
        EXPECT_EQ(hex(third.call(5, 1, request).data).substr(4, 4), "0009");
    }
    ASSERT_TRUE(m_module.waitForConnections(2, 5000ms));
    EXPECT_EQ(fetchDigits().substr(4, 4), "0001");
    advance(5000);
    EXPECT_TRUE(reportsOverrun());
    EXPECT_EQ(m_host.call(5, 3, "").result, 0);
    EXPECT_EQ(fetch().result, -1014030);
}

TEST_F(FreeRunningModule, FillsEveryBlockWithoutAGap)
{
    setSync1({{"SampleRate", "1000000"}, {"DataType", "Float64"}, {"Waveform", "Sine"}});
    const Waveform waveform = describe(kAnalog0).sensor;
    ASSERT_EQ(subscribe(signal(kAnalog0, 1, 700)), 0);
    std::uint64_t number = 0;
    for (const std::size_t size : {100'000u, 33u, 1'000'000u, 40'001u}) {
        const std::string block = fetch(size).data;
        ASSERT_LT(block.size(), size);
        ASSERT_GE(block.size() + 33, size) << "room for one more sample";
        for (std::size_t at = 0; at < block.size();) {
            const auto word = [&](std::size_t offset, std::size_t length) {
                return std::stoull(hex(block.substr(offset, length)), nullptr, 16);
            };
            const auto count = word(at + 4, 4);
            ASSERT_LE(count, 700u);
            ASSERT_EQ(word(at + 8, 8), kBegin + number * 1000);
            at += 24;
            for (std::size_t i = 0; i < count; ++i, at += 8)
                ASSERT_EQ(std::bit_cast<double>(std::uint64_t{word(at, 8)}), waveform.at(number++));
        }
    }
    EXPECT_FALSE(reportsOverrun());
    EXPECT_GT(number, 140'000u);
}

} // namespace
} // namespace zel::test
