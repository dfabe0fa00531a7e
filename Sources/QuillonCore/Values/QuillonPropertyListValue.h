#pragma once

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace quillon {

/// Bytes of a property list's data value.
struct QuillonPropertyListData {
  std::vector<std::uint8_t> bytes;

  friend bool operator==(const QuillonPropertyListData&, const QuillonPropertyListData&) = default;
};

/// Point in time of a property list. Binary lists keep fractions of a second, XML lists whole seconds.
using QuillonPropertyListDate = std::chrono::sys_time<std::chrono::microseconds>;

/// One value of a property list, owning everything below it. Numbers and Booleans are different things.
class QuillonPropertyListValue {
 public:
  using Array = std::vector<QuillonPropertyListValue>;
  /// Sorted by key, so that encoding is deterministic.
  using Dictionary = std::map<std::string, QuillonPropertyListValue, std::less<>>;

  explicit QuillonPropertyListValue(bool value) : value_(value) {}
  explicit QuillonPropertyListValue(int value) : value_(std::int64_t{value}) {}
  explicit QuillonPropertyListValue(std::int64_t value) : value_(value) {}
  explicit QuillonPropertyListValue(double value) : value_(value) {}
  explicit QuillonPropertyListValue(std::string value) : value_(std::move(value)) {}
  explicit QuillonPropertyListValue(std::string_view value) : value_(std::string(value)) {}
  explicit QuillonPropertyListValue(const char* value) : value_(std::string(value)) {}
  explicit QuillonPropertyListValue(QuillonPropertyListData value) : value_(std::move(value)) {}
  explicit QuillonPropertyListValue(QuillonPropertyListDate value) : value_(value) {}
  explicit QuillonPropertyListValue(Array value) : value_(std::move(value)) {}
  explicit QuillonPropertyListValue(Dictionary value) : value_(std::move(value)) {}

  /// The value if it is a T (bool, std::int64_t, double, std::string, QuillonPropertyListData, QuillonPropertyListDate,
  /// Array, Dictionary), else null.
  template <typename T>
  [[nodiscard]] const T* getIf() const noexcept {
    return std::get_if<T>(&value_);
  }
  template <typename T>
  [[nodiscard]] T* getIf() noexcept {
    return std::get_if<T>(&value_);
  }

  /// The value of `key` when this is a dictionary that has it, else null.
  [[nodiscard]] const QuillonPropertyListValue* find(std::string_view key) const noexcept {
    const auto* dictionary = getIf<Dictionary>();
    if (dictionary == nullptr) return nullptr;
    const auto found = dictionary->find(key);
    return found == dictionary->end() ? nullptr : &found->second;
  }

  friend bool operator==(const QuillonPropertyListValue&, const QuillonPropertyListValue&) = default;

 private:
  std::variant<bool, std::int64_t, double, std::string, QuillonPropertyListData, QuillonPropertyListDate, Array,
               Dictionary>
      value_;
};

}  // namespace quillon
