#pragma once

#include "module_address.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>

#include <nlohmann/json_fwd.hpp>

namespace zel::cli {

/// The library, started for as long as this lives.
class StartedLibrary {
public:
    StartedLibrary();

    /// The library's text for a result code; "" when it has none.
    static std::string textOf(std::int32_t code) { return Library::textOf(code); }

private:
    Library m_library;
};

/// Whether a module may have done what it was asked and be gone, or elsewhere, before its answer
/// is.
bool isSilence(std::int32_t code);

/// What was asked, for the message when it fails.
struct Attempt {
    std::string tried;            ///< "read the list of views"
    std::string advice{};         ///< what to do when the module refuses
    Answer answer = Answer::data; ///< what the module sends besides its result
};

/// One module, connected for as long as this lives. The library must be started.
class ModuleConnection {
public:
    explicit ModuleConnection(const ModuleTarget& target);
    explicit ModuleConnection(const Address& address);

    Module& module() const { return *m_module; }
    std::uint64_t uuid() const { return m_module->uuid(); }
    /// Where it was reached, whatever it was called by.
    const std::string& address() const { return m_address; }
    const Address& reached() const { return m_module->address(); }

    /// Calls `call(Module&)` and gives what it returns. Throws CommandFailure where it fails:
    /// "could not <tried> on <address>", with what the library and the module say about it. The
    /// advice holds for a refusal by the module; codes with an advice of their own keep that. A
    /// module's warning is told on standard error, stands in identity(), and the command goes on.
    /// Stops after Ctrl-C.
    template <class Call>
    auto ask(const Attempt& attempt, Call&& call) const -> decltype(call(module()))
    {
        m_module->forgetWarning();
        try {
            if constexpr (std::is_void_v<decltype(call(module()))>) {
                call(*m_module);
                goOn(attempt);
            } else {
                auto result = call(*m_module);
                goOn(attempt);
                return result;
            }
        } catch (const Error& error) {
            giveUp(error, attempt);
        }
    }

    /// The same for the result of a call that has been made, and brought words at most.
    void check(std::int32_t code, const std::string& tried, const std::string& advice = {}) const;

    /// The same without a look at Ctrl-C, for what must not be lost.
    void judge(std::int32_t code, const std::string& tried, const std::string& advice,
               Answer answer) const;

    /// Whether the module warned since the last forgetWarning().
    bool hasWarned() const { return m_warning.has_value(); }
    void forgetWarning() { m_warning.reset(); }

    /// The text for a code, asked from the module when the library has none; "" when neither has.
    std::string textOf(std::int32_t code) const { return m_module->textOf(code); }

    /// What a result for programs begins with: the address, the UUID and the last warning, if any.
    nlohmann::json identity() const;

private:
    void goOn(const Attempt& attempt) const;
    [[noreturn]] void giveUp(const Error& error, const Attempt& attempt) const;
    [[noreturn]] void fail(const Error& error, const Attempt& attempt) const;
    void tellWarning(const std::string& tried) const;
    std::string adviceAbout(std::int32_t code, bool isFromModule) const;

    const std::unique_ptr<Module> m_module;
    const std::string m_address;
    mutable std::optional<Warning> m_warning;
    mutable std::optional<Warning> m_told; // a module that warns again and again is told of once
};

/// What the module calls itself; "" where it does not tell.
std::string moduleName(const ModuleConnection& module);

/// What nearly every command needs: the library and one module.
class ModuleSession : public StartedLibrary, public ModuleConnection {
public:
    explicit ModuleSession(const std::string& address) : ModuleSession(moduleTarget(address)) {}
    explicit ModuleSession(const ModuleTarget& target) : ModuleConnection(target) {}
    using ModuleConnection::textOf;
};

} // namespace zel::cli
