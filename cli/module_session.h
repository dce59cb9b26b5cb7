#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "module_address.h"

namespace zel::cli {

/// The library, started for as long as this lives.
class StartedLibrary {
public:
    StartedLibrary();
    ~StartedLibrary();
    StartedLibrary(const StartedLibrary&) = delete;
    StartedLibrary& operator=(const StartedLibrary&) = delete;

    /// The library's text for a result code; "" when it has none.
    static std::string textOf(std::int32_t code);
};

/// One module, connected for as long as this lives. The library must be started.
class ModuleConnection {
public:
    explicit ModuleConnection(const ModuleAddress& address);
    ~ModuleConnection();
    ModuleConnection(const ModuleConnection&) = delete;
    ModuleConnection& operator=(const ModuleConnection&) = delete;

    std::uint64_t uuid() const { return m_uuid; }
    const std::string& address() const { return m_address; }

    /// Throws CommandFailure for a negative code: "could not <tried> on <address>", with what the
    /// library and the module say about it. The advice holds for a refusal by the module; codes
    /// with an advice of their own keep that. A positive code is a module's warning: it is told on
    /// standard error and the command goes on.
    void check(std::int32_t code, const std::string& tried, const std::string& advice = {}) const;

    /// The text for a code, asked from the module when the library has none; "" when neither has.
    std::string textOf(std::int32_t code) const;

    /// What a result for programs begins with: the address and the UUID.
    nlohmann::json identity() const;

private:
    void warn(std::int32_t code, const std::string& tried) const;
    std::string lastModuleText() const;

    std::int32_t connect(const ModuleAddress& address);

    std::string m_address; // fixed at construction
    std::uint64_t m_uuid = 0;
};

/// What nearly every command needs: the library and one module.
class ModuleSession : public StartedLibrary, public ModuleConnection {
public:
    explicit ModuleSession(const std::string& address)
        : ModuleSession(ModuleAddress::parse(address))
    {
    }
    explicit ModuleSession(const ModuleAddress& address) : ModuleConnection(address) {}
    using ModuleConnection::textOf;
};

} // namespace zel::cli
