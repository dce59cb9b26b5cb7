#include "client.h"
#include "connect.h"
#include "last_error_stores.h"
#include "parameter_documents.h"
#include "parameters.h"
#include "request_document.h"
#include "simulator.h"
#include "wsa.h"
#include "ZEL_VR_Framework.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

namespace zel {
namespace {

using simulator::MethodAnswer;
using simulator::MethodCall;

#define REQUEST(CONTENT)                                                                           \
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?><SrvParams>" CONTENT "</SrvParams>"

constexpr std::uint32_t kView = 3;
constexpr std::uint64_t kStranger = 0x1234;

class SocketUse {
public:
    SocketUse() { m_wsa.startup(); }
    ~SocketUse() { m_wsa.cleanup(); }

private:
    sys::clWsa m_wsa;
};

class ParameterCalls : public testing::Test {
protected:
    ParameterCalls()
    {
        EXPECT_EQ(
            connectToModule(m_client.connections(), m_module.address(), m_module.port(), m_uuid),
            ZEL_OK);
        m_module.clearReceived();
    }
    ~ParameterCalls() override { clearLastErrorStores(); }

    void answer(std::uint16_t method, MethodAnswer answer)
    {
        m_module.setHandler(1, method, [answer](const MethodCall&) { return answer; });
    }

    /// Reads the value "R" into `capacity` bytes of m_buffer.
    std::int32_t readInto(std::uint64_t capacity)
    {
        m_buffer.fill('#');
        m_length = 99;
        return parameters::read(remote(), kView, "A", "R", {m_buffer.data(), &m_length, capacity});
    }

    RemoteModule remote() const { return {m_path, m_uuid}; }
    std::string text() const { return {m_buffer.data()}; }

    static std::string message(std::uint64_t uuid)
    {
        return messageStore().read(uuid,
                                   [](const std::string* kept) { return kept ? *kept : "none"; });
    }

    static std::string keptResponse(std::uint64_t uuid)
    {
        return dataStore().read(uuid, [](const std::unique_ptr<clRxTelContainer>* kept) {
            if (kept == nullptr || *kept == nullptr)
                return std::string("none");
            const Bytes payload = (*kept)->payload();
            return std::string(reinterpret_cast<const char*>(payload.data()), payload.size());
        });
    }

    SocketUse m_sockets;
    simulator::Simulator m_simulator;
    simulator::Module& m_module = m_simulator.addModule();
    Client m_client;
    const RequestPath m_path{m_client.connections()};
    std::uint64_t m_uuid = 0;
    std::array<char, 64> m_buffer{};
    std::uint64_t m_length = 0;
};

TEST_F(ParameterCalls, SendTheirMethodsAndDocuments)
{
    std::uint64_t length = 0;
    std::array<char, 32> buffer{};
    std::array<char, parameters::kTedsIdentifierSize> tid{};
    double number = 0;
    const TextBuffer into{buffer.data(), &length, buffer.size()};
    namespace p = parameters;
    struct Case {
        std::uint16_t method;
        const char* request;
        std::function<void()> call;
    };
    const RemoteModule module = remote();
    const Case cases[] = {
        {10, REQUEST("<View>3</View><Path>A/&lt;R&gt;</Path>"),
         [&] { p::read(module, kView, "A", "<R>", into); }},
        {10, REQUEST("<View>3</View><Path>A</Path>"),
         [&] { p::readDouble(module, kView, "A", "", number); }},
        {9, REQUEST("<View>3</View><Path>A/R</Path><XmlSection>0.05</XmlSection>"),
         [&] { p::write(module, kView, "A", "R", "0.05"); }},
        {9, REQUEST("<View>3</View><Path>A/R</Path><XmlSection>&amp;amp;</XmlSection>"),
         [&] { p::write(module, kView, "A", "R", "&amp;"); }},
        {1, REQUEST("<View>3</View><CurrChoicesOnly>1</CurrChoicesOnly>"),
         [&] { p::readDocument(module, kView, true, into); }},
        {2, REQUEST("<View>3</View><XmlSection>&lt;V/&gt;</XmlSection>"),
         [&] {
             p::writeDocument(module, kView, {"<V/>and more", 4});
         }},
        {3, REQUEST("<View>3</View>"), [&] { p::readSchema(module, kView, into); }},
        {4, REQUEST("<View>3</View>"), [&] { p::readStyleSheet(module, kView, into); }},
        {5, REQUEST("<View>3</View><Path>A</Path><CurrChoicesOnly>0</CurrChoicesOnly>"),
         [&] { p::readSection(module, kView, false, "A", into); }},
        {6, REQUEST("<View>3</View><Path>A</Path><XmlSection>x</XmlSection>"),
         [&] {
             p::writeSection(module, kView, "A", {"xyz", 1});
         }},
        {7, REQUEST("<View>3</View><Path>A</Path>"),
         [&] { p::readSectionSchema(module, kView, "A", into); }},
        {11, "", [&] { sendForText(module, wire::ParameterMethod::getViews, {}, into); }},
        {12, REQUEST("<View>3</View><Xpath>//R</Xpath>"),
         [&] { p::activateDefault(module, kView, "//R"); }},
        {12, REQUEST(""), [&] { p::activateAllDefaults(module); }},
        {13, REQUEST("<Channel>7</Channel>"), [&] { p::readTeds(module, 8, tid.data(), into); }},
        {14, REQUEST("<Channel>0</Channel><Tid>0</Tid><BinData>78</BinData>"),
         [&] { p::writeTeds(module, 1, tid.data(), "x", 1); }},
        {7, REQUEST("<View>3</View><Path>Amplifier/Connector</Path>"),
         [&] { p::maxCount(module, kView, "Amplifier", "Connector"); }},
        {5, REQUEST("<View>5</View><Path>Amplifier</Path><CurrChoicesOnly>1</CurrChoicesOnly>"),
         [&] { p::maxCount(module, 5, "Amplifier", "Connector"); }},
    };
    for (const Case& row : cases) {
        answer(row.method, {ZEL_OK, "1"});
        m_module.clearReceived();
        row.call();
        const auto calls = m_module.received();
        ASSERT_EQ(calls.size(), 1U) << row.request;
        EXPECT_EQ(calls[0].id, (simulator::MethodId{1, row.method})) << row.request;
        EXPECT_EQ(calls[0].data, row.request);
    }
}

TEST_F(ParameterCalls, CopyByTheBufferRuleAndKeepWhatIsLonger)
{
    answer(10, {ZEL_OK, "1234567"});
    EXPECT_EQ(readInto(8), ZEL_OK);
    EXPECT_EQ(text(), "1234567");
    EXPECT_EQ(m_length, 7U);

    EXPECT_EQ(readInto(7), ZEL_SRV_BUFFER_TOO_SMALL);
    EXPECT_EQ(text(), "");
    EXPECT_EQ(m_length, 7U);
    EXPECT_EQ(keptResponse(m_uuid), "none");

    EXPECT_EQ(readInto(6), ZEL_SRV_BUFFER_TOO_SMALL);
    EXPECT_EQ(m_length, 7U);
    EXPECT_EQ(keptResponse(m_uuid), "1234567");
}

TEST_F(ParameterCalls, WithoutBufferStillCallTheMethodAndTellTheLength)
{
    answer(10, {ZEL_OK, "1234567"});
    EXPECT_EQ(parameters::read(remote(), kView, "A", "R", {nullptr, nullptr, 0}), ZEL_OK);
    EXPECT_EQ(parameters::read(remote(), kView, "A", "R", {nullptr, &m_length, 0}), ZEL_OK);
    EXPECT_EQ(m_length, 7U);
    EXPECT_EQ(m_module.received().size(), 2U);

    EXPECT_EQ(parameters::read(remote(), kView, "A", "R", {nullptr, &m_length, 1}),
              ZEL_SYS_BAD_PARAMETER);
    EXPECT_EQ(parameters::read(remote(), kView, "A", "R", {m_buffer.data(), nullptr, 1}),
              ZEL_SYS_BAD_PARAMETER);
    EXPECT_EQ(m_module.received().size(), 2U);
}

TEST_F(ParameterCalls, BringTheModulesRefusalAndItsText)
{
    answer(10, {-1004111, "no such tag"});
    EXPECT_EQ(readInto(64), -1004111);
    EXPECT_EQ(text(), "no such tag");
    EXPECT_EQ(m_length, 11U);
    EXPECT_EQ(message(m_uuid), "no such tag");

    EXPECT_EQ(parameters::read({m_path, kStranger}, kView, "A", "R",
                               {m_buffer.data(), &m_length, m_buffer.size()}),
              ZEL_CONN_UNKNOWN_UUID);
    EXPECT_EQ(m_length, 0U);
    EXPECT_EQ(text(), "no such tag");
    EXPECT_EQ(message(kStranger), "");
}

TEST_F(ParameterCalls, ReadNumbersOfUpTo99Characters)
{
    double value = 5;
    answer(10, {ZEL_OK, std::string(97, '0') + ".5"});
    EXPECT_EQ(parameters::readDouble(remote(), kView, "A", "R", value), ZEL_OK);
    EXPECT_EQ(value, 0.5);
    answer(10, {ZEL_OK, std::string(98, '0') + ".7"});
    EXPECT_EQ(parameters::readDouble(remote(), kView, "A", "R", value), ZEL_SRV_BUFFER_TOO_SMALL);
    answer(10, {ZEL_OK, "high"});
    EXPECT_EQ(parameters::readDouble(remote(), kView, "A", "R", value), ZEL_UTIL_STRING_CONVERSION);
    EXPECT_EQ(value, 0.5);
}

TEST_F(ParameterCalls, TellCountsAndNegativeResults)
{
    answer(5, {ZEL_OK, "<Amplifier><Connector/><Connector/></Amplifier>"});
    answer(7, {ZEL_OK, "<xs:schema><xs:element maxOccurs=\"8\"/></xs:schema>"});
    EXPECT_EQ(parameters::maxCount(remote(), 5, "Amplifier", "Connector"), 2);
    EXPECT_EQ(parameters::maxCount(remote(), 1, "Amplifier", "Connector"), 8);
    answer(7, {-1000203, "<xs:schema><xs:element maxOccurs=\"8\"/></xs:schema>"});
    EXPECT_EQ(parameters::maxCount(remote(), 1, "Amplifier", "Connector"), -1000203);
}

TEST_F(ParameterCalls, SendARefusedTedsImageOnceMoreWithoutItsPadding)
{
    constexpr const char* kFull = "<BinData>0102030405000000</BinData>";
    constexpr const char* kShort = "<BinData>0102030405</BinData>";
    const std::array<char, 8> image = {1, 2, 3, 4, 5, 0, 0, 0};
    std::array<char, parameters::kTedsIdentifierSize> tid{};
    for (const std::int32_t refusal : {-120197, -120195}) {
        tid.fill('#');
        m_module.setHandler(1, 14, [&](const MethodCall& call) -> MethodAnswer {
            if (call.data.find(kFull) != std::string::npos)
                return {refusal, "too long"};
            return {ZEL_OK, REQUEST("<Tid>0x0102030405060708</Tid>")};
        });
        m_module.clearReceived();
        EXPECT_EQ(parameters::writeTeds(remote(), 1, tid.data(), image.data(), 8), ZEL_OK);
        EXPECT_STREQ(tid.data(), "0807060504030201");
        const auto calls = m_module.received();
        ASSERT_EQ(calls.size(), 2U);
        EXPECT_NE(calls[1].data.find(kShort), std::string::npos);
    }

    const std::array<char, 3> zeros{};
    answer(14, {-120197, "too long"});
    m_module.clearReceived();
    EXPECT_EQ(parameters::writeTeds(remote(), 1, tid.data(), zeros.data(), 3), -120197);
    EXPECT_EQ(m_module.received().size(), 1U);

    EXPECT_EQ(parameters::writeTeds(remote(), 1, tid.data(), nullptr, 3),
              ZEL_SRV_INVALID_PARAMETERS);
    EXPECT_EQ(parameters::readTeds(remote(), 0, tid.data(), {m_buffer.data(), &m_length, 9}),
              ZEL_SRV_INVALID_PARAMETERS);
    EXPECT_EQ(m_module.received().size(), 1U);
}

TEST_F(ParameterCalls, RefuseWhatNoRequestCanAnnounce)
{
    std::array<char, parameters::kTedsIdentifierSize> tid{};
    for (const std::uint64_t length :
         {~std::uint64_t{0}, std::uint64_t{1} << 63, std::uint64_t{0xFFFFFFFC}}) {
        EXPECT_EQ(parameters::writeDocument(remote(), kView, {"<V/>", length}),
                  ZEL_SRV_INVALID_PARAMETERS);
        EXPECT_EQ(parameters::writeSection(remote(), kView, "A", {"<V/>", length}),
                  ZEL_SRV_INVALID_PARAMETERS);
        EXPECT_EQ(parameters::writeTeds(remote(), 1, tid.data(), "<V/>", length),
                  ZEL_SRV_INVALID_PARAMETERS);
    }
    EXPECT_EQ(m_module.received().size(), 0U);
}

TEST_F(ParameterCalls, CarryDocumentsOfMebibytes)
{
    std::string document;
    while (document.size() < 2U << 20)
        document += "<Connector address=\"" + std::to_string(document.size()) + "\"/>";
    std::string received;
    m_module.setHandler(1, 2, [&](const MethodCall& call) -> MethodAnswer {
        received = call.data;
        return {ZEL_OK};
    });
    ASSERT_EQ(parameters::writeDocument(remote(), kView, document), ZEL_OK);
    EXPECT_EQ(received,
              clRequestDocument{}.addNumber("View", kView).addText("XmlSection", document).take());

    answer(1, {ZEL_OK, document});
    std::string buffer(document.size() + 1, '#');
    EXPECT_EQ(
        parameters::readDocument(remote(), kView, false, {buffer.data(), &m_length, buffer.size()}),
        ZEL_OK);
    EXPECT_EQ(buffer, document + '\0');
}

TEST_F(ParameterCalls, WriteTheViewsIntoAFileOfAnyName)
{
    const std::string name = testing::TempDir() + "views_\xC3\xA4\xE2\x82\xAC.xml";
    answer(11, {ZEL_OK, "<Views>\r\n</Views>"});
    EXPECT_EQ(sendForFile(remote(), wire::ParameterMethod::getViews, {}, name.c_str()), ZEL_OK);
    const std::filesystem::path path(std::u8string(name.begin(), name.end()));
    std::ifstream file(path, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "<Views>\r\n</Views>");
    file.close();
    std::filesystem::remove(path);
}

} // namespace
} // namespace zel
