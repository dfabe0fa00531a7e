#include "QuillonCore/Runtime/Apple/QuillonAppleUserDefaults.h"

#import <Foundation/Foundation.h>

#include <cerrno>
#include <string>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#import "QuillonCore/Runtime/Apple/QuillonObjectReference.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonCore/Values/QuillonPropertyListDocument.h"

namespace quillon {
namespace {

using Reference = QuillonObjectReference<NSUserDefaults>;

/// None for what names no store.
Reference defaultsOf(std::string_view bundleIdentifier) {
  @autoreleasepool {
    NSString* const identifier = toNSString(bundleIdentifier);
    if ([identifier length] == 0 || bundleIdentifier.find('/') != std::string_view::npos) return {};
    // The process's own settings are no suite: asked for as one, they are nil.
    if ([identifier isEqualToString:[[NSBundle mainBundle] bundleIdentifier]]) {
      return Reference::retain([NSUserDefaults standardUserDefaults]);
    }
    return Reference::adopt([[NSUserDefaults alloc] initWithSuiteName:identifier]);
  }
}

/// Throws QuillonPropertyListError for what no property list holds.
void requireStorable(const QuillonPropertyListValue& value, std::string_view key) {
  const std::string bytes = writeBinaryPropertyList(
      QuillonPropertyListValue(QuillonPropertyListValue::Dictionary{{std::string(key), value}}));
  (void)QuillonPropertyListDocument::borrowing(bytes);
}

}  // namespace

struct QuillonAppleUserDefaults::Defaults {
  Reference reference;
};

QuillonAppleUserDefaults::QuillonAppleUserDefaults(std::string_view bundleIdentifier)
    : defaults_(new Defaults{.reference = defaultsOf(bundleIdentifier)}) {
  if (!defaults_->reference) throw QuillonSystemError::posix(EINVAL, "find the settings of", bundleIdentifier);
}

QuillonAppleUserDefaults::~QuillonAppleUserDefaults() = default;

bool QuillonAppleUserDefaults::boolForKey(std::string_view key) const {
  @autoreleasepool {
    NSString* const name = toNSString(key);
    return name != nil && [defaults_->reference.get() boolForKey:name] == YES;
  }
}

std::optional<std::string> QuillonAppleUserDefaults::stringForKey(std::string_view key) const {
  @autoreleasepool {
    NSString* const name = toNSString(key);
    return name == nil ? std::nullopt : fromNSString([defaults_->reference.get() stringForKey:name]);
  }
}

std::int64_t QuillonAppleUserDefaults::integerForKey(std::string_view key) const {
  @autoreleasepool {
    NSString* const name = toNSString(key);
    return name == nil ? 0 : [defaults_->reference.get() integerForKey:name];
  }
}

double QuillonAppleUserDefaults::doubleForKey(std::string_view key) const {
  @autoreleasepool {
    NSString* const name = toNSString(key);
    return name == nil ? 0 : [defaults_->reference.get() doubleForKey:name];
  }
}

std::optional<QuillonPropertyListValue> QuillonAppleUserDefaults::objectForKey(std::string_view key) const {
  @autoreleasepool {
    NSString* const name = toNSString(key);
    return name == nil ? std::nullopt : fromPropertyListObject([defaults_->reference.get() objectForKey:name]);
  }
}

void QuillonAppleUserDefaults::set(const std::optional<QuillonPropertyListValue>& value, std::string_view key) {
  if (!value) return removeObject(key);
  requireStorable(*value, key);
  @autoreleasepool {
    [defaults_->reference.get() setObject:toPropertyListObject(*value) forKey:toNSString(key)];
  }
}

void QuillonAppleUserDefaults::removeObject(std::string_view key) {
  @autoreleasepool {
    NSString* const name = toNSString(key);
    if (name != nil) [defaults_->reference.get() removeObjectForKey:name];
  }
}

}  // namespace quillon
