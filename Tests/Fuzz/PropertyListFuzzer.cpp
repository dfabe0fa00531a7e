// Reads any bytes as a property list. What can be read can be searched, and survives both writers.

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonCore/Values/QuillonPropertyListDocument.h"

namespace {

using quillon::QuillonPropertyListDocument;
using quillon::QuillonPropertyListError;
using quillon::QuillonPropertyListNode;
using quillon::QuillonPropertyListValue;

void require(bool condition) {
  if (!condition) std::abort();
}

std::optional<QuillonPropertyListDocument> read(std::string_view bytes) {
  try {
    return QuillonPropertyListDocument::borrowing(bytes);
  } catch (const QuillonPropertyListError&) {
    return std::nullopt;
  }
}

/// Absent where XML has no place for a string or date.
std::optional<std::string> writeXML(const QuillonPropertyListValue& value) {
  try {
    return quillon::writeXMLPropertyList(value);
  } catch (const QuillonPropertyListError&) {
    return std::nullopt;
  }
}

/// Every entry is found by its key. Long keys are left out: a binary list may share them.
void requireSearchable(QuillonPropertyListNode node) {
  static constexpr std::size_t kLongKey = 256;
  for (const QuillonPropertyListNode element : node.elements()) requireSearchable(element);
  for (const auto& [key, value] : node.entries()) {
    if (key.size() < kLongKey) {
      const auto found = node.find(key);
      require(found.has_value() && found->type() == value.type() && found->size() == value.size());
    }
    requireSearchable(value);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const auto document = read(bytes);
  if (!document) return 0;
  requireSearchable(document->root());
  const QuillonPropertyListValue value = document->root().toValue();

  // Encodings are compared rather than values: NaN is not equal to itself.
  const std::string binary = quillon::writeBinaryPropertyList(value);
  require(quillon::writeBinaryPropertyList(quillon::readPropertyList(binary)) == binary);
  if (const auto xml = writeXML(value)) {
    require(quillon::writeXMLPropertyList(quillon::readPropertyList(*xml)) == *xml);
  }
  return 0;
}
