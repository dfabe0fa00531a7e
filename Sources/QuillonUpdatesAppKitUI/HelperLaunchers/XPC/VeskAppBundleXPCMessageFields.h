#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// Reads the fields of one message, by the rules of VeskAppBundleXPCMessageNumber.h. Keys that nobody asks for do no
/// harm.
///
/// A string with a NUL character counts as no string: what messages name ends up in system calls and on a command line,
/// which would see it cut short. What is `required` throws VeskAppBundleXPCMessageRefusal when it is missing or
/// unreadable. Borrows the message; the strings belong to it.
class VeskAppBundleXPCMessageFields {
 public:
  explicit VeskAppBundleXPCMessageFields(const QuillonPropertyListValue::Dictionary& message) noexcept
      : message_(message) {}

  [[nodiscard]] bool has(std::string_view key) const noexcept { return message_.contains(key); }

  [[nodiscard]] const std::string& requiredString(std::string_view key) const;
  [[nodiscard]] const std::string& requiredNonEmptyString(std::string_view key) const;
  [[nodiscard]] std::int64_t requiredInteger(std::string_view key) const;
  [[nodiscard]] std::int64_t requiredResultInteger(std::string_view key) const;
  [[nodiscard]] std::uint32_t requiredUnsigned32(std::string_view key) const;
  [[nodiscard]] std::uint64_t requiredUnsigned64(std::string_view key) const;
  [[nodiscard]] bool requiredBool(std::string_view key) const;

  /// A value that is no string counts as absent.
  [[nodiscard]] std::optional<std::string> optionalString(std::string_view key) const;
  /// A value that the rule for results refuses counts as absent.
  [[nodiscard]] std::optional<std::int64_t> optionalResultInteger(std::string_view key) const noexcept;

  /// Throws the refusal of what stands at `key`, which there must be.
  [[noreturn]] void refuse(std::string_view key, std::string_view expectation) const;

 private:
  [[nodiscard]] const QuillonPropertyListValue& required(std::string_view key) const;
  /// The value that `rule` makes of the one at `key`.
  template <typename T>
  [[nodiscard]] T converted(std::string_view key, std::optional<T> (*rule)(const QuillonPropertyListValue&) noexcept,
                            std::string_view expectation) const;

  const QuillonPropertyListValue::Dictionary& message_;
};

}  // namespace quillon
