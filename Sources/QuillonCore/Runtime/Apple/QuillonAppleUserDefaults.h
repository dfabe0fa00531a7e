#pragma once

#include <memory>

#include "QuillonCore/Contracts/QuillonKeyValueStoring.h"

namespace quillon {

/// The settings of an application in the user's defaults (`NSUserDefaults`), which convert between the types
/// themselves. A stored value that QuillonPropertyListValue has no place for counts as absent.
///
/// The defaults are written by the system in its own time; what cannot be written is never heard of, so set() and
/// removeObject() throw for the value only, never a QuillonSystemError.
class QuillonAppleUserDefaults final : public QuillonKeyValueStoring {
 public:
  /// Throws QuillonSystemError (EINVAL) for an identifier that names no store.
  explicit QuillonAppleUserDefaults(std::string_view bundleIdentifier);
  ~QuillonAppleUserDefaults() override;
  QuillonAppleUserDefaults(const QuillonAppleUserDefaults&) = delete;
  QuillonAppleUserDefaults& operator=(const QuillonAppleUserDefaults&) = delete;

  [[nodiscard]] bool boolForKey(std::string_view key) const override;
  [[nodiscard]] std::optional<std::string> stringForKey(std::string_view key) const override;
  [[nodiscard]] std::int64_t integerForKey(std::string_view key) const override;
  [[nodiscard]] double doubleForKey(std::string_view key) const override;
  [[nodiscard]] std::optional<QuillonPropertyListValue> objectForKey(std::string_view key) const override;
  void set(const std::optional<QuillonPropertyListValue>& value, std::string_view key) override;
  void removeObject(std::string_view key) override;

 private:
  struct Defaults;
  const std::unique_ptr<const Defaults> defaults_;
};

}  // namespace quillon
