#include "ZipArchive/AppleDouble.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "ZipArchive/ZipArchiveError.h"

namespace quillon {
namespace {

constexpr std::uint32_t kMagic = 0x00051607;
constexpr std::uint32_t kVersion = 0x00020000;
constexpr std::string_view kFiller = "Mac OS X        ";  // 16 bytes, the home file system of version 1
constexpr std::uint32_t kResourceForkEntry = 2;
constexpr std::uint32_t kFinderInfoEntry = 9;
constexpr std::size_t kHeaderLength = 26;
constexpr std::size_t kDescriptorLength = 12;
constexpr std::size_t kFinderInfoOffset = kHeaderLength + 2 * kDescriptorLength;
constexpr std::size_t kFinderInfoLength = 32;

// Attributes follow the Finder information and two bytes of padding.
constexpr std::uint32_t kAttributesMagic = 0x41545452;  // "ATTR"
constexpr std::size_t kAttributesOffset = kFinderInfoOffset + kFinderInfoLength + 2;
constexpr std::size_t kAttributesHeaderLength = 36;
constexpr std::size_t kAttributeFixedLength = 11;
constexpr std::size_t kLongestName = 254;

std::string_view part(std::string_view bytes, std::uint64_t offset, std::uint64_t length) {
  if (offset > bytes.size() || length > bytes.size() - offset) {
    throw ZipArchiveError::damaged("an AppleDouble file in it ends too early");
  }
  return bytes.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(length));
}

std::uint32_t bigEndian(std::string_view bytes, std::size_t offset, std::size_t length) {
  std::uint32_t value = 0;
  for (const char c : part(bytes, offset, length)) value = value << 8 | static_cast<unsigned char>(c);
  return value;
}

void append16(std::string& bytes, std::size_t value) {
  bytes += static_cast<char>(value >> 8 & 0xFF);
  bytes += static_cast<char>(value & 0xFF);
}

void append32(std::string& bytes, std::size_t value) {
  append16(bytes, value >> 16 & 0xFFFF);
  append16(bytes, value & 0xFFFF);
}

constexpr std::size_t alignedToFour(std::size_t length) {
  return (length + 3) & ~std::size_t{3};
}

bool isBlankResourceFork(std::string_view fork) {
  constexpr std::string_view kText = "This resource fork intentionally left blank";
  constexpr std::size_t kBlankLength = 286;
  constexpr std::size_t kTextOffset = 16;
  return fork.empty() || (fork.size() == kBlankLength && fork.substr(kTextOffset).starts_with(kText));
}

/// The attributes of one file. Together they take no more bytes than it has: attributes that all point at the same ones
/// would make a small file fill the memory.
class AttributeList {
 public:
  explicit AttributeList(std::size_t fileLength) noexcept : room_(fileLength) {}

  /// Adds an attribute that takes `fixedLength` bytes of the file, and those of its value.
  void add(std::string_view name, std::string_view value, std::size_t fixedLength) {
    if (fixedLength > room_ || value.size() > room_ - fixedLength) {
      throw ZipArchiveError::damaged("attributes in it share their bytes");
    }
    room_ -= fixedLength + value.size();
    attributes_.push_back({std::string(name), std::string(value)});
  }
  [[nodiscard]] std::vector<ExtendedAttribute> take() && noexcept { return std::move(attributes_); }

 private:
  std::size_t room_;
  std::vector<ExtendedAttribute> attributes_;
};

void readAttributes(std::string_view bytes, AttributeList& attributes) {
  const std::size_t count = bigEndian(bytes, kAttributesOffset + kAttributesHeaderLength - 2, 2);
  std::size_t offset = kAttributesOffset + kAttributesHeaderLength;
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t valueOffset = bigEndian(bytes, offset, 4);
    const std::uint32_t valueLength = bigEndian(bytes, offset + 4, 4);
    const std::size_t nameLength = bigEndian(bytes, offset + 10, 1);
    std::string_view name = part(bytes, offset + kAttributeFixedLength, nameLength);
    name = name.substr(0, name.find('\0'));  // its length counts the NUL at the end
    if (name.empty()) throw ZipArchiveError::damaged("an attribute in it has no name");
    attributes.add(name, part(bytes, valueOffset, valueLength), kAttributeFixedLength + nameLength);
    offset += alignedToFour(kAttributeFixedLength + nameLength);
  }
}

void readFinderInfo(std::string_view bytes, std::size_t offset, std::string_view content, AttributeList& attributes) {
  const std::string_view information = content.substr(0, kFinderInfoLength);
  const bool isSet = information.find_first_not_of('\0') != std::string_view::npos;
  if (information.size() == kFinderInfoLength && isSet) {
    attributes.add(kFinderInfoAttribute, information, kDescriptorLength);
  }
  const bool hasAttributes = offset == kFinderInfoOffset &&
                             content.size() >= kAttributesOffset + kAttributesHeaderLength - kFinderInfoOffset &&
                             bigEndian(bytes, kAttributesOffset, 4) == kAttributesMagic;
  if (hasAttributes) readAttributes(bytes, attributes);
}

void checkNames(const std::vector<ExtendedAttribute>& attributes) {
  std::vector<std::string_view> names;
  names.reserve(attributes.size());
  for (const ExtendedAttribute& attribute : attributes) names.emplace_back(attribute.name);
  std::sort(names.begin(), names.end());
  if (std::adjacent_find(names.begin(), names.end()) != names.end()) {
    throw ZipArchiveError::damaged("an item has two attributes of one name");
  }
}

/// What an AppleDouble file holds, in its three places.
struct Parts {
  std::string finderInfo = std::string(kFinderInfoLength, '\0');
  std::string resourceFork;
  std::vector<const ExtendedAttribute*> attributes;
};

Parts sortedIntoParts(const std::vector<ExtendedAttribute>& attributes) {
  Parts parts;
  for (const ExtendedAttribute& attribute : attributes) {
    if (attribute.name == kFinderInfoAttribute) {
      if (attribute.value.size() != kFinderInfoLength)
        throw ZipArchiveError("The Finder information is not 32 bytes long.");
      parts.finderInfo = attribute.value;
    } else if (attribute.name == kResourceForkAttribute) {
      parts.resourceFork = attribute.value;
    } else {
      if (attribute.name.empty() || attribute.name.size() > kLongestName) {
        throw ZipArchiveError("The name of the attribute " + quotedArchiveName(attribute.name) + " is too long.");
      }
      parts.attributes.push_back(&attribute);
    }
  }
  return parts;
}

std::string attributeBlock(const Parts& parts) {
  std::size_t dataOffset = kAttributesOffset + kAttributesHeaderLength;
  for (const auto* attribute : parts.attributes) {
    dataOffset += alignedToFour(kAttributeFixedLength + attribute->name.size() + 1);
  }
  std::string table;
  std::string data;
  for (const auto* attribute : parts.attributes) {
    append32(table, dataOffset + data.size());
    append32(table, attribute->value.size());
    append16(table, 0);
    table += static_cast<char>(attribute->name.size() + 1);
    table += attribute->name;
    table.append(alignedToFour(kAttributeFixedLength + attribute->name.size() + 1) - kAttributeFixedLength -
                     attribute->name.size(),
                 '\0');
    data += attribute->value;
  }
  std::string block;
  append32(block, kAttributesMagic);
  append32(block, 0);  // for debugging
  append32(block, dataOffset + data.size());
  append32(block, dataOffset);
  append32(block, data.size());
  block.append(12, '\0');
  append16(block, 0);  // flags
  append16(block, parts.attributes.size());
  return block + table + data;
}

}  // namespace

bool isAppleDouble(std::string_view bytes) noexcept {
  return bytes.starts_with(std::string_view("\0\5\x16\7", 4));
}

std::vector<ExtendedAttribute> parseAppleDouble(std::string_view bytes) {
  if (!isAppleDouble(bytes) || bigEndian(bytes, 4, 4) != kVersion) {
    throw ZipArchiveError::damaged("a file in it that should be AppleDouble is not");
  }
  AttributeList list(bytes.size());
  const std::size_t count = bigEndian(bytes, kHeaderLength - 2, 2);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t descriptor = kHeaderLength + i * kDescriptorLength;
    const std::uint32_t identifier = bigEndian(bytes, descriptor, 4);
    const std::uint32_t offset = bigEndian(bytes, descriptor + 4, 4);
    const std::string_view content = part(bytes, offset, bigEndian(bytes, descriptor + 8, 4));
    if (identifier == kFinderInfoEntry) readFinderInfo(bytes, offset, content, list);
    if (identifier == kResourceForkEntry && !isBlankResourceFork(content)) {
      list.add(kResourceForkAttribute, content, kDescriptorLength);
    }
  }
  std::vector<ExtendedAttribute> attributes = std::move(list).take();
  checkNames(attributes);
  return attributes;
}

std::string makeAppleDouble(const std::vector<ExtendedAttribute>& attributes) {
  const Parts parts = sortedIntoParts(attributes);
  const std::string block = parts.attributes.empty() ? std::string() : attributeBlock(parts);
  const std::size_t finderLength = kFinderInfoLength + (block.empty() ? 0 : 2 + block.size());
  std::string bytes;
  append32(bytes, kMagic);
  append32(bytes, kVersion);
  bytes += kFiller;
  append16(bytes, 2);
  append32(bytes, kFinderInfoEntry);
  append32(bytes, kFinderInfoOffset);
  append32(bytes, finderLength);
  append32(bytes, kResourceForkEntry);
  append32(bytes, kFinderInfoOffset + finderLength);
  append32(bytes, parts.resourceFork.size());
  bytes += parts.finderInfo;
  if (!block.empty()) bytes.append(2, '\0');
  return bytes + block + parts.resourceFork;
}

}  // namespace quillon
