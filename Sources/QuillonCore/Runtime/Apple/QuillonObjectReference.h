#pragma once

#import <Foundation/Foundation.h>

#include <utility>

namespace quillon {

// For .mm files, which are right with automatic reference counting and without it. What is made here does other things
// in the two, so that it has other names there: a program may link both.
#if __has_feature(objc_arc)
inline namespace AutomaticReferenceCounting {
#else
inline namespace ManualReferenceCounting {
#endif

/// `object`, which its caller owns (from alloc, copy or a function of Core Foundation), given to the autorelease pool.
template <typename Object>
[[nodiscard]] Object* autoreleased(Object* object) noexcept {
#if __has_feature(objc_arc)
  return object;
#else
  return [object autorelease];
#endif
}

/// Owns a reference to an object of the runtime from C++; none is nil.
template <typename Object>
class QuillonObjectReference {
 public:
  QuillonObjectReference() = default;
  /// Keeps `object` alive beside its other owners.
  [[nodiscard]] static QuillonObjectReference retain(Object* object) noexcept {
#if !__has_feature(objc_arc)
    [object retain];
#endif
    return QuillonObjectReference(object);
  }
  /// Takes over a reference that the caller owns, as from alloc or copy.
  [[nodiscard]] static QuillonObjectReference adopt(Object* object) noexcept { return QuillonObjectReference(object); }

  QuillonObjectReference(const QuillonObjectReference& other) noexcept
      : QuillonObjectReference(retain(other.object_)) {}
  QuillonObjectReference(QuillonObjectReference&& other) noexcept : object_(std::exchange(other.object_, nil)) {}
  QuillonObjectReference& operator=(QuillonObjectReference other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~QuillonObjectReference() {
#if !__has_feature(objc_arc)
    [object_ release];
#endif
  }

  [[nodiscard]] Object* get() const noexcept { return object_; }
  [[nodiscard]] explicit operator bool() const noexcept { return object_ != nil; }

 private:
  explicit QuillonObjectReference(Object* object) noexcept : object_(object) {}

  Object* object_ = nil;
};

}  // inline namespace

}  // namespace quillon
