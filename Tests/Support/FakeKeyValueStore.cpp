#include "Support/FakeKeyValueStore.h"

#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonCore/Values/SettingConversion.h"

namespace quillon::testing {

bool FakeKeyValueStore::boolForKey(std::string_view key) const {
  const auto value = objectForKey(key);
  return value && boolOfSetting(*value);
}

std::optional<std::string> FakeKeyValueStore::stringForKey(std::string_view key) const {
  const auto value = objectForKey(key);
  return value ? stringOfSetting(*value) : std::nullopt;
}

std::int64_t FakeKeyValueStore::integerForKey(std::string_view key) const {
  const auto value = objectForKey(key);
  return value ? integerOfSetting(*value) : 0;
}

double FakeKeyValueStore::doubleForKey(std::string_view key) const {
  const auto value = objectForKey(key);
  return value ? doubleOfSetting(*value) : 0;
}

std::optional<QuillonPropertyListValue> FakeKeyValueStore::objectForKey(std::string_view key) const {
  const std::lock_guard guard(lock_);
  const auto found = settings_.find(key);
  if (found == settings_.end()) return std::nullopt;
  return found->second;
}

void FakeKeyValueStore::set(const std::optional<QuillonPropertyListValue>& value, std::string_view key) {
  if (!value) return removeObject(key);
  // A file could not hold what has no encoding.
  QuillonPropertyListValue::Dictionary entry;
  entry.emplace(key, *value);
  (void)readPropertyList(writeBinaryPropertyList(QuillonPropertyListValue(std::move(entry))));
  const std::lock_guard guard(lock_);
  settings_.insert_or_assign(std::string(key), *value);
}

void FakeKeyValueStore::removeObject(std::string_view key) {
  const std::lock_guard guard(lock_);
  if (const auto found = settings_.find(key); found != settings_.end()) settings_.erase(found);
}

}  // namespace quillon::testing
