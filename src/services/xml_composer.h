#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace zel {

/// Builds one document element by element. It keeps a current element, at the start the document
/// itself; what is added goes to it.
///
/// All operations return 0 or a result code; one that fails adds nothing. The order of the
/// declarations is the order of the virtual table: do not change it.
class XmlComposer {
public:
    XmlComposer() = default;
    XmlComposer(const XmlComposer&) = delete;
    XmlComposer& operator=(const XmlComposer&) = delete;

    /// Adds a child and makes it current. ZEL_XML_TAG_NOT_DEFINED without a name.
    virtual std::int32_t openElement(const char* name) = 0;
    /// Makes the current element's parent current; ZEL_FAILED where there is none.
    virtual std::int32_t closeElement() = 0;
    /// Clears the whole document.
    virtual std::int32_t reset() = 0;

    virtual std::int32_t addText(const std::string& text) = 0;
    /// Fixed-point with 9 decimals.
    virtual std::int32_t addText(double value) = 0;
    virtual std::int32_t addText(std::uint64_t value) = 0;
    virtual std::int32_t addText(std::uint32_t value) = 0;
    virtual std::int32_t addText(std::int32_t value) = 0;
    /// Null adds nothing and is no failure.
    virtual std::int32_t addText(const char* text) = 0;

    virtual std::int32_t addAttribute(const char* name, const std::string& value) = 0;
    virtual std::int32_t addAttribute(const char* name, std::uint64_t value) = 0;
    virtual std::int32_t addAttribute(const char* name, std::uint32_t value) = 0;
    virtual std::int32_t addAttribute(const char* name, std::int32_t value) = 0;
    /// Written as a parameter value is.
    virtual std::int32_t addAttribute(const char* name, double value) = 0;
    /// ZEL_FAILED for a null name or value.
    virtual std::int32_t addAttribute(const char* name, const char* value) = 0;

    /// Adds a child that holds one text and leaves the current element as it is.
    /// ZEL_XML_TAG_NOT_DEFINED without a name, ZEL_FAILED for a null value.
    virtual std::int32_t addElement(const char* name, std::uint32_t value) = 0;
    virtual std::int32_t addElement(const char* name, std::int32_t value) = 0;
    virtual std::int32_t addElement(const char* name, const std::string& value) = 0;
    virtual std::int32_t addElement(const char* name, const char* value) = 0;

    virtual std::int32_t addComment(const std::string& text) = 0;
    /// Writes past the document, straight to where it will be saved.
    virtual std::int32_t writeRaw(const void* data, std::size_t size) = 0;

    // Stands last: a destructor takes places in the virtual table too.
    virtual ~XmlComposer() = default;
};

} // namespace zel
