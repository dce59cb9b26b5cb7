#include "trace_script.h"

#include "host_facts.h"
#include "trace_names.h"

#include <string>

namespace zel {

namespace {

std::string argumentList(std::span<const TraceValue> arguments)
{
    std::string list;
    int buffers = 0;
    for (const TraceValue& argument : arguments) {
        if (!list.empty())
            list += ", ";
        if (!argument.isBuffer())
            list += argument.text();
        else if (++buffers <= 2)
            list += buffers == 1 ? "buf" : "buf2";
        else
            list += "core.buffer(5000000)";
    }
    return list;
}

} // namespace

clTraceScript::clTraceScript(const std::filesystem::path& folder) : m_file(folder, ".lua")
{
    m_file.writeLine("-- process id=" + std::to_string(processId()));
    for (const char* const line :
         {"local corvanta = require('corvanta')", "corvanta.trace(corvanta.core)",
          "local core = corvanta.core", "local msleep = core.sys.msleep",
          "local buf = core.buffer(5000000)", "local buf2 = core.buffer(5000000)"})
        m_file.writeLine(line);
}

bool clTraceScript::writeCall(std::string_view exportName, std::span<const TraceValue> arguments)
{
    const std::string name = traceName(exportName);
    if (name.empty())
        return false;
    const std::string call = name + "(" + argumentList(arguments) + ")";
    const bool isAssigned = name.find('=') != std::string::npos;
    m_file.writeLine(isAssigned ? call : "result = {" + call + "}");
    return true;
}

void clTraceScript::writeResult(std::int32_t code)
{
    m_file.writeLine("-- result[1] = " + std::to_string(code));
}

void clTraceScript::writeWait(std::uint32_t milliseconds)
{
    m_file.writeLine("msleep(" + std::to_string(milliseconds) + ")");
}

} // namespace zel
