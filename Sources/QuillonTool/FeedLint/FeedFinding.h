#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillon {

/// How bad a finding is: an error defeats what the publisher wrote, a warning is likely to.
enum class FeedFindingSeverity : std::uint8_t { warning, error };

/// "warning" or "error".
[[nodiscard]] constexpr std::string_view severityName(FeedFindingSeverity severity) noexcept {
  return severity == FeedFindingSeverity::error ? "error" : "warning";
}

/// Something in a feed that does not do what its publisher will expect. The texts are whole sentences for people and
/// may quote the feed, so they can hold control characters.
struct FeedFinding {
  /// Position of the entry, from 0; absent for the feed as a whole.
  std::optional<std::size_t> index = std::nullopt;
  /// The key that it is about; empty for the entry or feed as a whole.
  std::string key = {};
  FeedFindingSeverity severity = FeedFindingSeverity::error;
  std::string problem = {};
  /// What a host does with it.
  std::string effect = {};
  /// How to mend it.
  std::string mend = {};

  friend bool operator==(const FeedFinding&, const FeedFinding&) = default;
};

/// Takes the findings about one entry.
class FeedEntryFindings {
 public:
  /// Adds to `findings`, which is borrowed, findings about the entry at `index`.
  FeedEntryFindings(std::vector<FeedFinding>& findings, std::size_t index) noexcept
      : findings_(findings), index_(index) {}

  /// What is to be said of a finding.
  struct Text {
    std::string problem;
    std::string effect;
    std::string mend;
  };
  void addError(std::string_view key, Text text) { add(key, FeedFindingSeverity::error, std::move(text)); }
  void addWarning(std::string_view key, Text text) { add(key, FeedFindingSeverity::warning, std::move(text)); }

 private:
  void add(std::string_view key, FeedFindingSeverity severity, Text text) {
    findings_.push_back({.index = index_,
                         .key = std::string(key),
                         .severity = severity,
                         .problem = std::move(text.problem),
                         .effect = std::move(text.effect),
                         .mend = std::move(text.mend)});
  }

  std::vector<FeedFinding>& findings_;
  std::size_t index_;
};

}  // namespace quillon
