#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchProgress.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchProgressKeys.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageFields.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageRefusal.h"

namespace quillon {
namespace {

using Keys = VeskAppBundleXPCLaunchProgressKeys;
using Progress = VeskAppBundleInstallerLaunchProgress;
using Value = QuillonPropertyListValue;

/// Adds what an event carries to its message.
class PayloadWriter {
 public:
  explicit PayloadWriter(Value::Dictionary& message) : message_(message) {}

  void operator()(const Progress::AuthorizationRequired& reason) const {
    message_.emplace(Keys::destinationParentIsWritable, Value(reason.destinationParentIsWritable));
    message_.emplace(Keys::canPreserveInstalledOwnership, Value(reason.canPreserveInstalledOwnership));
  }
  void operator()(const Progress::AuthorizationEnded& end) const {
    constexpr std::uint64_t kLargest = std::numeric_limits<std::int64_t>::max();
    message_.emplace(Keys::elapsedNanoseconds,
                     Value(static_cast<std::int64_t>(std::min(end.elapsedNanoseconds, kLargest))));
  }
  void operator()(const Progress::HandoffStarted&) const {}
  void operator()(const Progress::AuthorizationBegan&) const {}
  void operator()(const Progress::JobSubmitted&) const {}

 private:
  Value::Dictionary& message_;
};

}  // namespace

Value::Dictionary xpcDictionary(const Progress& progress) {
  Value::Dictionary message;
  message.emplace(Keys::event, Value(progress.caseName()));
  std::visit(PayloadWriter(message), progress.value);
  return message;
}

Progress readInstallerLaunchProgress(const Value::Dictionary& message) {
  const VeskAppBundleXPCMessageFields fields(message);
  const std::string& name = fields.requiredString(Keys::event);
  if (name == "authorizationRequired") {
    return Progress::authorizationRequired(
        {.destinationParentIsWritable = fields.requiredBool(Keys::destinationParentIsWritable),
         .canPreserveInstalledOwnership = fields.requiredBool(Keys::canPreserveInstalledOwnership)});
  }
  if (name == "authorizationEnded") {
    return Progress::authorizationEnded(fields.requiredUnsigned64(Keys::elapsedNanoseconds));
  }
  if (name == "handoffStarted") return Progress::handoffStarted();
  if (name == "authorizationBegan") return Progress::authorizationBegan();
  if (name == "jobSubmitted") return Progress::jobSubmitted();
  fields.refuse(Keys::event, "event of a launch");
}

std::optional<Progress> installerLaunchProgress(const Value::Dictionary& message) noexcept {
  try {
    return readInstallerLaunchProgress(message);
  } catch (const VeskAppBundleXPCMessageRefusal&) {
    return std::nullopt;  // an event says how far things are; the reply still says how they end
  }
}

}  // namespace quillon
