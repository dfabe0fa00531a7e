#include "Support/FrameworkBuilder.h"

#include "Support/TemporaryDirectory.h"

namespace quillon::testing {

FrameworkBuilder::FrameworkBuilder(std::filesystem::path path, std::string_view code) : path_(std::move(path)) {
  withVersion("A", code);
  std::filesystem::create_symlink("A", path_ / "Versions/Current");
  const std::filesystem::path name = path_.stem();
  std::filesystem::create_symlink("Versions/Current" / name, path_ / name);
  std::filesystem::create_symlink("Versions/Current/Resources", path_ / "Resources");
}

FrameworkBuilder& FrameworkBuilder::withVersion(std::string_view version, std::string_view code) {
  const std::string name = path_.stem().string();
  const std::string folder = "Versions/" + std::string(version) + "/";
  withFile(folder + name, code);
  return withFile(folder + "Resources/Info.plist",
                  "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>\n"
                  "<key>CFBundleExecutable</key><string>" + name + "</string>\n"
                  "<key>CFBundleIdentifier</key><string>com.example.framework." + name + "</string>\n"
                  "<key>CFBundlePackageType</key><string>FMWK</string>\n</dict></plist>\n");
}

FrameworkBuilder& FrameworkBuilder::withFile(std::string_view path, std::string_view content) {
  writeFile(path_ / path, content);
  return *this;
}

}  // namespace quillon::testing
