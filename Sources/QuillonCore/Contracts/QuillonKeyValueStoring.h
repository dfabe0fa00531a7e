#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// A store of settings by key.
///
/// A value of another type than the one asked for is converted where the table has a conversion, and counts as absent
/// where it has none. Dates, data, arrays and dictionaries are never converted.
///
///   stored    boolForKey             stringForKey          integerForKey                doubleForKey
///   Boolean   itself                 "1" or "0"            1 or 0                       0
///   integer   whether it is not 0    its decimal digits    itself                       the nearest double
///   real      whether it is not 0    16 digits, as "%.16g" cut off towards 0            itself
///   string    "YES", "true" and "1"  itself                the number it begins with    the number it begins with
///
/// The number that a string begins with may follow blanks and is 0 when there is none. What an integer cannot hold is
/// the nearest integer; no number (NaN) is 0.
///
/// Callable from any thread.
class QuillonKeyValueStoring {
 public:
  virtual ~QuillonKeyValueStoring() = default;

  // Reading. A store that cannot be read is empty.

  /// False when absent.
  [[nodiscard]] virtual bool boolForKey(std::string_view key) const = 0;
  [[nodiscard]] virtual std::optional<std::string> stringForKey(std::string_view key) const = 0;
  /// 0 when absent.
  [[nodiscard]] virtual std::int64_t integerForKey(std::string_view key) const = 0;
  /// 0 when absent.
  [[nodiscard]] virtual double doubleForKey(std::string_view key) const = 0;
  [[nodiscard]] virtual std::optional<QuillonPropertyListValue> objectForKey(std::string_view key) const = 0;

  // Changing. After an exception the store is as it was.

  /// Stores `value`; an absent one removes the key.
  ///
  /// Throws QuillonPropertyListError for a key or value that no property list holds (text that is not UTF-8, nesting
  /// below 512 levels), QuillonSystemError when the store cannot be written: what the system said (ENOSPC, EACCES,
  /// EROFS, …), or EFBIG when the store would be too large.
  virtual void set(const std::optional<QuillonPropertyListValue>& value, std::string_view key) = 0;

  /// Removes the key, if it is there. Throws as set().
  virtual void removeObject(std::string_view key) = 0;
};

}  // namespace quillon
