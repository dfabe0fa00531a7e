#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillon {

/// A location: a file by its plain path, or any other URL by its text (RFC 3986).
class QuillonURL {
 public:
  /// The file at `path`, which is taken as it stands: no percent decoding, no links followed. A relative path is taken
  /// from the current folder; "." and empty components and trailing slashes are dropped, ".." is kept.
  [[nodiscard]] static QuillonURL fileURL(std::string_view path);

  /// A URL from its text. Absent for an empty text, a text without scheme, and one with characters that no URL holds
  /// (control characters, blanks, '<', '>', '"', broken percent escapes). "file:" URLs become file URLs.
  [[nodiscard]] static std::optional<QuillonURL> parse(std::string_view text);

  [[nodiscard]] bool isFileURL() const noexcept { return scheme_ == "file"; }
  /// Lower case.
  [[nodiscard]] const std::string& scheme() const noexcept { return scheme_; }
  /// Plain path, percent escapes decoded; of a file URL always absolute.
  [[nodiscard]] const std::string& path() const noexcept { return path_; }
  /// The URL's text; a file URL's path is percent-encoded.
  [[nodiscard]] std::string absoluteString() const;

  /// Last component of the path; empty when there is none.
  [[nodiscard]] std::string_view lastPathComponent() const noexcept;
  /// Text after the last period of the last component, which neither begins nor ends with it; else empty.
  [[nodiscard]] std::string_view pathExtension() const noexcept;
  /// Last component without its extension.
  [[nodiscard]] std::string_view nameWithoutExtension() const noexcept;

  /// For file URLs only. `component` may hold slashes.
  [[nodiscard]] QuillonURL appendingPathComponent(std::string_view component) const;
  [[nodiscard]] QuillonURL deletingLastPathComponent() const;

  friend bool operator==(const QuillonURL&, const QuillonURL&) = default;

 private:
  QuillonURL(std::string scheme, std::string text, std::string path);

  std::string scheme_;
  std::string text_;  // empty for file URLs, whose text follows from the path
  std::string path_;
};

}  // namespace quillon
