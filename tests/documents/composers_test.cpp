#include "pugi_xml_buffer_composer.h"
#include "pugi_xml_stream_composer.h"
#include "ZEL_VR_Framework.h"

#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zel {
namespace {

constexpr const char* kDocument = "<?xml version=\"1.0\"?>"
                                  "<Root a=\"text\" b=\"18446744073709551615\" c=\"4294967295\" "
                                  "d=\"-1\" e=\"5.000000e-02\" f=\"C\">"
                                  "string"
                                  "0.050000000"
                                  "18446744073709551615"
                                  "4294967295"
                                  "-2147483648"
                                  "&lt;&amp;"
                                  "<U>7</U><I>-7</I><S>s</S><C>\xC3\xA4</C>"
                                  "<!--note--><Inner/></Root>";
constexpr std::uint32_t kItems = 19;

/// Calls every operation that adds something at least once.
void compose(XmlComposer& composer)
{
    EXPECT_EQ(composer.openElement("Root"), ZEL_OK);
    EXPECT_EQ(composer.addAttribute("a", std::string("text")), ZEL_OK);
    EXPECT_EQ(composer.addAttribute("b", std::uint64_t{18446744073709551615U}), ZEL_OK);
    EXPECT_EQ(composer.addAttribute("c", std::uint32_t{4294967295U}), ZEL_OK);
    EXPECT_EQ(composer.addAttribute("d", std::int32_t{-1}), ZEL_OK);
    EXPECT_EQ(composer.addAttribute("e", 0.05), ZEL_OK);
    EXPECT_EQ(composer.addAttribute("f", "C"), ZEL_OK);
    EXPECT_EQ(composer.addText(std::string("string")), ZEL_OK);
    EXPECT_EQ(composer.addText(0.05), ZEL_OK);
    EXPECT_EQ(composer.addText(std::uint64_t{18446744073709551615U}), ZEL_OK);
    EXPECT_EQ(composer.addText(std::uint32_t{4294967295U}), ZEL_OK);
    EXPECT_EQ(composer.addText(std::int32_t{-2147483647 - 1}), ZEL_OK);
    EXPECT_EQ(composer.addText("<&"), ZEL_OK);
    EXPECT_EQ(composer.addElement("U", std::uint32_t{7}), ZEL_OK);
    EXPECT_EQ(composer.addElement("I", std::int32_t{-7}), ZEL_OK);
    EXPECT_EQ(composer.addElement("S", std::string("s")), ZEL_OK);
    EXPECT_EQ(composer.addElement("C", "\xC3\xA4"), ZEL_OK);
    EXPECT_EQ(composer.addComment("note"), ZEL_OK);
    EXPECT_EQ(composer.openElement("Inner"), ZEL_OK);
    EXPECT_EQ(composer.closeElement(), ZEL_OK);
    EXPECT_EQ(composer.closeElement(), ZEL_OK);
    EXPECT_EQ(composer.closeElement(), ZEL_FAILED);
}

/// Calls every operation in the ways that it refuses.
void composeInVain(XmlComposer& composer)
{
    const char* const nothing = nullptr;
    EXPECT_EQ(composer.openElement(nothing), ZEL_XML_TAG_NOT_DEFINED);
    EXPECT_EQ(composer.openElement(""), ZEL_XML_TAG_NOT_DEFINED);
    EXPECT_EQ(composer.addText(nothing), ZEL_OK);
    EXPECT_EQ(composer.addAttribute("a", nothing), ZEL_FAILED);
    EXPECT_EQ(composer.addAttribute(nothing, "a"), ZEL_FAILED);
    EXPECT_EQ(composer.addAttribute(nothing, std::uint32_t{1}), ZEL_FAILED);
    EXPECT_EQ(composer.addElement("", std::uint32_t{1}), ZEL_XML_TAG_NOT_DEFINED);
    EXPECT_EQ(composer.addElement(nothing, std::string("s")), ZEL_XML_TAG_NOT_DEFINED);
    EXPECT_EQ(composer.addElement("", "s"), ZEL_XML_TAG_NOT_DEFINED);
    EXPECT_EQ(composer.addElement("a", nothing), ZEL_FAILED);
    EXPECT_EQ(composer.closeElement(), ZEL_FAILED);
}

TEST(Composers, BuildTheSameDocumentInABufferAndOnAStream)
{
    std::vector<char> buffer(1000, '#');
    std::uint64_t length = 0;
    PugiXmlBufferComposer inBuffer(buffer.data(), buffer.size());
    composeInVain(inBuffer);
    EXPECT_EQ(inBuffer.itemCount(), 0U);
    compose(inBuffer);
    EXPECT_EQ(inBuffer.itemCount(), kItems);
    EXPECT_EQ(inBuffer.save(&length), ZEL_OK);
    EXPECT_STREQ(buffer.data(), kDocument);
    EXPECT_EQ(length, std::strlen(kDocument));

    std::ostringstream stream;
    PugiXmlStreamComposer onStream(stream);
    composeInVain(onStream);
    compose(onStream);
    EXPECT_EQ(onStream.writeRaw("raw", 3), ZEL_OK);
    EXPECT_EQ(onStream.save(), ZEL_OK);
    EXPECT_EQ(stream.str(), std::string("raw") + kDocument);
    stream.setstate(std::ios::badbit);
    EXPECT_EQ(onStream.save(), ZEL_FILE_WRITE);
}

TEST(Composers, ReplaceWhatXmlCannotCarry)
{
#define BAD "\xEF\xBF\xBD"
    constexpr const char* kTexts[][2] = {
        {"plain \x7F\xC2\x85\xED\x9F\xBF\xEF\xBF\xBD\xF4\x8F\xBF\xBF",
         "plain \x7F\xC2\x85\xED\x9F\xBF\xEF\xBF\xBD\xF4\x8F\xBF\xBF"},
        {"A\x1B"
         "B\x01",
         "A" BAD "B" BAD},
        {"\xFF-\x80-\xC0\x80", BAD "-" BAD "-" BAD BAD},
        {"\xE0\x9F\xBF\xF0\x8F\xBF\xBF", BAD BAD BAD BAD BAD BAD BAD},
        {"\xED\xA0\x80 \xF4\x90\x80\x80", BAD BAD BAD " " BAD BAD BAD BAD},
        {"\xEF\xBF\xBE\xEF\xBF\xBF", BAD BAD},
        {"\xC3- \xE2\x82- \xF0\x9F\x98", BAD "- " BAD "- " BAD},
    };
    for (const auto& [given, shown] : kTexts) {
        std::ostringstream stream;
        PugiXmlStreamComposer composer(stream);
        composer.openElement("R");
        composer.addAttribute("a", given);
        composer.addText(given);
        composer.addElement("E", given);
        composer.addComment(given);
        composer.save();
        const std::string text = shown;
        EXPECT_EQ(stream.str(), "<?xml version=\"1.0\"?><R a=\"" + text + "\">" + text + "<E>" +
                                    text + "</E><!--" + text + "--></R>");
    }
#undef BAD
}

TEST(Composers, StartAgainAfterAReset)
{
    std::vector<char> buffer(100, '#');
    PugiXmlBufferComposer composer(buffer.data(), buffer.size());
    EXPECT_EQ(composer.openElement("Old"), ZEL_OK);
    EXPECT_EQ(composer.reset(), ZEL_OK);
    EXPECT_EQ(composer.openElement("New"), ZEL_OK);
    EXPECT_EQ(composer.save(nullptr), ZEL_OK);
    EXPECT_STREQ(buffer.data(), "<?xml version=\"1.0\"?><New/>");
}

TEST(Composers, NeedRoomForTheZeroByte)
{
    const std::string document = "<?xml version=\"1.0\"?><Root/>";
    for (std::uint64_t capacity : {document.size() + 1, document.size(), std::size_t{1}}) {
        std::vector<char> buffer(document.size() + 2, '#');
        std::uint64_t length = 0;
        PugiXmlBufferComposer composer(buffer.data(), capacity);
        composer.openElement("Root");
        const bool fits = capacity > document.size();
        EXPECT_EQ(composer.save(&length), fits ? ZEL_OK : ZEL_SRV_BUFFER_TOO_SMALL) << capacity;
        EXPECT_EQ(length, document.size()) << capacity;
        EXPECT_STREQ(buffer.data(), fits ? document.c_str() : "") << capacity;
        EXPECT_EQ(buffer.back(), '#');
    }
    std::uint64_t length = 0;
    PugiXmlBufferComposer nowhere(nullptr, 100);
    nowhere.openElement("Root");
    EXPECT_EQ(nowhere.save(&length), ZEL_SRV_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, document.size());
}

TEST(BufferWriter, DropsEverythingAfterTheFirstPieceThatDoesNotFit)
{
    std::string buffer(6, '#');
    PugiXmlBufferWriter writer(buffer.data(), 5);
    writer.write("ab", 2);
    EXPECT_EQ(writer.result(), ZEL_OK);
    writer.write("cdef", 4);
    EXPECT_EQ(writer.result(), ZEL_SRV_BUFFER_TOO_SMALL);
    writer.write("g", 1);
    EXPECT_EQ(buffer, "ab####");
    EXPECT_EQ(writer.written(), 7U);
    EXPECT_EQ(writer.finish(), ZEL_SRV_BUFFER_TOO_SMALL);

    buffer.assign(6, '#');
    PugiXmlBufferWriter full(buffer.data(), 5);
    full.write("abcde", 5);
    EXPECT_EQ(full.result(), ZEL_OK);
    EXPECT_EQ(buffer, "abcde#");
    EXPECT_EQ(full.finish(), ZEL_SRV_BUFFER_TOO_SMALL);
    EXPECT_EQ(full.written(), 5U);
}

} // namespace
} // namespace zel
