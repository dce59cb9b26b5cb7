#pragma once

#include "byte_cursor.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace zel {

inline constexpr std::string_view kXmlDeclaration = R"(<?xml version="1.0" encoding="UTF-8"?>)";

/// Composes the text of a request, root "SrvParams", by appending: one line without white space
/// between the elements, which stand in the order of the calls.
class clRequestDocument {
public:
    clRequestDocument();

    clRequestDocument& addNumber(std::string_view name, std::uint64_t value);
    /// "1" or "0".
    clRequestDocument& addFlag(std::string_view name, bool value);
    clRequestDocument& addDouble(std::string_view name, double value);
    /// Text that may hold anything: its markup characters become entities.
    clRequestDocument& addText(std::string_view name, std::string_view text);
    /// Text that goes out as it is: control names, which are words of capital letters.
    clRequestDocument& addVerbatim(std::string_view name, std::string_view text);
    /// Two capital hexadecimal digits for each byte.
    clRequestDocument& addHexadecimal(std::string_view name, Bytes data);

    /// Closes the document and hands it over; the object is done with.
    std::string take();

private:
    void open(std::string_view name);
    clRequestDocument& close(std::string_view name);

    std::string m_text;
};

} // namespace zel
