#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

/// An option that a subcommand knows.
struct QuillonToolOption {
  enum class Kind : std::uint8_t {
    flag,
    withValue,
    withValues,  ///< may be given several times
  };

  std::string_view name;
  Kind kind = Kind::flag;
};

/// The words after a subcommand: options, and operands between them.
///
/// The value of an option is the next word, which must not begin with "--", or stands after "=" in the same word. After
/// "--" every word is an operand; "-" is one everywhere.
class QuillonToolArguments {
 public:
  /// Throws QuillonToolUsageError for unknown options, options given twice, and values that are missing or too many.
  [[nodiscard]] static QuillonToolArguments parse(std::span<const std::string> words,
                                                  std::span<const QuillonToolOption> options);

  [[nodiscard]] bool has(std::string_view option) const { return values_.contains(option); }
  [[nodiscard]] std::optional<std::string> value(std::string_view option) const;
  /// The values of an option that may be given several times, in their order.
  [[nodiscard]] const std::vector<std::string>& values(std::string_view option) const;
  /// Throws QuillonToolUsageError when the option was not given.
  [[nodiscard]] const std::string& requiredValue(std::string_view option) const;
  /// The operands, one for each of `names`. Throws QuillonToolUsageError when there are fewer or more.
  [[nodiscard]] const std::vector<std::string>& operands(std::initializer_list<std::string_view> names) const;
  /// All operands, of which there must be one at least, called `name`. Throws QuillonToolUsageError without any.
  [[nodiscard]] const std::vector<std::string>& operandsOfAnyNumber(std::string_view name) const;

 private:
  void add(const QuillonToolOption& option, const std::optional<std::string>& value);

  std::map<std::string, std::vector<std::string>, std::less<>> values_;
  std::vector<std::string> operands_;
};

}  // namespace quillon
