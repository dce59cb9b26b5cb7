#pragma once

#include "pugi_xml_composer.h"

#include <iosfwd>

namespace zel {

/// Builds a document that is later written to a stream.
class PugiXmlStreamComposer : public PugiXmlComposer {
public:
    /// The stream stays the caller's and must outlive the composer.
    explicit PugiXmlStreamComposer(std::ostream& stream) : m_stream(stream) {}

    std::int32_t writeRaw(const void* data, std::size_t size) override;

    /// Writes the document. ZEL_FILE_WRITE when the stream does not take it.
    std::int32_t save();

private:
    std::int32_t streamResult() const;

    std::ostream& m_stream;
};

} // namespace zel
