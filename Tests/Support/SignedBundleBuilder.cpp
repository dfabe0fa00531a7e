#include "Support/SignedBundleBuilder.h"

#include "Support/SigningIdentityMaker.h"
#include "Support/TemporaryDirectory.h"

namespace quillon::testing {
namespace {

std::string entry(std::string_view key, std::string_view value) {
  return "<key>" + std::string(key) + "</key><string>" + std::string(value) + "</string>\n";
}

}  // namespace

SignedBundleBuilder::SignedBundleBuilder(std::filesystem::path path, std::string_view packageType)
    : path_(std::move(path)) {
  std::string identifier = "com.example.";
  for (const char c : path_.stem().string()) identifier += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  information_ = entry("CFBundleIdentifier", identifier) + entry("CFBundlePackageType", packageType);
  writeInformation();
}

void SignedBundleBuilder::writeInformation() const {
  writeFile(contents() / "Info.plist", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>\n" +
                                           information_ + "</dict></plist>\n");
}

SignedBundleBuilder& SignedBundleBuilder::withScript() {
  return withExecutable("#!/bin/sh\necho hello\n");
}

SignedBundleBuilder& SignedBundleBuilder::withExecutable(std::string_view content) {
  writeFile(executable(), content);
  std::filesystem::permissions(executable(), std::filesystem::perms(0755));
  return withInformation("CFBundleExecutable", path_.stem().string());
}

SignedBundleBuilder& SignedBundleBuilder::withFile(std::string_view path, std::string_view content) {
  writeFile(contents() / path, content);
  return *this;
}

SignedBundleBuilder& SignedBundleBuilder::withLink(std::string_view path, std::string_view target) {
  std::filesystem::create_directories((contents() / path).parent_path());
  std::filesystem::create_symlink(target, contents() / path);
  return *this;
}

SignedBundleBuilder& SignedBundleBuilder::withInformation(std::string_view key, std::string_view value) {
  information_ += entry(key, value);
  writeInformation();
  return *this;
}

SignedBundleBuilder& SignedBundleBuilder::withUsualContents() {
  withScript();
  withFile("Resources/one.txt", "first\n").withFile("Resources/two.txt", "second\n");
  withFile("Resources/de.lproj/Main.strings", "\"a\" = \"b\";\n").withLink("Resources/current.txt", "one.txt");
  return withFile("MacOS/helper", "#!/bin/sh\n");
}

SignedBundleBuilder& SignedBundleBuilder::sign() {
  return sign(sharedSigningOptions());
}

SignedBundleBuilder& SignedBundleBuilder::sign(const SigningOptions& options) {
  signCode(url(), options);
  return *this;
}

SignedBundleBuilder& SignedBundleBuilder::signAdHoc() {
  return sign({.replacesSignature = true});
}

SigningOptions sharedSigningOptions() {
  return {.identity = sharedSigningIdentity().identity(), .replacesSignature = true};
}

}  // namespace quillon::testing
