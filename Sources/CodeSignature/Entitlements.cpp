#include "CodeSignature/Entitlements.h"

#include <cerrno>
#include <cstdint>
#include <vector>

#include "CodeSignature/BlobBuilder.h"
#include "CodeSignature/DERElement.h"
#include "CodeSignature/FileOpening.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {
namespace {

constexpr std::uint32_t kPropertyListMagic = 0xFADE7171;
constexpr std::uint32_t kDERMagic = 0xFADE7172;
constexpr std::size_t kLengthLimit = 1 << 20;
constexpr int kDepthLimit = 32;

// The types of values, and the two that entitlements have of their own.
constexpr BERTag kBoolean{0x01};
constexpr BERTag kUTF8String{0x0C};
constexpr BERTag kEntitlements{0x70};  // [APPLICATION 16], constructed
constexpr BERTag kDictionary{0xB0};    // [CONTEXT 16], constructed

/// Two's complement in as few bytes as keep the sign.
std::string integerContent(std::int64_t value) {
  const auto isSignOnly = [value](int bits) { return value >> bits == 0 || value >> bits == -1; };
  int length = 1;
  while (length < 8 && !isSignOnly(8 * length - 1)) ++length;
  std::string bytes;
  while (length-- > 0) bytes += static_cast<char>((value >> (8 * length)) & 0xFF);
  return bytes;
}

[[noreturn]] void refuse(std::string_view key, std::string_view reason) {
  throw QuillonError("The entitlement \"" + std::string(key) + "\" " + std::string(reason));
}

[[noreturn]] void refuseLength() {
  throw QuillonError("The entitlements are longer than 1 MiB");
}

QuillonPropertyListValue valuesOf(std::string_view propertyList) {
  try {
    return readPropertyList(propertyList);
  } catch (const QuillonPropertyListError& error) {
    throw QuillonError("The entitlements are no property list: " + error.description());
  }
}

/// `key` is that of the outermost dictionary, by which people look for the mistake.
std::string encode(const QuillonPropertyListValue& value, std::string_view key, int depth);

std::string encodeDictionary(const QuillonPropertyListValue::Dictionary& dictionary, std::string_view key, int depth) {
  std::string entries;
  for (const auto& [name, value] : dictionary) {
    const std::string_view outermost = depth == 0 ? std::string_view(name) : key;
    entries += derElement(BERTag::sequence, derElement(kUTF8String, name) + encode(value, outermost, depth + 1));
  }
  return derElement(kDictionary, entries);
}

std::string encode(const QuillonPropertyListValue& value, std::string_view key, int depth) {
  if (depth > kDepthLimit) refuse(key, "is nested too deeply");
  if (const auto* flag = value.getIf<bool>()) return derElement(kBoolean, std::string(1, *flag ? '\xFF' : '\0'));
  if (const auto* number = value.getIf<std::int64_t>()) return derElement(BERTag::integer, integerContent(*number));
  if (const auto* text = value.getIf<std::string>()) return derElement(kUTF8String, *text);
  if (const auto* dictionary = value.getIf<QuillonPropertyListValue::Dictionary>()) {
    return encodeDictionary(*dictionary, key, depth);
  }
  if (const auto* array = value.getIf<QuillonPropertyListValue::Array>()) {
    std::string elements;
    for (const QuillonPropertyListValue& item : *array) elements += encode(item, key, depth + 1);
    return derElement(BERTag::sequence, elements);
  }
  refuse(key, "is neither a Boolean, an integer, a string, an array nor a dictionary");
}

std::string blob(std::uint32_t magic, std::string_view content) {
  BlobBuilder out;
  out.u32(magic).u32(static_cast<std::uint32_t>(8 + content.size())).bytes(content);
  return out.blob();
}

}  // namespace

Entitlements Entitlements::read(std::string_view propertyList) {
  if (propertyList.size() > kLengthLimit) refuseLength();
  Entitlements entitlements(valuesOf(propertyList));
  const auto* dictionary = entitlements.values_.getIf<QuillonPropertyListValue::Dictionary>();
  if (dictionary == nullptr) throw QuillonError("The entitlements are not a dictionary");
  const std::string der = derElement(BERTag::integer, integerContent(1)) + encodeDictionary(*dictionary, {}, 0);
  // Written anew: of a list that has a key twice, one reader takes the first value and another the last.
  const std::string text = writeXMLPropertyList(entitlements.values_);
  if (text.size() > kLengthLimit) refuseLength();
  entitlements.propertyListBlob_ = blob(kPropertyListMagic, text);
  entitlements.derBlob_ = blob(kDERMagic, derElement(kEntitlements, der));
  return entitlements;
}

Entitlements Entitlements::load(const QuillonURL& file) {
  const FileDescriptor descriptor(open(file.path().c_str(), O_RDONLY | O_CLOEXEC));
  if (!descriptor) throw QuillonSystemError::posix(errno, "open", file.path());
  return read(readWholeFile(descriptor, kLengthLimit));
}

bool Entitlements::grants(std::string_view key) const noexcept {
  const QuillonPropertyListValue* value = values_.find(key);
  const bool* flag = value == nullptr ? nullptr : value->getIf<bool>();
  return flag != nullptr && *flag;
}

}  // namespace quillon
