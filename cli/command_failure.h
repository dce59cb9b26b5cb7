#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>

#include <nlohmann/json_fwd.hpp>

namespace zel::cli {

/// Why a command did not do its work, in the pieces that a message to a person is made of.
struct FailureReport {
    std::string problem{};              ///< "could not read Amplifier/Mode on 192.168.169.20:55000"
    std::optional<std::int32_t> code{}; ///< what the library answered, if it was asked
    std::string codeText{};             ///< the library's text for the code
    std::string moduleText{};           ///< the module's own words; "" when it said nothing
    std::string advice{};               ///< what to do next
    /// What programs get besides, where a part of the work was done; null for nothing.
    std::shared_ptr<const nlohmann::json> result{};
};

class CommandFailure : public std::exception {
public:
    explicit CommandFailure(FailureReport report);

    const char* what() const noexcept override { return m_report.problem.c_str(); }
    const FailureReport& report() const { return m_report; }

    /// Some lines for standard error, each ended, the first beginning with "zel: ".
    std::string message() const;

    nlohmann::json asJson() const;

private:
    FailureReport m_report;
};

/// What helps after this code whatever was tried; "" where only the command can tell.
std::string adviceFor(std::int32_t code);

} // namespace zel::cli
