#include "result_texts.h"
#include "ZEL_VR_Framework.h"

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <map>
#include <string>

#include <gtest/gtest.h>

namespace {

struct Entry {
    std::string hexadecimal;
    std::string name;
    std::string text;
};
using Entries = std::map<std::int32_t, Entry>;

/// What stands between the first and the last of these marks.
std::string between(const std::string& line, char mark)
{
    const auto first = line.find(mark);
    const auto last = line.rfind(mark);
    return first == last ? "" : line.substr(first + 1, last - first - 1);
}

/// A code is a row of a table, or a heading with its text in the next line that is not empty.
Entries readPage()
{
    Entries entries;
    std::ifstream page{ZEL_PROJECT_FOLDER "/docs/results.md"};
    EXPECT_TRUE(page.is_open());
    for (std::string line; std::getline(page, line);) {
        int code = 0;
        char hexadecimal[11] = "";
        if (std::sscanf(line.c_str(), "%*3[#|] %d | %10[0-9A-Fx]", &code, hexadecimal) != 2)
            continue;
        Entry entry{hexadecimal, between(line, '`'), ""};
        if (line.front() == '#') {
            while (std::getline(page, line) && line.empty()) {
            }
        }
        entry.text = between(line, '"');
        EXPECT_TRUE(entries.emplace(code, entry).second) << code << " stands on the page twice";
    }
    return entries;
}

std::map<std::int32_t, std::string> namesInHeader()
{
    std::map<std::int32_t, std::string> names;
    std::ifstream header{ZEL_PROJECT_FOLDER "/include/ZEL_VR_Framework.h"};
    EXPECT_TRUE(header.is_open());
    for (std::string line; std::getline(header, line);) {
        char name[64] = "";
        int code = 0;
        if (line.starts_with("#define ZEL_OK 0"))
            names.emplace(0, "ZEL_OK");
        else if (std::sscanf(line.c_str(), "#define %63[A-Z0-9_] (%d)", name, &code) == 2)
            names.emplace(code, name);
    }
    return names;
}

std::string hexadecimal(std::int32_t code)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(code));
    return text;
}

TEST(ResultsPage, HasEveryCodeWithItsTextAndItsName)
{
    const Entries entries = readPage();
    const auto names = namesInHeader();
    EXPECT_GT(names.size(), 50U);
    for (const auto& [code, text] : zel::resultTexts())
        EXPECT_EQ(entries.count(code), 1U) << code << " \"" << text << "\" is missing";
    for (const auto& [code, name] : names)
        EXPECT_EQ(entries.count(code), 1U) << name << " is missing";
    ZEL_Init();
    for (const auto& [code, entry] : entries) {
        EXPECT_EQ(entry.hexadecimal, hexadecimal(code)) << code;
        EXPECT_EQ(entry.text, ZEL_XUTIL_GetText(code)) << code;
        const auto name = names.find(code);
        EXPECT_EQ(entry.name, name == names.end() ? "" : name->second) << code;
    }
    ZEL_Unload();
}

} // namespace
