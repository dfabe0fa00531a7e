#include "QuillonCore/Values/PropertyListCodec/BinaryPropertyListReader.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <limits>
#include <numeric>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "QuillonCore/Values/PropertyListCodec/PropertyListKeyOrder.h"
#include "QuillonCore/Values/PropertyListCodec/PropertyListText.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {
namespace {

using Record = PropertyListRecord;

constexpr std::string_view kMagic = "bplist";
constexpr std::string_view kHeader = "bplist00";
constexpr std::size_t kTrailerSize = 32;

// Strings and data, counted as often as they are referred to, may be this many times as long as the file. That also
// limits the work of comparing shared keys, and the memory of whoever copies them.
constexpr std::size_t kExpansionLimit = 32;
constexpr std::size_t kExpansionForSmallFiles = std::size_t{1024} * 1024;

/// Dates count seconds from here.
constexpr std::chrono::sys_days kReferenceDate{std::chrono::year(2001) / 1 / 1};

/// The high four bits of an object's first byte.
enum Kind : unsigned {
  kSimple = 0x0,
  kInteger = 0x1,
  kReal = 0x2,
  kDate = 0x3,
  kData = 0x4,
  kASCIIString = 0x5,
  kUTF16String = 0x6,
  kUID = 0x8,
  kArray = 0xA,
  kSet = 0xC,
  kDictionary = 0xD,
};

/// Where an object's content lies, by offsets.
struct Extent {
  std::size_t begin;
  std::size_t count;  // of bytes, code units, elements or entries
  std::size_t end;
};

class BinaryPropertyListReader {
 public:
  BinaryPropertyListReader(std::string_view bytes, PropertyListTree& tree) : bytes_(bytes), tree_(tree) {}

  void read();

 private:
  struct OpenContainer {
    const Record* record;
    std::size_t nextChild;
  };

  [[noreturn]] static void fail(std::string_view problem, std::size_t offset) {
    throw QuillonPropertyListError("Not a property list: " + std::string(problem) + " at offset " +
                                   std::to_string(offset));
  }

  [[nodiscard]] unsigned byteAt(std::size_t offset) const noexcept {
    return static_cast<unsigned char>(bytes_[offset]);
  }
  /// Eight bytes are readable from every offset before the trailer.
  [[nodiscard]] std::uint64_t numberAt(std::size_t offset, unsigned size) const noexcept {
    return PropertyListTree::bigEndian(bytes_.data() + offset, size);
  }
  [[nodiscard]] std::size_t offsetOf(const void* position) const noexcept {
    return static_cast<std::size_t>(static_cast<const char*>(position) - bytes_.data());
  }

  void readTrailer();
  void readObjects();
  [[nodiscard]] bool readObjectsInOrder();
  [[nodiscard]] std::size_t objectOffset(std::size_t index) const;
  [[nodiscard]] Extent extentOf(std::size_t offset) const;
  [[nodiscard]] Extent countedExtent(std::size_t offset, std::size_t unitSize) const;
  void checkOverlaps() const;

  [[nodiscard]] Record recordOf(std::size_t offset, const Extent& extent);
  [[nodiscard]] Record simpleRecord(std::size_t offset) const;
  [[nodiscard]] Record integerRecord(std::size_t offset, const Extent& extent) const;
  [[nodiscard]] double realAt(const Extent& extent) const noexcept;
  [[nodiscard]] Record dateRecord(std::size_t offset, const Extent& extent) const;
  [[nodiscard]] Record stringRecord(std::size_t offset, const Extent& extent);

  void checkTree();
  void enter(Record& container);
  void checkKeys(Record& dictionary);
  void indexDictionary(Record& dictionary);
  void checkReference(const OpenContainer& parent, Record& child);
  void count(const Record& scalar);
  [[nodiscard]] Record& childAt(const Record& container, std::size_t index);

  std::string_view bytes_;
  PropertyListTree& tree_;
  std::unique_ptr<Record[]> objects_;
  std::size_t objectCount_ = 0;
  std::size_t rootIndex_ = 0;
  std::size_t tableOffset_ = 0;
  unsigned offsetSize_ = 0;
  unsigned referenceSize_ = 0;
  std::vector<OpenContainer> open_;
  std::size_t expandedBytes_ = 0;
};

void BinaryPropertyListReader::read() {
  readTrailer();
  readObjects();
  checkTree();
  tree_.setObjects(std::move(objects_), rootIndex_, referenceSize_);
}

void BinaryPropertyListReader::readTrailer() {
  if (!bytes_.starts_with(kHeader)) fail("the version of the binary list is not supported", 0);
  if (bytes_.size() < kHeader.size() + 1 + kTrailerSize) fail("the binary list is truncated", bytes_.size());
  const std::size_t trailer = bytes_.size() - kTrailerSize;
  offsetSize_ = byteAt(trailer + 6);
  referenceSize_ = byteAt(trailer + 7);
  if (offsetSize_ < 1 || offsetSize_ > 8) fail("the trailer's offset size is out of range", trailer + 6);
  if (referenceSize_ < 1 || referenceSize_ > 8) fail("the trailer's reference size is out of range", trailer + 7);
  const std::uint64_t objectCount = numberAt(trailer + 8, 8);
  const std::uint64_t root = numberAt(trailer + 16, 8);
  const std::uint64_t table = numberAt(trailer + 24, 8);
  if (table <= kHeader.size() || table >= trailer) fail("the trailer's table offset is out of range", trailer + 24);
  // Each object has an entry in the table, and the table ends where the trailer begins.
  if (objectCount != (trailer - table) / offsetSize_ || (trailer - table) % offsetSize_ != 0) {
    fail("the trailer's object count does not match the table", trailer + 8);
  }
  if (root >= objectCount) fail("the trailer's root object does not exist", trailer + 16);
  objectCount_ = objectCount;
  rootIndex_ = root;
  tableOffset_ = table;
}

void BinaryPropertyListReader::readObjects() {
  // Every object takes a byte of its own, which keeps the records in proportion to the file.
  if (objectCount_ > tableOffset_ - kHeader.size()) fail("there are more objects than bytes for them", tableOffset_);
  objects_ = std::make_unique<Record[]>(objectCount_);
  if (readObjectsInOrder()) return;
  // Decoding comes after the check, so that overlapping strings are not decoded again and again.
  checkOverlaps();
  for (std::size_t i = 0; i < objectCount_; ++i) {
    const std::size_t offset = objectOffset(i);
    objects_[i] = recordOf(offset, extentOf(offset));
  }
}

/// Reads the objects of a list whose table is sorted, as it is from every usual writer. Returns false, having read
/// some, when an object begins before the end of the one that precedes it in the table.
bool BinaryPropertyListReader::readObjectsInOrder() {
  std::size_t previousEnd = kHeader.size();
  for (std::size_t i = 0; i < objectCount_; ++i) {
    const std::size_t offset = objectOffset(i);
    if (offset < previousEnd) return false;
    const Extent extent = extentOf(offset);
    objects_[i] = recordOf(offset, extent);
    previousEnd = extent.end;
  }
  return true;
}

std::size_t BinaryPropertyListReader::objectOffset(std::size_t index) const {
  const std::size_t entry = tableOffset_ + index * offsetSize_;
  const std::uint64_t offset = numberAt(entry, offsetSize_);
  if (offset < kHeader.size() || offset >= tableOffset_) fail("an object's offset is out of range", entry);
  return offset;
}

Extent BinaryPropertyListReader::extentOf(std::size_t offset) const {
  const unsigned marker = byteAt(offset);
  const auto fixed = [&](std::size_t size) -> Extent { return {offset + 1, size, offset + 1 + size}; };
  Extent extent{};
  switch (marker >> 4) {
    case kSimple:
      extent = fixed(0);
      break;
    case kInteger:
    case kReal:
    case kDate:
      if ((marker & 15) > 4) fail("a number's size is not supported", offset);
      extent = fixed(std::size_t{1} << (marker & 15));
      break;
    case kData:
    case kASCIIString:
      extent = countedExtent(offset, 1);
      break;
    case kUTF16String:
      extent = countedExtent(offset, 2);
      break;
    case kArray:
      extent = countedExtent(offset, referenceSize_);
      break;
    case kDictionary:
      extent = countedExtent(offset, std::size_t{2} * referenceSize_);
      break;
    case kUID:
      fail("UID objects are not supported", offset);
    case kSet:
      fail("sets are not supported", offset);
    default:
      fail("the object's type is not known", offset);
  }
  if (extent.end > tableOffset_) fail("the object is truncated", offset);
  return extent;
}

/// The count is in the marker, or after 15 in an integer object that follows.
Extent BinaryPropertyListReader::countedExtent(std::size_t offset, std::size_t unitSize) const {
  std::size_t begin = offset + 1;
  std::uint64_t count = byteAt(offset) & 15;
  if (count == 15) {
    const unsigned marker = byteAt(begin);
    if (begin >= tableOffset_ || marker >> 4 != kInteger || (marker & 15) > 3) fail("a count is expected", begin);
    const unsigned size = 1U << (marker & 15);
    count = numberAt(begin + 1, size);
    begin += 1 + size;
  }
  if (begin > tableOffset_ || count > (tableOffset_ - begin) / unitSize) fail("the count exceeds the file", offset);
  return {begin, count, begin + count * unitSize};
}

void BinaryPropertyListReader::checkOverlaps() const {
  std::vector<std::pair<std::uint32_t, std::uint32_t>> extents(objectCount_);
  for (std::size_t i = 0; i < objectCount_; ++i) {
    const std::size_t offset = objectOffset(i);
    extents[i] = {static_cast<std::uint32_t>(offset), static_cast<std::uint32_t>(extentOf(offset).end)};
  }
  std::sort(extents.begin(), extents.end());
  for (std::size_t i = 1; i < extents.size(); ++i) {
    if (extents[i].first < extents[i - 1].second) fail("objects overlap", extents[i].first);
  }
}

Record BinaryPropertyListReader::recordOf(std::size_t offset, const Extent& extent) {
  const char* const content = bytes_.data() + extent.begin;
  switch (byteAt(offset) >> 4) {
    case kInteger:
      return integerRecord(offset, extent);
    case kReal:
      if (extent.count != 4 && extent.count != 8) fail("a real's size is not supported", offset);
      return Record::ofReal(realAt(extent));
    case kDate:
      return dateRecord(offset, extent);
    case kData:
      return Record::ofText(PropertyListType::data, {content, extent.count});
    case kASCIIString:
    case kUTF16String:
      return stringRecord(offset, extent);
    case kArray:
      return Record::ofChildren(PropertyListType::array, content, extent.count);
    case kDictionary:
      return Record::ofChildren(PropertyListType::dictionary, content, extent.count);
    default:
      return simpleRecord(offset);
  }
}

Record BinaryPropertyListReader::simpleRecord(std::size_t offset) const {
  const unsigned marker = byteAt(offset);
  if (marker != 0x08 && marker != 0x09) fail("the object is neither true nor false", offset);
  return Record::ofInteger(PropertyListType::boolean, marker == 0x09 ? 1 : 0);
}

/// Integers of one, two and four bytes are unsigned, those of eight and sixteen signed.
Record BinaryPropertyListReader::integerRecord(std::size_t offset, const Extent& extent) const {
  const auto low = static_cast<unsigned>(std::min<std::size_t>(extent.count, 8));
  const auto value = static_cast<std::int64_t>(numberAt(extent.end - low, low));
  if (extent.count == 16) {
    const auto high = static_cast<std::int64_t>(numberAt(extent.begin, 8));
    if (high != (value < 0 ? -1 : 0)) fail("an integer does not fit 64 bits", offset);
  }
  return Record::ofInteger(PropertyListType::integer, value);
}

double BinaryPropertyListReader::realAt(const Extent& extent) const noexcept {
  if (extent.count == 4) return std::bit_cast<float>(static_cast<std::uint32_t>(numberAt(extent.begin, 4)));
  return std::bit_cast<double>(numberAt(extent.begin, 8));
}

Record BinaryPropertyListReader::dateRecord(std::size_t offset, const Extent& extent) const {
  using std::chrono::microseconds;
  static constexpr double kMicroseconds = 1e6;
  static constexpr double kLimitSeconds = 9e12;
  if (extent.count != 8) fail("a date's size is not supported", offset);
  const double seconds = realAt(extent);
  if (!(std::abs(seconds) < kLimitSeconds)) fail("a date is out of range", offset);
  // In two parts: the product of both together is not exact.
  const double whole = std::floor(seconds);
  const auto point = kReferenceDate + std::chrono::seconds(static_cast<std::int64_t>(whole)) +
                     microseconds(std::llround((seconds - whole) * kMicroseconds));
  return Record::ofInteger(PropertyListType::date, point.time_since_epoch().count());
}

Record BinaryPropertyListReader::stringRecord(std::size_t offset, const Extent& extent) {
  const std::string_view content = bytes_.substr(extent.begin, extent.end - extent.begin);
  if (byteAt(offset) >> 4 == kASCIIString) {
    if (!isASCII(content)) fail("an ASCII string holds other characters", offset);
    return Record::ofText(PropertyListType::string, content);
  }
  const auto decoded = utf8FromUTF16(content, ByteOrder::bigEndian, tree_.arena);
  if (!decoded) fail("a string is not UTF-16", offset);
  if (decoded->size() >= kPropertyListSizeLimit) fail("a string is too long", offset);
  return Record::ofText(PropertyListType::string, *decoded);
}

/// Checks everything that the root leads to: references, keys, depth, and that containers form a tree.
void BinaryPropertyListReader::checkTree() {
  Record& root = objects_[rootIndex_];
  root.isReferenced = true;
  if (root.type == PropertyListType::array || root.type == PropertyListType::dictionary) enter(root);
  while (!open_.empty()) {
    OpenContainer& parent = open_.back();
    const Record& container = *parent.record;
    const bool isDictionary = container.type == PropertyListType::dictionary;
    const std::size_t end = isDictionary ? std::size_t{2} * container.size : container.size;
    Record* entered = nullptr;
    while (parent.nextChild < end && entered == nullptr) {
      Record& child = childAt(container, parent.nextChild++);
      if (child.type < PropertyListType::array) {
        count(child);
      } else if (child.size > 0) {
        checkReference(parent, child);
        entered = &child;
      }
    }
    if (entered != nullptr) {
      enter(*entered);
    } else {
      open_.pop_back();
    }
  }
}

void BinaryPropertyListReader::enter(Record& container) {
  if (open_.size() == kPropertyListDepthLimit) {
    fail("values are nested more than 512 deep", offsetOf(container.children));
  }
  const bool isDictionary = container.type == PropertyListType::dictionary;
  open_.push_back({&container, isDictionary ? container.size : 0});
  if (isDictionary) checkKeys(container);
}

void BinaryPropertyListReader::checkKeys(Record& dictionary) {
  for (std::size_t i = 0; i < dictionary.size; ++i) {
    const Record& key = childAt(dictionary, i);
    if (key.type != PropertyListType::string) fail("a key is not a string", offsetOf(dictionary.children));
    count(key);
  }
  if (dictionary.size > kPropertyListLinearSearchLimit) {
    indexDictionary(dictionary);
  } else if (haveDuplicateKey(dictionary.size, [&](std::size_t i) { return childAt(dictionary, i).string(); })) {
    fail("a dictionary has the same key twice", offsetOf(dictionary.children));
  }
}

void BinaryPropertyListReader::indexDictionary(Record& dictionary) {
  const auto keyAt = [&](std::size_t index) { return childAt(dictionary, index).string(); };
  const std::span<std::uint32_t> sorted(tree_.arena.allocate<std::uint32_t>(dictionary.size), dictionary.size);
  std::iota(sorted.begin(), sorted.end(), 0U);
  sortByKey(sorted, keyAt);
  if (haveEqualNeighbours(sorted, keyAt)) {
    fail("a dictionary has the same key twice", offsetOf(dictionary.children));
  }
  auto* const indexed = tree_.arena.allocate<PropertyListIndexedChildren>(1);
  *indexed = {dictionary.children, sorted.data()};
  dictionary.indexed = indexed;
  dictionary.isIndexed = true;
}

/// Without this a small file whose arrays all refer to the same arrays would stand for an endless number of values.
void BinaryPropertyListReader::checkReference(const OpenContainer& parent, Record& child) {
  if (!child.isReferenced) {
    child.isReferenced = true;
    return;
  }
  const auto isChild = [&](const OpenContainer& container) { return container.record == &child; };
  const bool isCycle = std::any_of(open_.begin(), open_.end(), isChild);
  const Record& container = *parent.record;
  fail(isCycle ? "a container holds itself" : "a container is in more than one place",
       offsetOf(container.isIndexed ? container.indexed->children : container.children));
}

void BinaryPropertyListReader::count(const Record& scalar) {
  if (scalar.size == 0) return;
  expandedBytes_ += scalar.size;
  if (expandedBytes_ > bytes_.size() * kExpansionLimit + kExpansionForSmallFiles) {
    fail("strings are referred to too often", tableOffset_);
  }
}

Record& BinaryPropertyListReader::childAt(const Record& container, std::size_t index) {
  const void* const children = container.isIndexed ? container.indexed->children : container.children;
  const char* const reference = static_cast<const char*>(children) + index * referenceSize_;
  const std::uint64_t object = PropertyListTree::bigEndian(reference, referenceSize_);
  if (object >= objectCount_) fail("a reference leads to no object", offsetOf(reference));
  return objects_[object];
}

}  // namespace

void readBinaryPropertyList(std::string_view bytes, PropertyListTree& tree) {
  BinaryPropertyListReader(bytes, tree).read();
}

bool isBinaryPropertyList(std::string_view bytes) noexcept {
  return bytes.starts_with(kMagic);
}

}  // namespace quillon
