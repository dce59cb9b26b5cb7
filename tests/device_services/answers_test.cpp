// Answers of the status, control and system services that are long, empty, wrong or hostile.

#include "library_with_module.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>

namespace zel::test {
namespace {

using simulator::MethodAnswer;
using simulator::MethodCall;

class Answers : public LibraryWithModule {
protected:
    void SetUp() override
    {
        LibraryWithModule::SetUp();
        m_uuid = connected(m_module);
    }

    void answer(std::uint16_t service, std::uint16_t method, std::string data,
                std::int32_t result = 0)
    {
        m_module.setHandler(service, method, [result, data](const MethodCall&) {
            return MethodAnswer{result, data};
        });
    }

    std::uint64_t m_uuid = 0;
};

std::string inParams(const std::string& content)
{
    return "<?xml version=\"1.0\"?><SrvParams>" + content + "</SrvParams>";
}

std::string repeated(const std::string& element, std::size_t count)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i)
        text += element;
    return inParams(text);
}

TEST_F(Answers, FillListsUpToTheirSizeAndDropTheRest)
{
    const auto list = std::make_unique<ZEL_ErrorList>();
    const auto listEx = std::make_unique<ZEL_ErrorListEx>();
    const std::string error = R"(<Error ErrLevel="2" ErrCode="-1014060" Connector="3")"
                              R"( Channel="4" Signal="5" Text="Overload"/>)";
    for (const auto& [errors, some, more] : {std::array<std::size_t, 3>{0, 0, 0},
                                             {256, 256, 256},
                                             {300, 256, 300},
                                             {10000, 256, 550}}) {
        answer(2, 2, repeated(error, errors));
        EXPECT_EQ(ZEL_XSTAT_GetErrorStatus(m_uuid, list.get()), ZEL_OK);
        EXPECT_EQ(list->count, some);
        EXPECT_EQ(ZEL_XSTAT_GetErrorStatusEx(m_uuid, listEx.get()), ZEL_OK);
        EXPECT_EQ(listEx->count, more);
    }
    const ZEL_ErrorEntry& last = listEx->entries[549];
    EXPECT_EQ(last.level, 2U);
    EXPECT_EQ(last.code, -1014060);
    EXPECT_EQ((std::array{last.connector, last.channel, last.signal}),
              (std::array<std::uint32_t, 3>{3, 4, 5}));
    EXPECT_STREQ(last.text, "Overload");
}

TEST_F(Answers, WithAWarningAreHandedOutBesideIt)
{
    constexpr std::int32_t kWarning = 1004118;
    double value = 0;
    answer(1, 10, "2.5", kWarning);
    EXPECT_EQ(ZEL_XPAR_ReadDoublePar(m_uuid, 1, "a", "b", &value), kWarning);
    EXPECT_EQ(value, 2.5);

    const auto errors = std::make_unique<ZEL_ErrorList>();
    answer(2, 2, inParams("<Error/>"), kWarning);
    EXPECT_EQ(ZEL_XSTAT_GetErrorStatus(m_uuid, errors.get()), kWarning);
    EXPECT_EQ(errors->count, 1u);

    std::uint32_t status = 0;
    std::uint32_t progress = 0;
    answer(6, 4, inParams("<Status>1</Status><Progress>50</Progress>"), kWarning);
    EXPECT_EQ(ZEL_XSYS_GetFlashStatus(m_uuid, &status, &progress), kWarning);
    EXPECT_EQ(progress, 50u);

    char identifier[17] = "";
    char data[4] = "";
    std::uint64_t length = 0;
    answer(1, 13, inParams("<Tid>1</Tid><BinData>4142</BinData>"), kWarning);
    EXPECT_EQ(ZEL_XPAR_ReadTedsBinary(m_uuid, 1, identifier, data, &length, sizeof data), kWarning);
    EXPECT_EQ(std::string_view(data, length), "AB");
    answer(1, 14, inParams("<Tid>1</Tid>"), kWarning);
    identifier[0] = '\0';
    EXPECT_EQ(ZEL_XPAR_WriteTedsBinary(m_uuid, 1, identifier, data, length), kWarning);
    EXPECT_STREQ(identifier, "0100000000000000");

    ZEL_ConnectedModule module = {};
    answer(2, 1, inParams("<ConnectedModule><Uuid>7</Uuid></ConnectedModule>"), kWarning);
    EXPECT_EQ(ZEL_XSTAT_GetConnectedModules(m_uuid, &module, &length, 1), kWarning);
    EXPECT_EQ(module.uuid, 7u);
}

TEST_F(Answers, AreReadWholeAndTheirNumbersByOneRule)
{
    const auto read = [this](const std::string& number) {
        double value = 77;
        answer(1, 10, number);
        const std::int32_t result = ZEL_XPAR_ReadDoublePar(m_uuid, 1, "a", "b", &value);
        return result == ZEL_OK ? value : result;
    };
    EXPECT_EQ(read(std::string{"1.5\0", 4}), 1.5);
    EXPECT_EQ(read("\v+1.5e0 \n"), 1.5);
    EXPECT_EQ(read("1.5x"), ZEL_UTIL_STRING_CONVERSION);

    const auto clock = [this](const std::string& content) {
        double value = 77;
        answer(3, 1, content);
        const std::int32_t result = ZEL_XCTRL_GetSignalGeneratorClock(m_uuid, 1, &value);
        return result == ZEL_OK ? value : result;
    };
    EXPECT_EQ(clock("<Frequency>12<!-- x -->3<![CDATA[4]]></Frequency>"), 1234);
    EXPECT_EQ(clock("<Frequency>1,5</Frequency>"), ZEL_UTIL_STRING_CONVERSION);

    const auto list = std::make_unique<ZEL_StatusList>();
    answer(2, 3,
           inParams("<Status StatusId='0x10' Connector='12x' Channel='-1' Value=' 7 '>"
                    "<Info>in<!-- -->side</Info></Status>"));
    EXPECT_EQ(ZEL_XSTAT_GetModuleStatus(m_uuid, list.get()), ZEL_OK);
    const ZEL_StatusEntry& entry = list->entries[0];
    EXPECT_EQ((std::array{entry.statusId, entry.connector, entry.channel}),
              (std::array<std::uint32_t, 3>{16, 0, 0}));
    EXPECT_EQ(std::uint64_t{entry.value}, 7u);
    EXPECT_STREQ(entry.info, "inside");

    ZEL_ConnectedModule module = {};
    std::uint64_t count = 0;
    for (const char* const uuid : {"7x", "-7", ""}) {
        answer(
            2, 1,
            inParams("<ConnectedModule><Uuid>" + std::string{uuid} + "</Uuid></ConnectedModule>"));
        EXPECT_EQ(ZEL_XSTAT_GetConnectedModules(m_uuid, &module, &count, 1),
                  ZEL_UTIL_STRING_CONVERSION);
        EXPECT_EQ(count, 0u);
    }
}

TEST_F(Answers, CutTextsToTheirFields)
{
    const auto list = std::make_unique<ZEL_StatusList>();
    for (const std::size_t size : {0UL, 127UL, 128UL, 129UL, 1000000UL}) {
        answer(2, 3,
               inParams(R"(<Status StatusId="7" Value="18446744073709551615"><Info>)" +
                        std::string(size, 'i') + "</Info></Status><Status/>"));
        ASSERT_EQ(ZEL_XSTAT_GetModuleStatus(m_uuid, list.get()), ZEL_OK);
        ASSERT_EQ(list->count, 2U);
        const ZEL_StatusEntry& entry = list->entries[0];
        EXPECT_EQ(std::uint64_t{entry.value}, ~std::uint64_t{0}); // packed: no reference to it
        EXPECT_EQ(
            static_cast<std::size_t>(std::count(std::begin(entry.info), std::end(entry.info), 'i')),
            std::min<std::size_t>(size, 128));
        EXPECT_EQ(list->entries[1].info[0], '\0');
    }
}

TEST_F(Answers, ThatDoNotParseLeaveNothing)
{
    const auto list = std::make_unique<ZEL_ErrorList>();
    std::uint32_t first = 77;
    std::uint32_t second = 88;
    for (const char* const wrong : {"", "no document", "<SrvParams><Status>", "<Other/>"}) {
        answer(2, 2, wrong);
        answer(6, 4, wrong);
        EXPECT_EQ(ZEL_XSTAT_GetErrorStatus(m_uuid, list.get()), ZEL_PARAM_XML_ERROR) << wrong;
        EXPECT_EQ(list->count, 0U);
        EXPECT_EQ(ZEL_XSYS_GetFlashStatus(m_uuid, &first, &second), ZEL_PARAM_XML_ERROR) << wrong;
    }
    answer(6, 4, inParams("<Status>1</Status>"));
    EXPECT_EQ(ZEL_XSYS_GetFlashStatus(m_uuid, &first, &second), ZEL_PARAM_XML_ERROR);
    answer(6, 4, inParams("<Status>1</Status><Progress>4294967296</Progress>"));
    EXPECT_EQ(ZEL_XSYS_GetFlashStatus(m_uuid, &first, &second), ZEL_SYS_NO_OBJECT);
    EXPECT_EQ(first, 77U);
    EXPECT_EQ(second, 88U);
    answer(2, 2, "refused", -1014302);
    EXPECT_EQ(ZEL_XSTAT_GetErrorStatus(m_uuid, list.get()), -1014302);
}

TEST_F(Answers, OfConnectedModulesComeWholeOrNotAtAll)
{
    const std::string behind = "<ConnectedModule><Uuid>18446744073709551614</Uuid>"
                               "<DevType>6</DevType><ActiveInterface>9</ActiveInterface>"
                               "</ConnectedModule>";
    std::array<ZEL_ConnectedModule, 3> modules{};
    modules[0].reserved[15] = 0x5A;
    std::uint64_t count = 99;
    answer(2, 1, repeated(behind, 3));
    EXPECT_EQ(ZEL_XSTAT_GetConnectedModules(m_uuid, modules.data(), &count, 2),
              ZEL_SRV_BUFFER_TOO_SMALL);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(ZEL_XSTAT_GetConnectedModules(m_uuid, modules.data(), &count, 3), ZEL_OK);
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(std::uint64_t{modules[2].uuid}, 18446744073709551614U);
    EXPECT_EQ(modules[2].deviceType, 6U);
    EXPECT_EQ(modules[2].activeInterface, 9U);
    EXPECT_EQ(modules[0].reserved[15], 0x5A) << "the reserved bytes are the caller's";
}

TEST_F(Answers, OfTheTedsStatusAreCutAndTerminated)
{
    answer(2, 4, inParams("<Status>3</Status><error>12345</error>"));
    std::uint32_t status = 0;
    char error[5];
    char warning[5] = "????";
    std::uint64_t errorLength = 0;
    std::uint64_t warningLength = 99;
    EXPECT_EQ(ZEL_XSTAT_GetTedsStatus(m_uuid, 2, &status, error, &errorLength, sizeof error,
                                      warning, &warningLength, sizeof warning),
              ZEL_SRV_BUFFER_TOO_SMALL);
    EXPECT_EQ(status, 3U);
    EXPECT_STREQ(error, "1234");
    EXPECT_EQ(errorLength, 5U);
    EXPECT_STREQ(warning, "");
    EXPECT_EQ(warningLength, 0U);
    EXPECT_EQ(m_module.received(2, 4).back().data,
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?><SrvParams><Connector>2</Connector>"
              "</SrvParams>");
}

TEST_F(Answers, ControlsTravelWithTheirParametersEscapedTwice)
{
    const char* const parameters[] = {"1 < 2"};
    answer(3, 1, "");
    EXPECT_EQ(ZEL_XCTRL_Execute(m_uuid, "LEDFLASH", 0, 1, parameters), ZEL_OK);
    EXPECT_EQ(m_module.received(3, 1).back().data,
              "<?xml version=\"1.0\"?>\n<SrvParams>\n\t<Control>LEDFLASH</Control>\n"
              "\t<ControlParams>&lt;?xml version=\"1.0\" encoding=\"UTF-8\"?&gt;"
              "&lt;ControlParams&gt;&lt;Par1&gt;1 &amp;lt; 2&lt;/Par1&gt;&lt;/ControlParams&gt;"
              "</ControlParams>\n</SrvParams>\n");
    EXPECT_EQ(ZEL_XCTRL_Execute(m_uuid, "SELFTEST", 0, 0, nullptr), ZEL_OK);
    EXPECT_EQ(m_module.received(3, 1).back().data,
              "<?xml version=\"1.0\"?>\n<SrvParams>\n\t<Control>SELFTEST</Control>\n"
              "</SrvParams>\n");
    double clock = 1;
    answer(3, 1, std::string(1024, ' '));
    EXPECT_EQ(ZEL_XCTRL_GetSignalGeneratorClock(m_uuid, 1, &clock), ZEL_SRV_BUFFER_TOO_SMALL);
    EXPECT_EQ(clock, 0);
    answer(3, 1, "<Other>5</Other>");
    EXPECT_EQ(ZEL_XCTRL_GetSignalGeneratorClock(m_uuid, 1, &clock), ZEL_OK);
    EXPECT_EQ(clock, 0);
}

} // namespace
} // namespace zel::test
