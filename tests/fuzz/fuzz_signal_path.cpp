// Any text as a signal path or reference; what is understood is composed and understood again.

#include "signal_path.h"
#include "ZEL_VR_Framework.h"

#include <cstdlib>
#include <string>

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace zel;
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::uint32_t connector = 0;
    std::uint32_t channel = 0;
    std::uint32_t signal = 0;
    std::uint32_t type = 0;
    const std::int32_t result =
        ZEL_XUTIL_ParseSignalPath(text.c_str(), 0, &connector, &channel, &signal, &type);
    require(result == ZEL_OK || (connector | channel | signal | type) == 0);
    if (result == ZEL_OK) {
        const auto again = signals::parseSignalPath(signals::signalPath(
            {connector - 1, channel - 1, signal - 1, type}, signals::PathForm::address));
        require(again && again->connector == connector && again->type == type);
    }
    const auto numbers = signals::numbersOf(text, ZEL_CONNECTOR_CAN);
    require(numbers.has_value() == !signals::pathOf(text).empty());
    require(!numbers || signals::kindOf(text) != signals::ReferenceKind::other);
    return 0;
}
