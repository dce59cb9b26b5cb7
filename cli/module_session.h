#pragma once

#include "module_address.h"

#include <cstdint>
#include <optional>
#include <string>

#include <nlohmann/json_fwd.hpp>

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

/// What a module said itself about the last request that it refused or warned of.
std::string lastModuleText(std::uint64_t uuid);

/// Whether a module may have done what it was asked and be gone, or elsewhere, before its answer
/// is.
bool isSilence(std::int32_t code);

/// What a module sends with its answer besides the code.
enum class Answer : std::uint8_t {
    words, ///< an explanation, if anything
    data   ///< what was asked for; an explanation only where there is a failure
};

/// One module, connected for as long as this lives. The library must be started.
class ModuleConnection {
public:
    explicit ModuleConnection(const ModuleTarget& target);
    explicit ModuleConnection(const ModuleAddress& address)
        : ModuleConnection(ModuleTarget{address.text(), address, false})
    {
    }
    ~ModuleConnection();
    ModuleConnection(const ModuleConnection&) = delete;
    ModuleConnection& operator=(const ModuleConnection&) = delete;

    std::uint64_t uuid() const { return m_uuid; }
    /// Where it was reached, whatever it was called by.
    const std::string& address() const { return m_address; }
    const ModuleAddress& reached() const { return m_reached; }

    /// Throws CommandFailure for a negative code: "could not <tried> on <address>", with what the
    /// library and the module say about it. The advice holds for a refusal by the module; codes
    /// with an advice of their own keep that. A positive code is a module's warning: it is told on
    /// standard error, stands in identity(), and the command goes on. Stops after Ctrl-C.
    void check(std::int32_t code, const std::string& tried, const std::string& advice = {}) const;

    /// The same for a call that brought data.
    void checkReading(std::int32_t code, const std::string& tried,
                      const std::string& advice = {}) const;

    /// The same without a look at Ctrl-C, for what must not be lost.
    void judge(std::int32_t code, const std::string& tried, const std::string& advice,
               Answer answer) const;

    /// Whether the module warned since the last forgetWarning().
    bool hasWarned() const { return m_warning.has_value(); }
    void forgetWarning() { m_warning.reset(); }

    /// The text for a code, asked from the module when the library has none; "" when neither has.
    std::string textOf(std::int32_t code) const;

    /// What a result for programs begins with: the address, the UUID and the last warning, if any.
    nlohmann::json identity() const;

private:
    struct Warning {
        std::int32_t code = 0;
        std::string codeText;
        std::string moduleText;
    };

    void warn(std::int32_t code, const std::string& tried, const std::string& moduleText) const;
    std::string adviceAbout(std::int32_t code, bool isFromModule) const;

    std::int32_t connect(const ModuleAddress& address);

    ModuleAddress m_reached; // fixed at construction, as its text is
    std::string m_address;
    std::uint64_t m_uuid = 0;
    mutable std::optional<Warning> m_warning;
    mutable std::optional<Warning> m_told; // a module that warns again and again is told of once
};

/// What nearly every command needs: the library and one module.
class ModuleSession : public StartedLibrary, public ModuleConnection {
public:
    explicit ModuleSession(const std::string& address) : ModuleSession(ModuleTarget::parse(address))
    {
    }
    explicit ModuleSession(const ModuleTarget& target) : ModuleConnection(target) {}
    using ModuleConnection::textOf;
};

} // namespace zel::cli
