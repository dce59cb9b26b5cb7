// XML answers of a module through the parser and everything that reads them.

#include "parameter_documents.h"
#include "response_document.h"
#include "ZEL_VR_Framework.h"

#include <array>
#include <cstdlib>
#include <string>

namespace {

constexpr std::size_t kCapacity = 16;

void require(bool holds)
{
    if (!holds)
        std::abort();
}

void readTeds(zel::Bytes payload)
{
    std::array<char, kCapacity> data{};
    zel::parameters::TedsAnswer answer;
    const std::int32_t result = answer.readData(payload, data.data(), data.size());
    require(result <= ZEL_OK);
    require(result != ZEL_OK || answer.size <= kCapacity);
    require(result != ZEL_SRV_BUFFER_TOO_SMALL || answer.size > kCapacity);
    if (result == ZEL_OK) {
        zel::parameters::TedsAnswer again;
        require(again.readIdentifier(payload) == ZEL_OK && again.identifier == answer.identifier);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const zel::Bytes payload = zel::asBytes(data, size);
    zel::clResponseDocument document;
    std::string text;
    if (document.parse(payload) == ZEL_OK && document.requireText("Text", text) == ZEL_OK)
        require(text.size() <= 4 * size);
    readTeds(payload);
    require(zel::parameters::countConnectors(payload) >= 0);
    require(zel::parameters::maxOccurs(payload) >= 0);
    return 0;
}
