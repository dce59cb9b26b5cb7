#pragma once

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <string>

namespace zel {

std::uint32_t processId();

/// The broken-down local time of this moment; safe to ask on any thread.
std::tm localTime();

/// What the process's environment says now, whichever C library the host has changed it with; empty
/// where it says nothing.
std::string environmentText(const char* name);

/// The folder that "USERPROFILE" names; on Linux, where that is not usual, the one of "HOME" in its
/// place. Empty where the environment has neither.
std::filesystem::path userFolder();

} // namespace zel
