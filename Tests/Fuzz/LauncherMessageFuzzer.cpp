// A message between host and launcher service: the first byte selects its format ('0' request, '1' result, '2'
// progress), the rest is a property list. What can be read survives being written and read again, also as a property
// list, and the readers of a connection agree with those that explain.

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchProgress.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageRefusal.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementMessage.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResult.h"

namespace {

using quillon::QuillonPropertyListValue;
using quillon::VeskAppBundleXPCMessageRefusal;
using quillon::VeskAppBundleXPCReplacementMessage;
using Dictionary = QuillonPropertyListValue::Dictionary;

void require(bool condition) {
  if (!condition) std::abort();
}

std::optional<QuillonPropertyListValue> readList(std::string_view bytes) {
  try {
    return quillon::readPropertyList(bytes);
  } catch (const quillon::QuillonPropertyListError&) {
    return std::nullopt;
  }
}

/// The message as it arrives in the other process.
Dictionary sent(Dictionary message) {
  const std::string bytes = quillon::writeBinaryPropertyList(QuillonPropertyListValue(std::move(message)));
  return *quillon::readPropertyList(bytes).getIf<Dictionary>();
}

/// What `read` makes of the message; absent when it refuses.
template <typename Read>
auto readUnlessRefused(Read read, const Dictionary& message) -> std::optional<decltype(read(message))> {
  try {
    return read(message);
  } catch (const VeskAppBundleXPCMessageRefusal& refusal) {
    require(!refusal.description().empty());
    return std::nullopt;
  }
}

void checkRequest(const Dictionary& message) {
  const auto request = readUnlessRefused(VeskAppBundleXPCReplacementMessage::read, message);
  try {
    require(VeskAppBundleXPCReplacementMessage::parse(message) == request);
  } catch (const quillon::VeskUpdateInstallerError& error) {
    require(!request && error == quillon::VeskUpdateInstallerError::replacementLaunchFailed());
  }
  if (!request) return;
  require(request->hostIdentity && !request->helperExecutableURL);
  require(request->stagedApplicationURL.path().starts_with('/'));
  require(VeskAppBundleXPCReplacementMessage::parse(
              sent(VeskAppBundleXPCReplacementMessage{*request}.propertyList())) == request);
}

void checkResult(const Dictionary& message) {
  const auto read = readUnlessRefused(quillon::readReplacementLaunchResult, message);
  const auto result = quillon::replacementLaunchResult(message);
  require(read ? *read == result : result.caseName() == "protocolFailure");
  require(quillon::replacementLaunchResult(sent(quillon::xpcDictionary(result, {}))) == result);
}

void checkProgress(const Dictionary& message) {
  const auto progress = quillon::installerLaunchProgress(message);
  require(readUnlessRefused(quillon::readInstallerLaunchProgress, message) == progress);
  if (progress) require(quillon::installerLaunchProgress(sent(quillon::xpcDictionary(*progress))) == progress);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const auto list = readList(std::string_view(reinterpret_cast<const char*>(data) + 1, size - 1));
  if (!list) return 0;
  const auto* const dictionary = list->getIf<Dictionary>();
  const Dictionary message = dictionary == nullptr ? Dictionary() : *dictionary;
  switch (data[0] % 3) {
    case 0:
      checkRequest(message);
      break;
    case 1:
      checkResult(message);
      break;
    default:
      checkProgress(message);
      break;
  }
  return 0;
}
