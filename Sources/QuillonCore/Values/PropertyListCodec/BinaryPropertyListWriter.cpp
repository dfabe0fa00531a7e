#include <bit>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "QuillonCore/Values/PropertyListCodec/PropertyListText.h"
#include "QuillonCore/Values/PropertyListCodec/PropertyListTree.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {
namespace {

using Value = QuillonPropertyListValue;

constexpr std::size_t kReservedTrailerBytes = 6;

/// Bytes of the smallest size of the format that hold `number`.
unsigned sizeOf(std::uint64_t number) noexcept {
  if (number <= 0xFF) return 1;
  if (number <= 0xFFFF) return 2;
  return number <= 0xFFFFFFFF ? 4 : 8;
}

/// Numbers the values first, since a container comes before what it refers to, and then encodes them in that order.
class BinaryPropertyListWriter {
 public:
  [[nodiscard]] std::string write(const Value& value) {
    add(value);
    referenceSize_ = sizeOf(objects_.size() - 1);
    bytes_ = "bplist00";
    for (const Object& object : objects_) {
      offsets_.push_back(bytes_.size());
      encode(object);
    }
    appendTableAndTrailer();
    return std::move(bytes_);
  }

 private:
  struct Object {
    const Value* value;       // null for a string
    std::string_view string;  // key or string value
    std::size_t firstReference = 0;
  };

  std::size_t add(const Value& value);
  std::size_t addString(std::string_view string);
  void addElements(std::size_t object, const Value::Array& array);
  void addEntries(std::size_t object, const Value::Dictionary& dictionary);
  void reserveReferences(std::size_t object, std::size_t count);

  void encode(const Object& object);
  void encodeInteger(std::int64_t value);
  void encodeString(std::string_view string);
  void encodeDate(QuillonPropertyListDate date);
  void encodeReal(unsigned marker, double value);
  void encodeContainer(unsigned kind, std::size_t count, std::size_t firstReference, std::size_t references);
  void appendMarker(unsigned kind, std::size_t count);
  void appendTableAndTrailer();
  void appendNumber(std::uint64_t number, unsigned size) {
    for (unsigned i = size; i-- > 0;) bytes_ += static_cast<char>(number >> (8 * i) & 0xFF);
  }

  std::vector<Object> objects_;
  std::vector<std::size_t> references_;
  std::unordered_map<std::string_view, std::size_t> strings_;
  std::vector<std::size_t> offsets_;
  std::string bytes_;
  unsigned referenceSize_ = 0;
  std::size_t depth_ = 0;
};

std::size_t BinaryPropertyListWriter::add(const Value& value) {
  if (const auto* string = value.getIf<std::string>()) return addString(*string);
  const std::size_t object = objects_.size();
  objects_.push_back({&value, {}});
  const auto* array = value.getIf<Value::Array>();
  const auto* dictionary = value.getIf<Value::Dictionary>();
  if (array == nullptr && dictionary == nullptr) return object;
  if (depth_ == kPropertyListDepthLimit) {
    throw QuillonPropertyListError("Cannot write the property list: values are nested more than 512 deep");
  }
  ++depth_;
  if (array != nullptr) addElements(object, *array);
  if (dictionary != nullptr) addEntries(object, *dictionary);
  --depth_;
  return object;
}

std::size_t BinaryPropertyListWriter::addString(std::string_view string) {
  const auto [found, isNew] = strings_.try_emplace(string, objects_.size());
  if (isNew) objects_.push_back({nullptr, string});
  return found->second;
}

void BinaryPropertyListWriter::addElements(std::size_t object, const Value::Array& array) {
  reserveReferences(object, array.size());
  std::size_t next = objects_[object].firstReference;
  for (const Value& element : array) {
    const std::size_t reference = add(element);
    references_[next++] = reference;
  }
}

void BinaryPropertyListWriter::addEntries(std::size_t object, const Value::Dictionary& dictionary) {
  reserveReferences(object, 2 * dictionary.size());
  std::size_t next = objects_[object].firstReference;
  for (const auto& entry : dictionary) references_[next++] = addString(entry.first);
  for (const auto& entry : dictionary) {
    const std::size_t reference = add(entry.second);
    references_[next++] = reference;
  }
}

/// References of one container lie together although those of its children are added meanwhile.
void BinaryPropertyListWriter::reserveReferences(std::size_t object, std::size_t count) {
  objects_[object].firstReference = references_.size();
  references_.resize(references_.size() + count);
}

void BinaryPropertyListWriter::encode(const Object& object) {
  if (object.value == nullptr) return encodeString(object.string);
  const Value& value = *object.value;
  if (const auto* boolean = value.getIf<bool>()) {
    bytes_ += *boolean ? '\x09' : '\x08';
  } else if (const auto* integer = value.getIf<std::int64_t>()) {
    encodeInteger(*integer);
  } else if (const auto* real = value.getIf<double>()) {
    encodeReal(0x23, *real);
  } else if (const auto* data = value.getIf<QuillonPropertyListData>()) {
    appendMarker(0x4, data->bytes.size());
    bytes_.append(data->bytes.begin(), data->bytes.end());
  } else if (const auto* date = value.getIf<QuillonPropertyListDate>()) {
    encodeDate(*date);
  } else if (const auto* array = value.getIf<Value::Array>()) {
    encodeContainer(0xA, array->size(), object.firstReference, array->size());
  } else if (const auto* dictionary = value.getIf<Value::Dictionary>()) {
    encodeContainer(0xD, dictionary->size(), object.firstReference, 2 * dictionary->size());
  }
}

/// Only integers of eight bytes have a sign.
void BinaryPropertyListWriter::encodeInteger(std::int64_t value) {
  const unsigned size = sizeOf(static_cast<std::uint64_t>(value));
  bytes_ += static_cast<char>(0x10 + std::countr_zero(size));
  appendNumber(static_cast<std::uint64_t>(value), size);
}

void BinaryPropertyListWriter::encodeString(std::string_view string) {
  if (isASCII(string)) {
    appendMarker(0x5, string.size());
    bytes_.append(string);
    return;
  }
  if (firstByteNotUTF8(string)) throw QuillonPropertyListError("Cannot write the property list: a string is not UTF-8");
  std::string encoded;
  const std::size_t units = appendUTF16BigEndian(encoded, string);
  appendMarker(0x6, units);
  bytes_.append(encoded);
}

void BinaryPropertyListWriter::encodeDate(QuillonPropertyListDate date) {
  static constexpr std::chrono::sys_days kReferenceDate{std::chrono::year(2001) / 1 / 1};
  const std::chrono::duration<double> seconds = date - kReferenceDate;
  encodeReal(0x33, seconds.count());
}

void BinaryPropertyListWriter::encodeReal(unsigned marker, double value) {
  static_assert(std::numeric_limits<double>::is_iec559);
  bytes_ += static_cast<char>(marker);
  appendNumber(std::bit_cast<std::uint64_t>(value), 8);
}

void BinaryPropertyListWriter::encodeContainer(unsigned kind, std::size_t count, std::size_t firstReference,
                                               std::size_t references) {
  appendMarker(kind, count);
  for (std::size_t i = 0; i < references; ++i) appendNumber(references_[firstReference + i], referenceSize_);
}

void BinaryPropertyListWriter::appendMarker(unsigned kind, std::size_t count) {
  if (count < 15) {
    bytes_ += static_cast<char>(kind << 4 | count);
  } else {
    bytes_ += static_cast<char>(kind << 4 | 15);
    encodeInteger(static_cast<std::int64_t>(count));
  }
}

void BinaryPropertyListWriter::appendTableAndTrailer() {
  const std::size_t table = bytes_.size();
  const unsigned offsetSize = sizeOf(table);
  for (const std::size_t offset : offsets_) appendNumber(offset, offsetSize);
  bytes_.append(kReservedTrailerBytes, '\0');
  appendNumber(offsetSize, 1);
  appendNumber(referenceSize_, 1);
  appendNumber(objects_.size(), 8);
  appendNumber(0, 8);  // the root is the first object
  appendNumber(table, 8);
}

}  // namespace

std::string writeBinaryPropertyList(const QuillonPropertyListValue& value) {
  return BinaryPropertyListWriter().write(value);
}

}  // namespace quillon
