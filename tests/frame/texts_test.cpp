#include "result_texts.h"
#include "text_handler.h"
#include "ZEL_VR_Framework.h"

#include <cstring>
#include <memory>

#include <gtest/gtest.h>

namespace {

using zel::clTextHandler;
using zel::resultText;

constexpr const char* kMissing = "## text missing ##";

class Texts : public testing::Test {
protected:
    void TearDown() override { ZEL_Unload(); }
};

TEST_F(Texts, AreAllThereAndWhole)
{
    std::size_t characters = 0;
    for (const auto& [code, text] : zel::resultTexts())
        characters += std::strlen(text);
    EXPECT_EQ(zel::resultTexts().size(), 379U);
    EXPECT_EQ(characters, 16003U);
    EXPECT_LE(zel::resultTexts().load_factor(), 1.0F);
}

TEST_F(Texts, BelongToTheirCodes)
{
    EXPECT_STREQ(ZEL_XUTIL_GetText(-1016035), "ERR_SYS_FRAMEWORK_START");
    EXPECT_STREQ(ZEL_XUTIL_GetTextFromModule(1, -1016035), "ERR_SYS_FRAMEWORK_START");
    EXPECT_STREQ(resultText(-1016035), kMissing);

    ZEL_Init();
    const struct {
        std::int32_t code;
        const char* text;
    } cases[] = {
        {-1016035, "SYS: Framework not started"},
        {static_cast<std::int32_t>(0xFFF07F13), "SYS: Bad delivery parameter"},
        {static_cast<std::int32_t>(0xFFF086AD),
         "DAQ: Signal is not available (probably module not connected)"},
        {-1000418, "TRANS: Timeout for transaction response. The device acknowledged the request "
                   "but did not start sending the reponse in time."},
        {-1000000, "Index out of range"},
        {-1515708, "ECAT: Could not set PDO status"},
        {1515701, "ECAT: Maximum number of EtherCAT signals reduced"},
        {1100200, "Back"},
        // trailing blanks and quotes belong to the texts
        {-1017990, "PLL voltage (from MSP) out of range "},
        {-1014102, "DAQ: Signal identifier unknown, "},
        {-1015025, "Error activating time source mode 'auto'"},
        // the same magnitude with both signs
        {-1004118, "PARAM error: Wrong value for address in attribute"},
        {1004118, "PARAM warning: Wrong value for address in attribute"},
        // in the table, but outside the ranges of the library's handler
        {1000, kMissing},
        {0, kMissing},
        {-1, kMissing},
        {-1600000, kMissing},
        {-106000, kMissing},
        {INT32_MIN, kMissing},
        {INT32_MAX, kMissing},
    };
    for (const auto& expected : cases) {
        EXPECT_STREQ(ZEL_XUTIL_GetText(expected.code), expected.text) << expected.code;
        if (std::strcmp(expected.text, kMissing) != 0) {
            EXPECT_STREQ(ZEL_XUTIL_GetTextFromModule(1, expected.code), expected.text);
        }
    }
    EXPECT_STREQ(ZEL_XUTIL_GetTextFromModule(1, -1600000), "")
        << "there is no module to ask, so there is no text";
}

TEST_F(Texts, ComeFromTheFirstHandlerOfTheChainThatKnowsTheCode)
{
    const zel::TextTable first{{5, "five"}, {9, "nine"}, {30, "thirty"}};
    const zel::TextTable second{{9, "other nine"}, {20, "twenty"}, {31, "thirty-one"}};
    auto head = std::make_unique<clTextHandler>(first, zel::CodeRange{5, 9}, zel::CodeRange{5, 9},
                                                zel::CodeRange{30, 30});
    const clTextHandler tail(second, {-3, -1}, {9, 20}, {0, 0});

    EXPECT_STREQ(resultText(5), "five");
    EXPECT_STREQ(resultText(9), "nine");
    EXPECT_STREQ(resultText(20), "twenty");
    EXPECT_STREQ(resultText(30), "thirty");
    EXPECT_STREQ(resultText(31), kMissing) << "in a table, but in no range";
    EXPECT_STREQ(resultText(6), kMissing) << "in a range, but in no table";

    head.reset();
    EXPECT_STREQ(resultText(20), kMissing) << "without its head the chain is empty";
}

} // namespace
