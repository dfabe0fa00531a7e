#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageFields.h"

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageNumber.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageRefusal.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageValueText.h"

namespace quillon {
namespace {

std::string quoted(std::string_view key) {
  return "\"" + std::string(key) + "\"";
}

const std::string* stringIf(const QuillonPropertyListValue& value) noexcept {
  const auto* const text = value.getIf<std::string>();
  return text != nullptr && text->find('\0') == std::string::npos ? text : nullptr;
}

}  // namespace

const QuillonPropertyListValue& VeskAppBundleXPCMessageFields::required(std::string_view key) const {
  const auto found = message_.find(key);
  if (found == message_.end()) throw VeskAppBundleXPCMessageRefusal(quoted(key) + " is missing");
  return found->second;
}

void VeskAppBundleXPCMessageFields::refuse(std::string_view key, std::string_view expectation) const {
  throw VeskAppBundleXPCMessageRefusal(quoted(key) + " is no " + std::string(expectation) + ": " +
                                       xpcMessageValueText(required(key)));
}

template <typename T>
T VeskAppBundleXPCMessageFields::converted(std::string_view key,
                                           std::optional<T> (*rule)(const QuillonPropertyListValue&) noexcept,
                                           std::string_view expectation) const {
  const std::optional<T> result = rule(required(key));
  if (!result) refuse(key, expectation);
  return *result;
}

const std::string& VeskAppBundleXPCMessageFields::requiredString(std::string_view key) const {
  const std::string* const text = stringIf(required(key));
  if (text == nullptr) refuse(key, "text");
  return *text;
}

const std::string& VeskAppBundleXPCMessageFields::requiredNonEmptyString(std::string_view key) const {
  const std::string& text = requiredString(key);
  if (text.empty()) refuse(key, "text with characters");
  return text;
}

std::int64_t VeskAppBundleXPCMessageFields::requiredInteger(std::string_view key) const {
  return converted(key, xpcMessageInteger, "64-bit integer");
}

std::int64_t VeskAppBundleXPCMessageFields::requiredResultInteger(std::string_view key) const {
  return converted(key, xpcMessageResultInteger, "number");
}

std::uint32_t VeskAppBundleXPCMessageFields::requiredUnsigned32(std::string_view key) const {
  return converted(key, xpcMessageUnsigned32, "integer from 0 to 4294967295");
}

std::uint64_t VeskAppBundleXPCMessageFields::requiredUnsigned64(std::string_view key) const {
  return converted(key, xpcMessageUnsigned64, "number from 0");
}

bool VeskAppBundleXPCMessageFields::requiredBool(std::string_view key) const {
  return converted(key, xpcMessageBool, "Boolean");
}

std::optional<std::string> VeskAppBundleXPCMessageFields::optionalString(std::string_view key) const {
  const auto found = message_.find(key);
  const std::string* const text = found == message_.end() ? nullptr : stringIf(found->second);
  return text == nullptr ? std::nullopt : std::optional(*text);
}

std::optional<std::int64_t> VeskAppBundleXPCMessageFields::optionalResultInteger(std::string_view key) const noexcept {
  const auto found = message_.find(key);
  return found == message_.end() ? std::nullopt : xpcMessageResultInteger(found->second);
}

}  // namespace quillon
