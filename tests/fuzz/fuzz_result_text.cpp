// Any result code has a text, started or not.

#include "text_handler.h"
#include "ZEL_VR_Framework.h"

#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool isStarted = ZEL_Init() == 1;
    if (!isStarted)
        std::abort();
    for (; size >= sizeof(std::int32_t);
         data += sizeof(std::int32_t), size -= sizeof(std::int32_t)) {
        std::int32_t code = 0;
        std::memcpy(&code, data, sizeof code);
        const char* const text = ZEL_XUTIL_GetText(code);
        if (text == nullptr || *text == '\0' || std::strcmp(text, zel::resultText(code)) != 0)
            std::abort();
    }
    return 0;
}
