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

const char* textFromModule(const RemoteModule& module, std::int32_t code)
{
    std::string& shared = sharedText();
    shared.clear();
    clResponseDocument document;
    std::string text;
    const std::int32_t result = sendForDocument(
        module, wire::SystemMethod::getText,
        clRequestDocument().addVerbatim("TextHandle", std::to_string(code)).take(), document);
    if (!hasFailed(result) && document.requireText("Text", text) == ZEL_OK)
        shared = std::move(text);
    return shared.c_str();
}

void dropTextFromModule()
{
    std::string{}.swap(sharedText());
}

} // namespace zel
