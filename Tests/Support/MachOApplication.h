#pragma once

#include <filesystem>

#include "Support/FrameworkBuilder.h"
#include "Support/SignedBundleBuilder.h"

namespace quillon::testing {

/// An application as developers ship it for macOS, not signed yet: a universal executable, and in the bundle every kind
/// of nested code. All executables are small Mach-O files.
class MachOApplication {
 public:
  /// Makes it at `path`, "…/Example.app".
  explicit MachOApplication(const std::filesystem::path& path);

  [[nodiscard]] const std::filesystem::path& path() const noexcept { return application.path(); }
  [[nodiscard]] std::filesystem::path operator/(std::string_view below) const { return application / below; }

  SignedBundleBuilder application;
  SignedBundleBuilder helper;            ///< Contents/Helpers/Helper.app
  SignedBundleBuilder service;           ///< Contents/XPCServices/Service.xpc
  SignedBundleBuilder plugIn;            ///< Contents/Helpers/Helper.app/Contents/PlugIns/Inner.bundle
  FrameworkBuilder framework;            ///< Contents/Frameworks/Kit.framework, with a tool of its own in Helpers
  std::filesystem::path dynamicLibrary;  ///< Contents/Frameworks/libexample.dylib
  std::filesystem::path tool;            ///< Contents/MacOS/tool
};

}  // namespace quillon::testing
