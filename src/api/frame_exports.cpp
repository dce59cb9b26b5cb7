// Start and stop, result texts, last errors, and the exports that do nothing.

#include "call_pattern.h"
#include "last_error_stores.h"
#include "module_texts.h"
#include "text_handler.h"

#include <memory>
#include <string>
#include <string_view>

using namespace zel;

namespace {

constexpr const char* kNotStartedText = "ERR_SYS_FRAMEWORK_START";

/// Reads a last-error store: points the caller at what is stored, or at an empty text.
struct HandOut {
    const char** data;
    std::uint64_t* length;

    void operator()(const std::string* message) const
    {
        *data = message ? message->c_str() : "";
        *length = message ? message->size() : 0;
    }
    void operator()(const std::unique_ptr<clRxTelContainer>* telegram) const
    {
        const Bytes payload = telegram && *telegram ? (*telegram)->payload() : Bytes{};
        *data = payload.empty() ? "" : reinterpret_cast<const char*>(payload.data());
        *length = payload.size();
    }
};

} // namespace

int32_t ZEL_Init()
{
    startLibrary();
    return 1;
}

void ZEL_Unload()
{
    stopLibrary();
}

const char* ZEL_XUTIL_GetText(int32_t code)
{
    return manager() ? resultText(code) : kNotStartedText;
}

const char* ZEL_XUTIL_GetTextFromModule(uint64_t uuid, int32_t code)
{
    const char* text = kNotStartedText;
    const std::int32_t result = forward({}, [&](clSystemMgr& mgr) {
        text = resultText(code);
        if (text == std::string_view(kTextMissing))
            text = textFromModule(mgr.module(uuid), code);
        return ZEL_OK;
    });
    return result == ZEL_SYS_NO_OBJECT ? "" : text;
}

int32_t ZEL_XPAR_GetLastErrMsg(const char** text, uint64_t* length)
{
    return forward({text, length}, [&](clSystemMgr&) {
        messageStore().readLast(HandOut{text, length});
        return ZEL_OK;
    });
}

int32_t ZEL_XPAR_GetLastErrMsgByUuid(uint64_t uuid, const char** text, uint64_t* length)
{
    return forward({text, length}, [&](clSystemMgr&) {
        messageStore().read(uuid, HandOut{text, length});
        return ZEL_OK;
    });
}

int32_t ZEL_XCOM_GetSyncReqrSrvLastErrDat(const char** data, uint64_t* length)
{
    return checked({data, length}, [&] {
        dataStore().readLast(HandOut{data, length});
        return ZEL_OK;
    });
}

int32_t ZEL_XCOM_GetSyncReqrSrvLastErrDatByUuid(uint64_t uuid, const char** data, uint64_t* length)
{
    return checked({data, length}, [&] {
        dataStore().read(uuid, HandOut{data, length});
        return ZEL_OK;
    });
}

int32_t ZEL_XUTIL_SetWorkDir(const char*)
{
    return ZEL_OK;
}

void ZEL_XCOM_DisableZELDevice() {}
