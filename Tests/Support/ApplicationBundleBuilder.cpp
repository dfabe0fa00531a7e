#include "Support/ApplicationBundleBuilder.h"

#include <system_error>

#include "Support/TemporaryDirectory.h"

namespace quillon::testing {
namespace {

namespace fs = std::filesystem;

std::string entry(const std::string& key, const std::string& value) {
  return value.empty() ? std::string() : "<key>" + key + "</key><string>" + value + "</string>\n";
}

}  // namespace

void makeApplicationBundle(const fs::path& bundle, const ApplicationBundleDescription& description) {
  const fs::path contents = bundle / "Contents";
  writeFile(contents / "Info.plist",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>\n" +
                entry("CFBundlePackageType", "APPL") + entry("CFBundleIdentifier", description.identifier) +
                entry("CFBundleShortVersionString", description.version) + entry("CFBundleVersion", description.build) +
                entry("CFBundleExecutable", description.executable) +
                entry("LSMinimumSystemVersion", description.minimumSystemVersion) + "</dict></plist>\n");
  const fs::path executable = contents / "MacOS" / description.executable;
  writeFile(executable, "#!/bin/sh\nexit 0\n");
  fs::permissions(executable, fs::perms(0755));
  writeFile(contents / "Resources" / "version.txt", description.version);
  fs::create_symlink("version.txt", contents / "Resources" / "link");
}

fs::path addLauncherService(const fs::path& bundle, const fs::path& binaryFolder, const std::string& identifier) {
  const std::string name = identifier + ".Quillon.UpdateInstallerLauncherService";
  const fs::path contents = bundle / "Contents/XPCServices" / (name + ".xpc") / "Contents";
  writeFile(contents / "Info.plist", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>\n" +
                                         entry("CFBundlePackageType", "XPC!") + entry("CFBundleIdentifier", name) +
                                         entry("CFBundleExecutable", "QuillonUpdateInstallerLauncherService") +
                                         "</dict></plist>\n");
  fs::create_directories(contents / "MacOS");
  fs::path executable = contents / "MacOS/QuillonUpdateInstallerLauncherService";
  fs::copy_file(binaryFolder / executable.filename(), executable);
  return executable;
}

void addPrograms(const fs::path& bundle, const fs::path& binaryFolder, const std::vector<std::string>& names) {
  for (const std::string& name : names) fs::copy_file(binaryFolder / name, bundle / "Contents/MacOS" / name);
}

std::string versionOfApplicationBundle(const fs::path& bundle) {
  std::error_code error;
  if (!fs::exists(fs::symlink_status(bundle, error))) return "none";
  for (const char* part : {"Contents/Info.plist", "Contents/MacOS", "Contents/Resources/version.txt"}) {
    if (!fs::exists(bundle / part, error)) return "broken";
  }
  if (!fs::is_symlink(bundle / "Contents/Resources/link", error)) return "broken";
  return readFile(bundle / "Contents/Resources/version.txt");
}

}  // namespace quillon::testing
