#include "module_texts.h"

#include "process_wide.h"
#include "request_document.h"
#include "response_document.h"
#include "service_call.h"

#include <string>

namespace zel {

namespace {

std::string& sharedText()
{
    static ProcessWide<std::string> text;
    return *text;
}

} // namespace

const char* textFromModule(const RequestPath& requests, std::uint64_t uuid, std::int32_t code)
{
    std::string& shared = sharedText();
    shared.clear();
    const Response response =
        sendForResponse(requests, {uuid, wire::SystemMethod::getText},
                        clRequestDocument().addVerbatim("TextHandle", std::to_string(code)).take());
    clResponseDocument document;
    std::string text;
    if (!hasFailed(response.result) && document.parse(response.payload()) == ZEL_OK &&
        document.requireText("Text", text) == ZEL_OK)
        shared = std::move(text);
    return shared.c_str();
}

void dropTextFromModule()
{
    std::string{}.swap(sharedText());
}

} // namespace zel
