#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Values/QuillonPropertyListValue.h"
#include "QuillonTool/QuillonToolJSONObject.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementRequest.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleInstallerLaunchProgress.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleReplacementLaunchResult.h"

namespace quillon {

/// One field of a message, as its receiver has it.
struct QuillonToolMessageField {
  /// How the field is called.
  std::string_view name;
  /// Key of the message that it is read from.
  std::string_view key;
  /// A Boolean, integer or string; absent when the receiver has no value.
  std::optional<QuillonPropertyListValue> value;
};

/// The fields of a request in their documented order.
[[nodiscard]] std::vector<QuillonToolMessageField> messageFields(const VeskAppBundleReplacementRequest& request);
/// What the case of a result carries.
[[nodiscard]] std::vector<QuillonToolMessageField> messageFields(const VeskAppBundleReplacementLaunchResult& result);
/// What the case of an event that was read carries.
[[nodiscard]] std::vector<QuillonToolMessageField> messageFields(const VeskAppBundleInstallerLaunchProgress& progress);

/// Adds the fields that have a value.
void addMembers(const std::vector<QuillonToolMessageField>& fields, QuillonToolJSONObject& object);

/// A line for each field, "name: value", with what the message holds where that is something else. A field without
/// value is "none". Then a line for each key of the message that no field is read from, `nameKey` excepted.
[[nodiscard]] std::vector<std::string> explainingLines(const std::vector<QuillonToolMessageField>& fields,
                                                       const QuillonPropertyListValue::Dictionary& message,
                                                       std::string_view nameKey);

}  // namespace quillon
