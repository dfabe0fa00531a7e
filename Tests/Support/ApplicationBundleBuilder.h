#pragma once

#include <filesystem>
#include <string>
#include <vector>

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

/// Adds the launcher service of `binaryFolder` to a bundle, at its place for an application of that identifier. Returns
/// the executable's location.
std::filesystem::path addLauncherService(const std::filesystem::path& bundle, const std::filesystem::path& binaryFolder,
                                         const std::string& identifier = "org.example.App");

/// Copies programs of `binaryFolder` into a bundle, beside its main executable.
void addPrograms(const std::filesystem::path& bundle, const std::filesystem::path& binaryFolder,
                 const std::vector<std::string>& names);

/// The version that makeApplicationBundle left in `bundle`; "none" where there is no bundle, "broken" for half a one.
[[nodiscard]] std::string versionOfApplicationBundle(const std::filesystem::path& bundle);

}  // namespace quillon::testing
