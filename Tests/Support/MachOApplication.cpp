#include "Support/MachOApplication.h"

#include "Support/MachOBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace quillon::testing {
namespace {

std::string universalCode(MachOFileType type, std::size_t pages) {
  const auto image = [type, pages](const MachOArchitecture& architecture) {
    return MachOBuilder(architecture).withFileType(type).withPages(pages).build();
  };
  return buildUniversalFile({image(kX86_64), image(kARM64)}, 14);
}

void addExecutable(SignedBundleBuilder& bundle, MachOFileType type = MachOFileType::executable) {
  const std::string name = bundle.path().stem().string();
  bundle.withFile("MacOS/" + name, universalCode(type, 3)).withInformation("CFBundleExecutable", name);
  std::filesystem::permissions(bundle / ("MacOS/" + name), std::filesystem::perms(0755));
}

}  // namespace

MachOApplication::MachOApplication(const std::filesystem::path& path)
    : application(path),
      helper(application / "Helpers/Helper.app"),
      service(application / "XPCServices/Service.xpc", "XPC!"),
      plugIn(helper / "PlugIns/Inner.bundle", "BNDL"),
      framework(application / "Frameworks/Kit.framework", universalCode(MachOFileType::dynamicLibrary, 2)),
      dynamicLibrary(application / "Frameworks/libexample.dylib"),
      tool(application / "MacOS/tool") {
  addExecutable(application);
  addExecutable(helper);
  addExecutable(service);
  addExecutable(plugIn, MachOFileType::bundle);
  writeFile(dynamicLibrary, universalCode(MachOFileType::dynamicLibrary, 2));
  writeFile(tool, MachOBuilder(kARM64).build());
  application.withFile("MacOS/script", "#!/bin/sh\n");
  application.withFile("Resources/one.txt", "first\n").withFile("Resources/de.lproj/Main.strings", "\"a\" = \"b\";\n");
  application.withLink("Resources/current.txt", "one.txt");
  framework.withFile("Versions/A/Resources/style.css", "p {}\n");
  framework.withFile("Versions/A/Helpers/tool", MachOBuilder(kX86_64).build());
  std::filesystem::create_symlink("Versions/Current/Helpers", framework / "Helpers");
}

}  // namespace quillon::testing
