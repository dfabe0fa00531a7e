#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

namespace quillon {

/// Owns a reference of Core Foundation (CFStringRef, CFErrorRef, …); none is null.
template <typename Reference>
class QuillonCoreFoundationReference {
 public:
  QuillonCoreFoundationReference() = default;
  /// Takes over a reference that the caller owns, as a function with "Create" or "Copy" in its name returns.
  [[nodiscard]] static QuillonCoreFoundationReference adopt(Reference reference) noexcept {
    return QuillonCoreFoundationReference(reference);
  }

  QuillonCoreFoundationReference(QuillonCoreFoundationReference&& other) noexcept
      : reference_(std::exchange(other.reference_, nullptr)) {}
  QuillonCoreFoundationReference& operator=(QuillonCoreFoundationReference&& other) noexcept {
    std::swap(reference_, other.reference_);
    return *this;
  }
  QuillonCoreFoundationReference(const QuillonCoreFoundationReference&) = delete;
  QuillonCoreFoundationReference& operator=(const QuillonCoreFoundationReference&) = delete;
  ~QuillonCoreFoundationReference() {
    if (reference_ != nullptr) CFRelease(reference_);
  }

  [[nodiscard]] Reference get() const noexcept { return reference_; }
  [[nodiscard]] explicit operator bool() const noexcept { return reference_ != nullptr; }

 private:
  explicit QuillonCoreFoundationReference(Reference reference) noexcept : reference_(reference) {}

  Reference reference_ = nullptr;
};

}  // namespace quillon
