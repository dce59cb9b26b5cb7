#include "call_pattern.h"
#include "number_format.h"
#include "parameters.h"

#include <string>

using namespace zel;
using wire::ParameterMethod;

int32_t ZEL_XPAR_ReadPar(uint64_t uuid, uint32_t view, const char* path, const char* name,
                         char* buffer, uint64_t* length, uint64_t capacity)
{
    return forward({path, name, buffer, length}, [&](clSystemMgr& mgr) {
        return parameters::read(mgr.module(uuid), view, path, name, {buffer, length, capacity});
    });
}

// The one export that looks at its pointers before it asks whether the library is started.
int32_t ZEL_XPAR_ReadDoublePar(uint64_t uuid, uint32_t view, const char* path, const char* name,
                               double* value)
{
    return checked({path, name, value}, [&] {
        return forward({}, [&](clSystemMgr& mgr) {
            return parameters::readDouble(mgr.module(uuid), view, path, name, *value);
        });
    });
}

int32_t ZEL_XPAR_WriteDoublePar(uint64_t uuid, uint32_t view, const char* path, const char* name,
                                double value)
{
    return forward({path, name}, [&](clSystemMgr& mgr) {
        return parameters::write(mgr.module(uuid), view, path, name, formatParameterDouble(value));
    });
}

int32_t ZEL_XPAR_WriteIntPar(uint64_t uuid, uint32_t view, const char* path, const char* name,
                             int32_t value)
{
    return forward({path, name}, [&](clSystemMgr& mgr) {
        return parameters::write(mgr.module(uuid), view, path, name, std::to_string(value));
    });
}

int32_t ZEL_XPAR_WriteStringPar(uint64_t uuid, uint32_t view, const char* path, const char* name,
                                const char* value)
{
    return forward({path, name, value}, [&](clSystemMgr& mgr) {
        return parameters::write(mgr.module(uuid), view, path, name, value);
    });
}

int32_t ZEL_XPAR_ReadXML(uint64_t uuid, uint32_t view, int32_t currentChoicesOnly, char* buffer,
                         uint64_t* length, uint64_t capacity)
{
    return forward({buffer, length}, [&](clSystemMgr& mgr) {
        return parameters::readDocument(mgr.module(uuid), view, isTrue(currentChoicesOnly),
                                        {buffer, length, capacity});
    });
}

int32_t ZEL_XPAR_ReadXMLSect(uint64_t uuid, uint32_t view, int32_t currentChoicesOnly,
                             const char* path, char* buffer, uint64_t* length, uint64_t capacity)
{
    return forward({path, buffer, length, orNull(capacity)}, [&](clSystemMgr& mgr) {
        return parameters::readSection(mgr.module(uuid), view, isTrue(currentChoicesOnly), path,
                                       {buffer, length, capacity});
    });
}

int32_t ZEL_XPAR_WriteXML(uint64_t uuid, uint32_t view, const char* document, uint64_t length)
{
    return forward({document}, [&](clSystemMgr& mgr) {
        return parameters::writeDocument(mgr.module(uuid), view, {document, length});
    });
}

int32_t ZEL_XPAR_WriteXMLSect(uint64_t uuid, uint32_t view, const char* path, const char* section,
                              uint64_t length)
{
    return forward({path, section}, [&](clSystemMgr& mgr) {
        return parameters::writeSection(mgr.module(uuid), view, path, {section, length});
    });
}

int32_t ZEL_XPAR_ReadXSD(uint64_t uuid, uint32_t view, char* buffer, uint64_t* length,
                         uint64_t capacity)
{
    return forward({buffer, length}, [&](clSystemMgr& mgr) {
        return parameters::readSchema(mgr.module(uuid), view, {buffer, length, capacity});
    });
}

int32_t ZEL_XPAR_ReadXSDSect(uint64_t uuid, uint32_t view, const char* path, char* buffer,
                             uint64_t* length, uint64_t capacity)
{
    return forward({path, buffer, length}, [&](clSystemMgr& mgr) {
        return parameters::readSectionSchema(mgr.module(uuid), view, path,
                                             {buffer, length, capacity});
    });
}

int32_t ZEL_XPAR_ReadXSLT(uint64_t uuid, uint32_t view, char* buffer, uint64_t* length,
                          uint64_t capacity)
{
    return forward({buffer, length}, [&](clSystemMgr& mgr) {
        return parameters::readStyleSheet(mgr.module(uuid), view, {buffer, length, capacity});
    });
}

int32_t ZEL_XPAR_ActivateDefaultSetting(uint64_t uuid, uint32_t view, const char* xpath)
{
    return forward({xpath}, [&](clSystemMgr& mgr) {
        return parameters::activateDefault(mgr.module(uuid), view, xpath);
    });
}

int32_t ZEL_XPAR_ActivateAllDefaultSettings(uint64_t uuid)
{
    return forward(
        {}, [&](clSystemMgr& mgr) { return parameters::activateAllDefaults(mgr.module(uuid)); });
}

int32_t ZEL_XPAR_GetParViews(uint64_t uuid, const char* fileName)
{
    return forward({fileName}, [&](clSystemMgr& mgr) {
        return sendForFile(mgr.module(uuid), ParameterMethod::getViews, {}, fileName);
    });
}

int32_t ZEL_XPAR_GetParViewsString(uint64_t uuid, char* buffer, uint64_t* length, uint64_t capacity)
{
    return forward({buffer, length}, [&](clSystemMgr& mgr) {
        return sendForText(mgr.module(uuid), ParameterMethod::getViews, {},
                           {buffer, length, capacity});
    });
}

int32_t ZEL_XPAR_GetMaxCount(uint64_t uuid, uint32_t view, const char* path, const char* name)
{
    return forward({path, name}, [&](clSystemMgr& mgr) {
        return parameters::maxCount(mgr.module(uuid), view, path, name);
    });
}

int32_t ZEL_XPAR_ReadTedsBinary(uint64_t uuid, uint32_t channel, char* tid, void* data,
                                uint64_t* length, uint64_t capacity)
{
    return forward({tid, data, length}, [&](clSystemMgr& mgr) {
        return parameters::readTeds(mgr.module(uuid), channel, tid,
                                    {static_cast<char*>(data), length, capacity});
    });
}

int32_t ZEL_XPAR_WriteTedsBinary(uint64_t uuid, uint32_t channel, char* tid, const void* data,
                                 uint64_t length)
{
    return forward({tid}, [&](clSystemMgr& mgr) {
        return parameters::writeTeds(mgr.module(uuid), channel, tid, data, length);
    });
}
