#include "QuillonTool/QuillonToolMessageFields.h"

#include <algorithm>
#include <cstdint>
#include <variant>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchProgressKeys.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageValueText.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementMessage.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementMessageKeys.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResultKeys.h"

namespace quillon {
namespace {

using Fields = std::vector<QuillonToolMessageField>;
using Value = QuillonPropertyListValue;

QuillonToolMessageField field(std::string_view key, std::optional<Value> value) {
  return {.name = key, .key = key, .value = std::move(value)};
}

template <typename T>
std::optional<Value> optionalValue(const std::optional<T>& content) {
  return content ? std::optional(Value(*content)) : std::nullopt;
}

struct ResultFields {
  using Keys = VeskAppBundleXPCReplacementResultKeys;
  using Result = VeskAppBundleReplacementLaunchResult;

  Fields operator()(const Result::LaunchFailed& failure) const { return of(failure.diagnostic); }
  Fields operator()(const Result::ProtocolFailure& failure) const { return of(failure.diagnostic); }
  Fields operator()(const Result::AuthorizationDenied& failure) const { return ofStatus(failure.status); }
  Fields operator()(const Result::AuthorizationCancelled& failure) const { return ofStatus(failure.status); }
  Fields operator()(const Result::TimedOut& end) const { return {field(Keys::phase, Value(rawValue(end.phase)))}; }
  Fields operator()(const Result::Launched&) const { return {}; }
  Fields operator()(const Result::HelperUnavailable&) const { return {}; }

 private:
  static Fields of(const VeskAppBundleInstallerFailureDiagnostic& diagnostic) {
    return {field(Keys::phase, Value(rawValue(diagnostic.phase))),
            field(Keys::errorDomain, optionalValue(diagnostic.errorDomain)),
            field(Keys::errorCode, optionalValue(diagnostic.errorCode)),
            field(Keys::errorDescription, optionalValue(diagnostic.errorDescription))};
  }
  static Fields ofStatus(std::int32_t status) {
    return {{.name = "status", .key = Keys::errorCode, .value = Value(std::int64_t{status})}};
  }
};

struct ProgressFields {
  using Keys = VeskAppBundleXPCLaunchProgressKeys;
  using Progress = VeskAppBundleInstallerLaunchProgress;

  Fields operator()(const Progress::AuthorizationRequired& reason) const {
    return {field(Keys::destinationParentIsWritable, Value(reason.destinationParentIsWritable)),
            field(Keys::canPreserveInstalledOwnership, Value(reason.canPreserveInstalledOwnership))};
  }
  Fields operator()(const Progress::AuthorizationEnded& end) const {
    // A time that was read from a property list is within its integers.
    return {field(Keys::elapsedNanoseconds, Value(static_cast<std::int64_t>(end.elapsedNanoseconds)))};
  }
  Fields operator()(const Progress::HandoffStarted&) const { return {}; }
  Fields operator()(const Progress::AuthorizationBegan&) const { return {}; }
  Fields operator()(const Progress::JobSubmitted&) const { return {}; }
};

std::string plainText(const Value& value) {
  if (const auto* const boolean = value.getIf<bool>()) return *boolean ? "true" : "false";
  if (const auto* const integer = value.getIf<std::int64_t>()) return std::to_string(*integer);
  const auto* const text = value.getIf<std::string>();
  return text == nullptr ? std::string() : *text;
}

std::string received(const Value& value) {
  return " (received: " + xpcMessageValueText(value) + ")";
}

std::string lineOf(const QuillonToolMessageField& field, const Value::Dictionary& message) {
  std::string line = std::string(field.name) + ": " + (field.value ? plainText(*field.value) : "none");
  const auto found = message.find(field.key);
  if (found != message.end() && found->second != field.value) line += received(found->second);
  return line;
}

}  // namespace

Fields messageFields(const VeskAppBundleReplacementRequest& request) {
  const Value::Dictionary written = VeskAppBundleXPCReplacementMessage{request}.propertyList();
  Fields fields;
  for (const std::string_view key : VeskAppBundleXPCReplacementMessageKeys::all) {
    const auto found = written.find(key);
    fields.push_back(field(key, found == written.end() ? std::nullopt : std::optional(found->second)));
  }
  return fields;
}

Fields messageFields(const VeskAppBundleReplacementLaunchResult& result) {
  return std::visit(ResultFields{}, result.value);
}

Fields messageFields(const VeskAppBundleInstallerLaunchProgress& progress) {
  return std::visit(ProgressFields{}, progress.value);
}

void addMembers(const Fields& fields, QuillonToolJSONObject& object) {
  for (const QuillonToolMessageField& field : fields) {
    if (!field.value) continue;
    if (const auto* const boolean = field.value->getIf<bool>()) {
      object.withBool(field.name, *boolean);
    } else if (const auto* const integer = field.value->getIf<std::int64_t>()) {
      object.withNumber(field.name, *integer);
    } else {
      object.with(field.name, plainText(*field.value));
    }
  }
}

std::vector<std::string> explainingLines(const Fields& fields, const Value::Dictionary& message,
                                         std::string_view nameKey) {
  std::vector<std::string> lines;
  for (const QuillonToolMessageField& field : fields) lines.push_back(lineOf(field, message));
  for (const auto& [key, value] : message) {
    const bool isRead = key == nameKey || std::ranges::find(fields, key, &QuillonToolMessageField::key) != fields.end();
    if (!isRead) lines.push_back(key + ": not read" + received(value));
  }
  return lines;
}

}  // namespace quillon
