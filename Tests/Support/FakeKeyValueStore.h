#pragma once

#include <mutex>
#include <string>

#include "QuillonCore/Contracts/QuillonKeyValueStoring.h"

namespace quillon::testing {

/// Settings in memory.
class FakeKeyValueStore final : public QuillonKeyValueStoring {
 public:
  [[nodiscard]] bool boolForKey(std::string_view key) const override;
  [[nodiscard]] std::optional<std::string> stringForKey(std::string_view key) const override;
  [[nodiscard]] std::int64_t integerForKey(std::string_view key) const override;
  [[nodiscard]] double doubleForKey(std::string_view key) const override;
  [[nodiscard]] std::optional<QuillonPropertyListValue> objectForKey(std::string_view key) const override;
  void set(const std::optional<QuillonPropertyListValue>& value, std::string_view key) override;
  void removeObject(std::string_view key) override;

 private:
  mutable std::mutex lock_;
  QuillonPropertyListValue::Dictionary settings_;  // guarded by lock_
};

}  // namespace quillon::testing
