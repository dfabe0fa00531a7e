#include "HostInformation.h"

#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "QuillonCore/Runtime/QuillonBundleInformation.h"
#include "QuillonCore/Text/QuillonPathComponent.h"
#include "RunningBundle.h"

namespace sample {

using quillon::QuillonURL;

HostInformation HostInformation::ofRunningApplication(const quillon::QuillonFileManaging& files) {
  const QuillonURL bundle = runningBundle();
  const auto text = [&](std::string_view key) {
    const auto value = quillon::bundleInformationText(files, bundle, key);
    return value == "" ? std::nullopt : value;  // an empty entry says nothing
  };
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
