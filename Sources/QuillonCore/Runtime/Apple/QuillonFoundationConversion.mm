#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"

#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#import "QuillonCore/Runtime/Apple/QuillonObjectReference.h"

namespace quillon {
namespace {

using Value = QuillonPropertyListValue;

id objectOf(const Value& value, int depth) noexcept;

NSArray* arrayOf(const Value::Array& values, int depth) noexcept {
  NSMutableArray* const array = [NSMutableArray arrayWithCapacity:values.size()];
  for (const Value& value : values) {
    id const object = objectOf(value, depth + 1);
    if (object == nil) return nil;
    [array addObject:object];
  }
  return array;
}

NSDictionary* dictionaryOf(const Value::Dictionary& entries, int depth) noexcept {
  NSMutableDictionary* const dictionary = [NSMutableDictionary dictionaryWithCapacity:entries.size()];
  for (const auto& [key, value] : entries) {
    NSString* const name = toNSString(key);
    id const object = objectOf(value, depth + 1);
    if (name == nil || object == nil) return nil;
    [dictionary setObject:object forKey:name];
  }
  return dictionary;
}

NSDate* dateOf(QuillonPropertyListDate date) noexcept {
  const std::chrono::duration<double> seconds = date.time_since_epoch();
  return [NSDate dateWithTimeIntervalSince1970:seconds.count()];
}

id objectOf(const Value& value, int depth) noexcept {
  if (depth > kDeepestFoundationConversion) return nil;
  if (const auto* const boolean = value.getIf<bool>()) return [NSNumber numberWithBool:*boolean];
  if (const auto* const integer = value.getIf<std::int64_t>()) return [NSNumber numberWithLongLong:*integer];
  if (const auto* const real = value.getIf<double>()) return [NSNumber numberWithDouble:*real];
  if (const auto* const text = value.getIf<std::string>()) return toNSString(*text);
  if (const auto* const date = value.getIf<QuillonPropertyListDate>()) return dateOf(*date);
  if (const auto* const array = value.getIf<Value::Array>()) return arrayOf(*array, depth);
  if (const auto* const entries = value.getIf<Value::Dictionary>()) return dictionaryOf(*entries, depth);
  const auto& bytes = value.getIf<QuillonPropertyListData>()->bytes;
  return [NSData dataWithBytes:bytes.data() length:bytes.size()];
}

std::optional<Value> valueOf(id object, int depth);

std::optional<Value> numberValue(NSNumber* number) {
  if (CFGetTypeID((__bridge CFTypeRef)number) == CFBooleanGetTypeID()) return Value([number boolValue] == YES);
  if (CFNumberIsFloatType((__bridge CFNumberRef)number)) return Value([number doubleValue]);
  const std::int64_t integer = [number longLongValue];
  // An unsigned number beyond the signed ones comes out negative, and compares as larger.
  if (integer < 0 && [number compare:[NSNumber numberWithLongLong:0]] == NSOrderedDescending) return std::nullopt;
  return Value(integer);
}

std::optional<Value> dateValue(NSDate* date) {
  static constexpr double kEnd = 9223372036854775808.0;  // 2^63, the first one too large
  const double microseconds = std::round([date timeIntervalSince1970] * 1e6);
  if (!(microseconds >= -kEnd && microseconds < kEnd)) return std::nullopt;
  return Value(QuillonPropertyListDate(std::chrono::microseconds(static_cast<std::int64_t>(microseconds))));
}

std::optional<Value> arrayValue(NSArray* array, int depth) {
  Value::Array values;
  values.reserve([array count]);
  for (id object in array) {
    auto value = valueOf(object, depth + 1);
    if (!value) return std::nullopt;
    values.push_back(*std::move(value));
  }
  return Value(std::move(values));
}

std::optional<Value::Dictionary> entriesOf(NSDictionary* dictionary, int depth) {
  Value::Dictionary entries;
  for (id key in dictionary) {
    if (![key isKindOfClass:[NSString class]]) return std::nullopt;
    auto name = fromNSString(key);
    auto value = valueOf([dictionary objectForKey:key], depth + 1);
    if (!name || !value) return std::nullopt;
    entries.emplace(*std::move(name), *std::move(value));
  }
  return entries;
}

std::optional<Value> valueOf(id object, int depth) {
  if (depth > kDeepestFoundationConversion) return std::nullopt;
  if ([object isKindOfClass:[NSString class]]) {
    auto text = fromNSString(object);
    return text ? std::optional(Value(*std::move(text))) : std::nullopt;
  }
  if ([object isKindOfClass:[NSNumber class]]) return numberValue(object);
  if ([object isKindOfClass:[NSDate class]]) return dateValue(object);
  if ([object isKindOfClass:[NSArray class]]) return arrayValue(object, depth);
  if ([object isKindOfClass:[NSDictionary class]]) {
    auto entries = entriesOf(object, depth);
    return entries ? std::optional(Value(*std::move(entries))) : std::nullopt;
  }
  if ([object isKindOfClass:[NSData class]]) {
    const auto* const bytes = static_cast<const std::uint8_t*>([object bytes]);
    return Value(QuillonPropertyListData{.bytes = {bytes, bytes + [static_cast<NSData*>(object) length]}});
  }
  return std::nullopt;
}

}  // namespace

NSString* toNSString(std::string_view text) noexcept {
  return autoreleased([[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSUTF8StringEncoding]);
}

std::optional<std::string> fromNSString(NSString* text) {
  // Nil, unlike the result of UTF8String, for what cannot be encoded, and whole with a NUL inside.
  NSData* const bytes = [text dataUsingEncoding:NSUTF8StringEncoding];
  if (bytes == nil) return std::nullopt;
  return std::string(static_cast<const char*>([bytes bytes]), [bytes length]);
}

NSURL* toNSURL(const QuillonURL& url) noexcept {
  NSString* const text = toNSString(url.isFileURL() ? url.path() : url.absoluteString());
  if (text == nil) return nil;
  // Told that it is no folder, Foundation neither looks at the disk nor adds a slash.
  if (url.isFileURL()) return [NSURL fileURLWithPath:text isDirectory:NO];
  return [NSURL URLWithString:text];
}

std::optional<QuillonURL> fromNSURL(NSURL* url) {
  const auto text = fromNSString([url isFileURL] ? [url path] : [url absoluteString]);
  if (!text) return std::nullopt;
  return [url isFileURL] ? QuillonURL::fileURL(*text) : QuillonURL::parse(*text);
}

id toPropertyListObject(const QuillonPropertyListValue& value) noexcept { return objectOf(value, 0); }

NSDictionary* toNSDictionary(const QuillonPropertyListValue::Dictionary& dictionary) noexcept {
  return dictionaryOf(dictionary, 0);
}

std::optional<QuillonPropertyListValue> fromPropertyListObject(id object) { return valueOf(object, 0); }

std::optional<QuillonPropertyListValue::Dictionary> fromNSDictionary(NSDictionary* dictionary) {
  if (dictionary == nil) return std::nullopt;
  return entriesOf(dictionary, 0);
}

}  // namespace quillon
