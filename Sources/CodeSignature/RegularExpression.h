#pragma once

#include <memory>
#include <string>
#include <vector>

namespace quillon {

/// A POSIX extended regular expression over bytes, whatever the process's locale, made for asking many short texts.
/// Texts that lack a literal which every match contains are turned down without running the automaton.
class RegularExpression {
 public:
  /// Throws CodeSignatureError(invalidResourceRules) for what does not compile, is longer than 512 bytes, or has
  /// repetition counts, back references, or many `+` around each other, which can take exponential time or memory.
  explicit RegularExpression(const std::string& pattern);
  ~RegularExpression();
  RegularExpression(RegularExpression&&) noexcept;
  RegularExpression& operator=(RegularExpression&&) noexcept;

  /// Whether the expression matches anywhere in `text`.
  [[nodiscard]] bool matches(const std::string& text) const;

 private:
  struct Compiled;
  std::unique_ptr<Compiled> compiled_;
};

}  // namespace quillon
