#pragma once

#include <filesystem>
#include <string>

namespace quillon::testing {

/// A version of an application that updates itself.
struct HostApplicationDescription {
  std::string identifier = "org.example.App";
  std::string version = "1.0";
  std::string build = "1";
  /// Shell commands that its executable runs.
  std::string script = "exit 0";
  /// The program that is its executable, stripped, instead of those; empty: there is none.
  std::filesystem::path program = {};
};

/// Makes what a host ships: a signed bundle with the installer command and the launcher service at their places, taken
/// from `commands` and stripped, and with a German text for the authorization prompt. Its team is that of
/// `sharedSigningIdentity`, whose root has to be vouched for where the team is asked for. versionOfApplicationBundle
/// reads it.
void makeHostApplication(const std::filesystem::path& bundle, const HostApplicationDescription& description,
                         const std::filesystem::path& commands);

}  // namespace quillon::testing
