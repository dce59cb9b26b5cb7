#include "parameter_model.h"

#include <string>

#include <gtest/gtest.h>

namespace zel::simulator {
namespace {

constexpr std::uint32_t kAll = 1;
constexpr const char* kEth0 = "/Communication/Network/eth0";

std::string connector(int address, const std::string& below)
{
    return "Amplifier/Connector[@address=\"" + std::to_string(address) + "\"]/" + below;
}

TEST(ParameterModel, FindsElementsByEveryNotationOfAPath)
{
    ParameterModel model;
    ASSERT_TRUE(model.set(connector(2, "Name"), "here"));
    for (const char* path : {"Amplifier/Connector2/Name", "/Amplifier/Connector[@address='2']/Name",
                             "GenPar/Amplifier/Connector[@address=\"2\"]/Name"})
        EXPECT_EQ(model.readValue(kAll, path).text, "here") << path;

    const std::pair<const char*, std::int32_t> failures[]{
        {"Amplifier/Nothing", -1004111},
        {"Amplifier/Connector[@address=\"0\"]/Name", -1004118},
        {"Amplifier/Connector1/Mode[@choice=\"CanBus\"]", -1004107},
        {"Amplifier", -1004144},
        {"Amplifier[", -1004138},
        {"Amplifier//", -1004138},
        {"Amplifier/Connector[@address=\"1\"]Name", -1004138},
        {"a[count(//*)>1]", -1004138},
    };
    for (const auto& [path, code] : failures)
        EXPECT_EQ(model.readValue(kAll, path).result, code) << path;
    EXPECT_EQ(model.readValue(kAll, std::string(100000, '/')).result, -1004138);
    EXPECT_EQ(model.readValue(99, "Amplifier").result, -1004142);
    EXPECT_EQ(model.readValue(6, "Amplifier/Range").result, -1004111) << "not in this view";
}

TEST(ParameterModel, ChecksWhatIsWrittenAndKeepsTheRest)
{
    ParameterModel model;
    struct Case {
        std::string path;
        const char* value;
        std::int32_t code;
        const char* kept;
    };
    const std::string channel = connector(1, "Mode/AnalogInChannel/");
    const Case cases[]{
        {"Amplifier/Range", "0.1", 0, "0.1"},
        {"Amplifier/Range", "100.5", -1004110, "0.1"},
        {"Amplifier/Range", "1e2", 0, "1e2"},
        {"Amplifier/Range", "nan", -1004153, "1e2"},
        {"Amplifier/Range", "5x", -1004153, "1e2"},
        {channel + "Filter/Order", "6.000000", 0, "6"},
        {channel + "Filter/Order", "6.5", -1004153, "6"},
        {channel + "Sensor/Type", "Pt100", 0, "Pt100"},
        {channel + "Sensor/Type", "pt100", -1004107, "Pt100"},
        {channel + "SyncSignal[@address=\"1\"]/SampleRate", "2.4e3", 0, "2400"},
        {channel + "Sensor/Name", "<&\" \xc3\xa4", 0, "<&\" \xc3\xa4"},
        {std::string{kEth0} + "/IpAdr", "10.0.0.256", -1004153, "192.168.0.2"},
        {std::string{kEth0} + "/PhyAdr", "00:00:00:00:00:00", -1004190, "00:09:e5:00:00:01"},
        {connector(1, "Mode"), "CanBus", 0, "CanBus"},
    };
    for (const Case& write : cases) {
        const Outcome outcome = model.writeValue(kAll, write.path, write.value);
        EXPECT_EQ(outcome.result, write.code) << write.path << " = " << write.value;
        EXPECT_EQ(outcome.text.empty(), write.code == 0) << "a refusal says why";
        EXPECT_EQ(model.value(write.path), write.kept) << write.path;
    }
}

TEST(ParameterModel, TakesASectionWholeOrNotAtAll)
{
    ParameterModel model;
    const std::string before = model.readSection(kAll, "", false).text;
    ASSERT_EQ(model.writeSection(kAll, "", before).result, 0) << "what was read can be written";
    EXPECT_EQ(model.readSection(kAll, "", false).text, before);

    const std::pair<const char*, std::int32_t> refused[]{
        {"<Network><eth0><Dhcp>On</Dhcp><IpAdr>here</IpAdr></eth0></Network>", -1004153},
        {"<Network><eth0><Dhcp>On</Dhcp><Port>1</Port></eth0></Network>", -1004111},
        {"<Network><eth0 x=\"1\"><Dhcp>On</Dhcp></eth0></Network>", -1004109},
        {"<Network><eth0><Dhcp>On</Dhcp><PhyAdr>none</PhyAdr></eth0></Network>", -1004190},
        {"<Network><eth0><Dhcp>On</Dhcp></eth0>", -1004160},
        {"", -1004160},
    };
    for (const auto& [section, code] : refused)
        EXPECT_EQ(model.writeSection(kAll, "/Communication", section).result, code) << section;
    EXPECT_EQ(model.writeSection(kAll, "Amplifier", "<Connector address=\"9\"/>").result, -1004118);
    EXPECT_EQ(model.readSection(kAll, "", false).text, before);

    EXPECT_EQ(model
                  .writeSection(kAll, "/Communication",
                                "<Communication><Network><eth0><Dhcp>On</Dhcp></eth0></Network>"
                                "</Communication>")
                  .result,
              0);
    EXPECT_EQ(model.value(std::string{kEth0} + "/Dhcp"), "On");
}

TEST(ParameterModel, ShowsOnlyTheChoicesThatApplyWhenAsked)
{
    ParameterModel model;
    ASSERT_EQ(model.writeValue(kAll, connector(3, "Mode"), "CanBus").result, 0);
    const std::string path = connector(3, "Mode");
    const std::string current = model.readSection(kAll, path, true).text;
    EXPECT_TRUE(current.find("<Mode choice=\"CanBus\"><CanBus>") != current.npos) << current;
    EXPECT_EQ(current.find("AnalogInChannel"), current.npos);
    EXPECT_NE(model.readSection(kAll, path, false).text.find("<AnalogInChannel>"), current.npos);
}

TEST(ParameterModel, GoesBackToItsDefaults)
{
    ParameterModel model;
    ASSERT_TRUE(model.setIdentity("System/Name", "mine"));
    const std::string before = model.readSection(kAll, "", false).text;
    for (const std::string& path : {std::string{"System/Name"}, connector(1, "Name"),
                                    connector(2, "Name"), std::string{"System/Location"}})
        ASSERT_EQ(model.writeValue(kAll, path, "other").result, 0);

    EXPECT_EQ(model.resetSelected(kAll, "//Connector[@address=\"1\"]").result, 0);
    EXPECT_EQ(model.value(connector(1, "Name")), "Connector 1");
    EXPECT_EQ(model.value(connector(2, "Name")), "other");
    EXPECT_EQ(model.resetSelected(kAll, "System/*").result, 0);
    EXPECT_EQ(model.value("System/Name"), "mine");
    EXPECT_EQ(model.resetSelected(kAll, "//Nothing").result, -1004111);
    model.resetAll();
    EXPECT_EQ(model.readSection(kAll, "", false).text, before);
}

} // namespace
} // namespace zel::simulator
