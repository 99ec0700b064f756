#pragma once

#include <array>
#include <string>
#include <string_view>

/// The name, version and legal texts of the program.
namespace kestrane::application {

inline constexpr std::string_view kTitle = "Kestrane V2";
inline constexpr int kMajor = 5;
inline constexpr int kMinor = 50;
inline constexpr int kRevision = 3;
inline constexpr std::string_view kDriverVersion = "5.50.03";
/// Company name, file description and legal texts; empty ones are left out where they are shown.
inline constexpr std::array<std::string_view, 3> kLegalTexts{"", "Kestrane V2 telescope-mount driver", ""};

/// Version, title and, on a line each, the legal texts.
std::string DriverInfoText();

}  // namespace kestrane::application
