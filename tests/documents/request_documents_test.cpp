#include "control_request.h"
#include "request_document.h"
#include "xml_escape.h"

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

namespace zel {
namespace {

#define DECLARATION "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"

TEST(RequestDocuments, OfOtherServicesWriteEachKindOfValue)
{
    EXPECT_EQ(clRequestDocument()
                  .addVerbatim("Control", "SETZERO")
                  .addDouble("Value", 100000.5)
                  .addNumber("Mode", 18446744073709551615U)
                  .take(),
              DECLARATION "<SrvParams><Control>SETZERO</Control><Value>1.000005e+05</Value>"
                          "<Mode>18446744073709551615</Mode></SrvParams>");
}

TEST(ControlRequests, CarryTheirParametersEscapedTwice)
{
    const std::string parameters = clControlParameters().add("a<b\"").add(255U).add("").take();
    EXPECT_EQ(parameters, DECLARATION "<ControlParams><Par1>a&lt;b&quot;</Par1><Par2>255</Par2>"
                                      "<Par3></Par3></ControlParams>");
    EXPECT_EQ(controlRequest("LEDFLASH", parameters.c_str()),
              "<?xml version=\"1.0\"?>\n"
              "<SrvParams>\n"
              "\t<Control>LEDFLASH</Control>\n"
              "\t<ControlParams>&lt;?xml version=\"1.0\" encoding=\"UTF-8\"?&gt;"
              "&lt;ControlParams&gt;&lt;Par1&gt;a&amp;lt;b&amp;quot;&lt;/Par1&gt;"
              "&lt;Par2&gt;255&lt;/Par2&gt;&lt;Par3&gt;&lt;/Par3&gt;&lt;/ControlParams&gt;"
              "</ControlParams>\n"
              "</SrvParams>\n");
}

TEST(ControlRequests, LeaveOutParametersThatAreNotThere)
{
    EXPECT_EQ(clControlParameters().take(), "");
    EXPECT_EQ(controlRequest("A&B", ""), "<?xml version=\"1.0\"?>\n"
                                         "<SrvParams>\n"
                                         "\t<Control>A&amp;B</Control>\n"
                                         "</SrvParams>\n");
}

std::string xmlEscaped(std::string_view text)
{
    std::string escaped;
    appendXmlEscaped(escaped, text);
    return escaped;
}

TEST(XmlEscaping, ReplacesFiveCharactersAndNoOtherByte)
{
    // Every byte at every place of the words that the escaper looks at together.
    for (int byte = 0; byte < 256; ++byte) {
        const char character = static_cast<char>(byte);
        std::string entity(1, character);
        if (character == '"')
            entity = "&quot;";
        else if (character == '&')
            entity = "&amp;";
        else if (character == '\'')
            entity = "&apos;";
        else if (character == '<')
            entity = "&lt;";
        else if (character == '>')
            entity = "&gt;";
        for (std::size_t before = 0; before < 17; ++before) {
            const std::string start(before, '\xBE');
            ASSERT_EQ(xmlEscaped(start + character + "tail "), start + entity + "tail ")
                << byte << " after " << before;
        }
    }
    EXPECT_EQ(xmlEscaped(""), "");
    EXPECT_EQ(xmlEscaped(std::string(9, '"')),
              "&quot;&quot;&quot;&quot;&quot;&quot;&quot;&quot;&quot;");
}

} // namespace
} // namespace zel
