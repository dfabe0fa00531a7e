#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "QuillonCore/Values/QuillonPropertyListValue.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// The rights that code asks of the system: a dictionary that its signature holds in two forms, as an XML property list
/// and in DER, of which newer systems read only the second.
class Entitlements {
 public:
  /// Reads a property list of any format. Throws QuillonError when it is none, has no dictionary at its top or is
  /// longer than 1 MiB, and for values that the DER form has no place for (data, dates, real numbers, more than 32
  /// levels of nesting), naming their key.
  [[nodiscard]] static Entitlements read(std::string_view propertyList);
  /// As `read`, from a file. Throws QuillonError and QuillonSystemError.
  [[nodiscard]] static Entitlements load(const QuillonURL& file);

  /// The blob of `CodeSlot::entitlements` (magic 0xfade7171). The list is written
  /// anew, so that both forms say the same even when one of its keys stood there twice.
  [[nodiscard]] const std::string& propertyListBlob() const noexcept { return propertyListBlob_; }
  /// The blob of `CodeSlot::entitlementsDER` (magic 0xfade7172):
  ///
  ///     [APPLICATION 16] { INTEGER 1, Dictionary }
  ///     Dictionary: [CONTEXT 16] { SEQUENCE { UTF8String key, value } … }, ascending by the bytes of the keys
  ///     value: BOOLEAN, INTEGER, UTF8String, SEQUENCE of values, or Dictionary
  [[nodiscard]] const std::string& derBlob() const noexcept { return derBlob_; }

  /// Whether `key` is true, as opposed to false, absent, or no Boolean.
  [[nodiscard]] bool grants(std::string_view key) const noexcept;

 private:
  explicit Entitlements(QuillonPropertyListValue values) : values_(std::move(values)) {}

  QuillonPropertyListValue values_;
  std::string propertyListBlob_;
  std::string derBlob_;
};

}  // namespace quillon
