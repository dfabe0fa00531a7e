// Entitlements: whatever property list is accepted, both of its blobs, read back, hold that list.

#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "CodeSignature/BERElement.h"
#include "CodeSignature/BlobReader.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/Entitlements.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace {

using quillon::BERElement;
using quillon::BERReader;
using quillon::BERTag;
using quillon::QuillonPropertyListValue;

constexpr BERTag kBoolean{0x01};
constexpr BERTag kUTF8String{0x0C};
constexpr BERTag kEntitlements{0x70};
constexpr BERTag kDictionary{0xB0};

void require(bool condition) {
  if (!condition) std::abort();
}

std::string_view contentOf(const std::string& blob, std::uint32_t magic) {
  const quillon::BlobReader reader(blob);
  require(reader.u32(0) == magic && reader.u32(4) == blob.size());
  return std::string_view(blob).substr(8);
}

void checkValue(const BERElement& element, const QuillonPropertyListValue& value);

void checkDictionary(const BERElement& element, const QuillonPropertyListValue::Dictionary& dictionary) {
  require(element.tag == kDictionary);
  BERReader entries(element.content);
  for (const auto& [key, value] : dictionary) {
    BERReader entry(entries.next(BERTag::sequence).content);
    require(entry.next(kUTF8String).content == key);
    checkValue(entry.next(), value);
    entry.expectEnd();
  }
  entries.expectEnd();
}

void checkValue(const BERElement& element, const QuillonPropertyListValue& value) {
  if (const auto* flag = value.getIf<bool>()) {
    require(element.tag == kBoolean && element.content == std::string_view(*flag ? "\xFF" : "\0", 1));
  } else if (const auto* number = value.getIf<std::int64_t>()) {
    require(element.tag == BERTag::integer && !element.content.empty() && element.content.size() <= 8);
    std::uint64_t read = (element.content.front() & 0x80) != 0 ? UINT64_MAX : 0;
    for (const char byte : element.content) read = (read << 8) | static_cast<unsigned char>(byte);
    require(static_cast<std::int64_t>(read) == *number);
  } else if (const auto* text = value.getIf<std::string>()) {
    require(element.tag == kUTF8String && element.content == *text);
  } else if (const auto* array = value.getIf<QuillonPropertyListValue::Array>()) {
    require(element.tag == BERTag::sequence);
    BERReader elements(element.content);
    for (const QuillonPropertyListValue& item : *array) checkValue(elements.next(), item);
    elements.expectEnd();
  } else {
    const auto* dictionary = value.getIf<QuillonPropertyListValue::Dictionary>();
    require(dictionary != nullptr);
    checkDictionary(element, *dictionary);
  }
}

/// Both forms, read back, are the list that was given.
void checkForms(const quillon::Entitlements& entitlements, const QuillonPropertyListValue& given) {
  require(quillon::readPropertyList(contentOf(entitlements.propertyListBlob(), 0xFADE7171)) == given);
  BERReader outer(contentOf(entitlements.derBlob(), 0xFADE7172));
  BERReader content(outer.next(kEntitlements).content);
  outer.expectEnd();
  require(content.next(BERTag::integer).content == "\x01");
  checkValue(content.next(), given);
  content.expectEnd();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  try {
    const quillon::Entitlements entitlements = quillon::Entitlements::read(bytes);
    checkForms(entitlements, quillon::readPropertyList(bytes));
  } catch (const quillon::CodeSignatureError&) {
    std::abort();  // what was written could not be read back
  } catch (const quillon::QuillonError&) {
    // Refusing is a right answer to most inputs.
  }
  return 0;
}
