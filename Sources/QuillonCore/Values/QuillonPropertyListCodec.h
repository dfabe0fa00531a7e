#pragma once

#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// Bytes are no property list, or a value has no place in the format asked for. The text says what is wrong and where:
/// the line of a text list, the offset of a binary one.
class QuillonPropertyListError : public QuillonError {
 public:
  using QuillonError::QuillonError;
};

/// Reads a property list of any format: XML, binary ("bplist00"), or old-style text with its ".strings" tables. Of
/// equal keys in one dictionary of a text the last wins, as on the platform that the format comes from; a binary list
/// with equal keys is refused, because no writer makes one.
///
/// Safe on hostile input: time and memory are linear in the size of `bytes`, nesting is limited to 512 levels.
/// Throws QuillonPropertyListError.
[[nodiscard]] QuillonPropertyListValue readPropertyList(std::string_view bytes);

/// An XML property list with its usual document type, tabs, and sorted keys. Dates lose their fraction of a second.
/// Throws QuillonPropertyListError for a string that is not UTF-8 or holds characters that XML 1.0 has no place for,
/// and for a date outside the years 0 to 9999.
[[nodiscard]] std::string writeXMLPropertyList(const QuillonPropertyListValue& value);

/// A binary property list ("bplist00"), equal strings stored once. Throws QuillonPropertyListError for a string that is
/// not UTF-8.
[[nodiscard]] std::string writeBinaryPropertyList(const QuillonPropertyListValue& value);

}  // namespace quillon
