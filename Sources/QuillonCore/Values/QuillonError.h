#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

namespace quillon {

/// Something failed. `what()` is a text for logs and reports, not for users.
class QuillonError : public std::exception {
 public:
  explicit QuillonError(std::string description) : description_(std::move(description)) {}

  [[nodiscard]] const char* what() const noexcept override { return description_.c_str(); }
  [[nodiscard]] const std::string& description() const noexcept { return description_; }

 private:
  std::string description_;
};

/// A failed system call or platform error.
class QuillonSystemError : public QuillonError {
 public:
  /// Domain of the error numbers of `errno`.
  static constexpr std::string_view kPOSIXDomain = "POSIX";

  QuillonSystemError(std::string domain, std::int64_t code, std::string description);

  /// The error `code` of `errno`, met while doing `action` on `subject`:
  /// "Cannot rename /a/b: Permission denied (EACCES)".
  static QuillonSystemError posix(int code, std::string_view action, std::string_view subject);

  [[nodiscard]] const std::string& domain() const noexcept { return domain_; }
  [[nodiscard]] std::int64_t code() const noexcept { return code_; }
  /// Whether this is the POSIX error `code`.
  [[nodiscard]] bool isPOSIX(int code) const noexcept { return domain_ == kPOSIXDomain && code_ == code; }

 private:
  std::string domain_;
  std::int64_t code_;
};

/// The surrounding operation was cancelled. Deliberately not a QuillonError: nobody who handles failures catches it.
class QuillonCancellationError : public std::exception {
 public:
  [[nodiscard]] const char* what() const noexcept override { return "The operation was cancelled."; }
};

}  // namespace quillon
