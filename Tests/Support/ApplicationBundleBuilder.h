#pragma once

#include <filesystem>
#include <string>

namespace quillon::testing {

/// What a small application bundle says of itself.
struct ApplicationBundleDescription {
  std::string identifier = "org.example.App";
  std::string version = "1.0";
  std::string build = "1";
  std::string minimumSystemVersion = {};
  std::string executable = "Example";
};

/// Makes an unsigned application bundle at `bundle`: Info.plist, a shell script as main executable, a resource and a
/// symbolic link. Its resource "version.txt" holds the version.
void makeApplicationBundle(const std::filesystem::path& bundle, const ApplicationBundleDescription& description = {});

/// The version that makeApplicationBundle left in `bundle`; "none" where there is no bundle, "broken" for half a one.
[[nodiscard]] std::string versionOfApplicationBundle(const std::filesystem::path& bundle);

}  // namespace quillon::testing
