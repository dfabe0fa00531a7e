#include "HostInformation.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string_view>

#include "QuillonCore/Runtime/QuillonBundleInformation.h"
#include "QuillonCore/Text/QuillonPathComponent.h"

namespace sample {
namespace {

using quillon::QuillonURL;

/// X.app for a program at X.app/Contents/MacOS/Program. On macOS, ask NSBundle for the main bundle instead.
QuillonURL runningBundle() {
  const std::filesystem::path program = std::filesystem::canonical("/proc/self/exe");
  return QuillonURL::fileURL(program.parent_path().parent_path().parent_path().string());
}

}  // namespace

HostInformation HostInformation::ofRunningApplication(const quillon::QuillonFileManaging& files) {
  const QuillonURL bundle = runningBundle();
  const auto text = [&](std::string_view key) { return quillon::bundleInformationText(files, bundle, key); };
  const auto identifier = text("CFBundleIdentifier");
  const auto feed = QuillonURL::parse(text("QuillonUpdateFeedURL").value_or(""));
  if (!identifier || !feed) throw std::runtime_error("No application that updates itself: " + bundle.path());
  return {.bundle = bundle,
          .identifier = *identifier,
          .name = text("CFBundleName").value_or(std::string(bundle.nameWithoutExtension())),
          .version = text("CFBundleShortVersionString").value_or(""),
          .build = std::strtoll(text("CFBundleVersion").value_or("").c_str(), nullptr, 10),
          .feed = *feed,
          .downloadPage = QuillonURL::parse(text("QuillonUpdatePageURL").value_or("")),
          .distribution = text("QuillonUpdateDistribution"),
          .team = text("QuillonUpdateTeamIdentifier")};
}

std::string HostInformation::folderName() const {
  return quillon::isSinglePathComponent(name) ? name : identifier;
}

quillon::VeskAppBundleUpdateHostIdentity HostInformation::identity() const {
  return {.bundleIdentifier = identifier,
          .applicationVersion = version,
          .applicationBuild = build,
          .expectedTeamIdentifier = team};
}

}  // namespace sample
