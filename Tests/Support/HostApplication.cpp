#include "Support/HostApplication.h"

#include <stdexcept>

#include "CodeSignature/CodeSigner.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/SignedBundleBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace quillon::testing {
namespace {

namespace fs = std::filesystem;

constexpr const char* kInstaller = "QuillonUpdateInstaller";
constexpr const char* kService = "QuillonUpdateInstallerLauncherService";

/// Debug information is most of a program, and all of it is sealed, copied and verified.
void copyStripped(const fs::path& program, const fs::path& destination) {
  fs::create_directories(destination.parent_path());
  const QuillonProcessResult result =
      QuillonPosixProcessRunner().run("/usr/bin/strip", {"-o", destination.string(), program.string()});
  if (result.status != 0) throw std::runtime_error("Cannot strip " + program.string() + ": " + result.output);
}

void addService(const fs::path& bundle, const std::string& hostIdentifier, const fs::path& commands) {
  const std::string identifier = hostIdentifier + ".Quillon.UpdateInstallerLauncherService";
  const fs::path service = bundle / "Contents/XPCServices" / (identifier + ".xpc");
  writeFile(service / "Contents/Info.plist",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
            "<key>CFBundlePackageType</key><string>XPC!</string><key>CFBundleIdentifier</key><string>" +
                identifier + "</string><key>CFBundleExecutable</key><string>" + kService +
                "</string></dict></plist>\n");
  copyStripped(commands / kService, service / "Contents/MacOS" / kService);
}

}  // namespace

void makeHostApplication(const fs::path& bundle, const HostApplicationDescription& description,
                         const fs::path& commands) {
  makeApplicationBundle(
      bundle, {.identifier = description.identifier, .version = description.version, .build = description.build});
  const fs::path executable = bundle / "Contents/MacOS/Example";
  writeFile(executable, "#!/bin/sh\n" + description.script + "\n");
  if (!description.program.empty()) copyStripped(description.program, executable);
  writeFile(
      bundle / "Contents/Resources/de.lproj/Localizable.strings",
      "\"%@ needs permission to update the installed app.\" = \"%@ darf die App nur mit Erlaubnis ersetzen.\";\n");
  copyStripped(commands / kInstaller, bundle / "Contents/MacOS" / kInstaller);
  addService(bundle, description.identifier, commands);
  SigningOptions options = sharedSigningOptions();
  options.signsNestedCode = true;
  signCode(QuillonURL::fileURL(bundle.string()), options);
}

}  // namespace quillon::testing
