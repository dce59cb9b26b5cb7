#include "caller_buffer.h"
#include "parameter_documents.h"
#include "response_document.h"

#include <array>
#include <string>

#include <gtest/gtest.h>

namespace zel {
namespace {

Bytes bytesOf(const std::string& text)
{
    return asBytes(text.data(), text.size());
}

TEST(TextCopies, FollowTheBufferRuleAroundTheCapacity)
{
    struct Case {
        const char* text;
        std::uint64_t capacity;
        std::int32_t result;
        bool mustKeep;
        const char* buffer;
    };
    // The buffer starts as "########".
    constexpr Case kCases[] = {
        {"", 4, ZEL_OK, false, ""},
        {"abc", 4, ZEL_OK, false, "abc"},
        {"abcd", 4, ZEL_SRV_BUFFER_TOO_SMALL, false, ""},
        {"abcde", 4, ZEL_SRV_BUFFER_TOO_SMALL, true, ""},
        {"abcde", 0, ZEL_SRV_BUFFER_TOO_SMALL, true, "########"},
        {"", 0, ZEL_SRV_BUFFER_TOO_SMALL, false, "########"},
    };
    for (const Case& row : kCases) {
        std::array<char, 9> buffer = {"########"};
        const std::string text = row.text;
        const CopyOutcome outcome = copyText(bytesOf(text), buffer.data(), row.capacity);
        EXPECT_EQ(outcome.result, row.result) << text << row.capacity;
        EXPECT_EQ(outcome.length, text.size()) << text << row.capacity;
        EXPECT_EQ(outcome.mustKeep, row.mustKeep) << text << row.capacity;
        EXPECT_STREQ(buffer.data(), row.buffer) << text << row.capacity;
    }
    const CopyOutcome nowhere = copyText(bytesOf("abc"), nullptr, 4);
    EXPECT_EQ(nowhere.result, ZEL_SYS_BAD_PARAMETER);
    EXPECT_EQ(nowhere.length, 0U);
}

TEST(ByteCopies, GiveWhatFitsWithoutATerminator)
{
    std::array<char, 5> buffer = {"####"};
    CopyOutcome outcome = copyBytes(bytesOf("ab"), buffer.data(), 2);
    EXPECT_EQ(outcome.result, ZEL_OK);
    EXPECT_EQ(outcome.length, 2U);
    EXPECT_STREQ(buffer.data(), "ab##");

    outcome = copyBytes(bytesOf("xyz"), buffer.data(), 2);
    EXPECT_EQ(outcome.result, ZEL_SRV_BUFFER_TOO_SMALL);
    EXPECT_EQ(outcome.length, 2U);
    EXPECT_FALSE(outcome.mustKeep);
    EXPECT_STREQ(buffer.data(), "xy##");

    EXPECT_EQ(copyBytes(bytesOf("x"), nullptr, 0).result, ZEL_SRV_BUFFER_TOO_SMALL);
    EXPECT_EQ(copyBytes(bytesOf("x"), nullptr, 1).result, ZEL_SYS_BAD_PARAMETER);
    EXPECT_EQ(copyBytes({}, nullptr, 0).result, ZEL_OK);
}

TEST(ResponseDocuments, NeedTheirRootAndTheirChildren)
{
    clResponseDocument document;
    for (const char* payload :
         {"", " ", "no document", "<SrvParams>", "<Other><SrvParams/></Other>", "<SrvParams/><"})
        EXPECT_EQ(document.parse(bytesOf(payload)), ZEL_PARAM_XML_ERROR) << payload;
    EXPECT_EQ(document.parse({}), ZEL_PARAM_XML_ERROR);

    ASSERT_EQ(document.parse(bytesOf("<?xml version=\"1.0\"?>\n<SrvParams><Text>a&lt;b</Text>"
                                     "<Count>0x<!-- -->1<![CDATA[0]]></Count><Empty/>"
                                     "</SrvParams>")),
              ZEL_OK);
    std::string text;
    EXPECT_EQ(document.requireText("Text", text), ZEL_OK);
    EXPECT_EQ(text, "a<b");
    EXPECT_EQ(document.requireText("Missing", text), ZEL_PARAM_XML_ERROR);
    std::uint32_t count = 0;
    EXPECT_EQ(document.requireNumber("Count", count), ZEL_OK);
    EXPECT_EQ(count, 16U);
    EXPECT_EQ(document.requireNumber("Empty", count), ZEL_UTIL_STRING_CONVERSION);
    EXPECT_EQ(document.requireNumber("Missing", count), ZEL_PARAM_XML_ERROR);

    // What was read before is gone when the next payload is none.
    EXPECT_EQ(document.parse(bytesOf("<SrvParams")), ZEL_PARAM_XML_ERROR);
    EXPECT_EQ(document.requireText("Text", text), ZEL_PARAM_XML_ERROR);
}

TEST(ResponseDocuments, SurviveDeepNestingAndManyElements)
{
    constexpr std::size_t kDepth = 500'000;
    std::string deep = "<SrvParams>";
    for (std::size_t i = 0; i < kDepth; ++i)
        deep += "<a>";
    for (std::size_t i = 0; i < kDepth; ++i)
        deep += "</a>";
    deep += "</SrvParams>";
    clResponseDocument document;
    EXPECT_EQ(document.parse(bytesOf(deep)), ZEL_OK);
    EXPECT_EQ(parameters::countConnectors(bytesOf(deep)), 0);

    std::string wide = "<View><Amplifier>";
    for (std::size_t i = 0; i < kDepth; ++i)
        wide += "<C/>text";
    wide += "</Amplifier></View>";
    EXPECT_EQ(parameters::countConnectors(bytesOf(wide)), 500'000);
}

TEST(Counts, AreReadFromSectionsAndSchemas)
{
    EXPECT_EQ(parameters::countConnectors(
                  bytesOf("<Amplifier><Connector/>\n<Connector/><!-- no --><Other/></Amplifier>")),
              3);
    EXPECT_EQ(parameters::countConnectors(bytesOf("<Amplifier>")), 0);
    EXPECT_EQ(parameters::countConnectors(bytesOf("<Connector/>")), 0);

    EXPECT_EQ(parameters::maxOccurs(bytesOf("<?xml version=\"1.0\"?><!-- schema -->"
                                            "<xs:schema><xs:element name=\"C\" maxOccurs=\"8\"/>"
                                            "<xs:element maxOccurs=\"9\"/></xs:schema>")),
              8);
    for (const char* schema : {"<s><e maxOccurs='unbounded'/></s>", "<s><e/></s>", "<s/>", "",
                               "<s><e maxOccurs='-1000201'/></s>"})
        EXPECT_EQ(parameters::maxOccurs(bytesOf(schema)), 0) << schema;
}

TEST(TedsAnswers, GiveDataAndIdentifier)
{
    std::array<char, 4> data{};
    parameters::TedsAnswer answer;
    const std::string payload =
        "<SrvParams><Tid>0x0102030405060708</Tid><BinData>00A0fF</BinData></SrvParams>";
    ASSERT_EQ(answer.readData(bytesOf(payload), data.data(), 3), ZEL_OK);
    EXPECT_EQ(answer.size, 3U);
    EXPECT_EQ(std::string(data.data(), 4), std::string("\x00\xA0\xFF\x00", 4));
    EXPECT_STREQ(parameters::tedsIdentifierText(answer.identifier).data(), "0807060504030201");

    data = {};
    EXPECT_EQ(answer.readData(bytesOf(payload), data.data(), 2), ZEL_SRV_BUFFER_TOO_SMALL);
    EXPECT_EQ(answer.size, 3U);
    EXPECT_EQ(data, (std::array<char, 4>{}));
}

TEST(TedsAnswers, ThatAreBrokenAreRefused)
{
    struct Case {
        const char* payload;
        std::int32_t result;
    };
    constexpr Case kCases[] = {
        {"<SrvParams><BinData>00</BinData></SrvParams>", ZEL_PARAM_XML_ERROR},
        {"<SrvParams><Tid>1</Tid></SrvParams>", ZEL_PARAM_XML_ERROR},
        {"<Tid>1</Tid><BinData>00</BinData>", ZEL_PARAM_XML_ERROR},
        {"<SrvParams><Tid>-1</Tid><BinData>00</BinData></SrvParams>", ZEL_UTIL_STRING_CONVERSION},
        {"<SrvParams><Tid/><BinData>00</BinData></SrvParams>", ZEL_UTIL_STRING_CONVERSION},
        {"<SrvParams><Tid>1</Tid><BinData>0G</BinData></SrvParams>", ZEL_UTIL_STRING_CONVERSION},
        {"<SrvParams><Tid>1</Tid><BinData>00A</BinData></SrvParams>", ZEL_UTIL_STRING_CONVERSION},
        {"<SrvParams><Tid>1</Tid><BinData>\xC3\xA4</BinData></SrvParams>",
         ZEL_UTIL_STRING_CONVERSION},
    };
    std::array<char, 4> data{};
    for (const Case& row : kCases) {
        parameters::TedsAnswer answer;
        EXPECT_EQ(answer.readData(bytesOf(row.payload), data.data(), data.size()), row.result)
            << row.payload;
    }
    parameters::TedsAnswer answer;
    EXPECT_EQ(answer.readIdentifier(bytesOf("<SrvParams><Tid>5</Tid></SrvParams>")), ZEL_OK);
    EXPECT_EQ(answer.identifier, 5U);
    EXPECT_EQ(answer.readIdentifier(bytesOf("<SrvParams/>")), ZEL_PARAM_XML_ERROR);
}

TEST(TedsImages, LoseTheZeroBytesAtTheirEndOnly)
{
    const std::array<char, 8> image = {1, 0, 2, 0, 3, 0, 0, 0};
    const std::array<char, 3> zeros = {};
    EXPECT_EQ(parameters::withoutPadding(asBytes(image.data(), 8)).size(), 5U);
    EXPECT_EQ(parameters::withoutPadding(asBytes(image.data(), 5)).size(), 5U);
    EXPECT_TRUE(parameters::withoutPadding(asBytes(zeros.data(), 3)).empty());
}

} // namespace
} // namespace zel
