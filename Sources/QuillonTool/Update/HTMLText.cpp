#include "QuillonTool/Update/HTMLText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <utility>

#include "QuillonCore/Text/QuillonCaseFolding.h"

namespace quillon {
namespace {

constexpr std::size_t kLongestReference = 10;

template <std::size_t Count>
bool isOneOf(std::string_view name, const std::array<std::string_view, Count>& names) {
  return std::ranges::any_of(names, [name](std::string_view each) { return equalIgnoringCase(name, each); });
}

bool isSpace(char c) noexcept {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

bool isNameCharacter(char c) noexcept {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

void appendScalar(std::string& text, std::uint32_t scalar) {
  const auto tail = [&](unsigned shift) { text += static_cast<char>(0x80 | ((scalar >> shift) & 0x3F)); };
  if (scalar < 0x80) {
    text += static_cast<char>(scalar);
  } else if (scalar < 0x800) {
    text += static_cast<char>(0xC0 | (scalar >> 6));
    tail(0);
  } else if (scalar < 0x10000) {
    text += static_cast<char>(0xE0 | (scalar >> 12));
    tail(6);
    tail(0);
  } else {
    text += static_cast<char>(0xF0 | (scalar >> 18));
    tail(12);
    tail(6);
    tail(0);
  }
}

bool isText(std::uint32_t scalar) noexcept {
  const bool isControl = scalar < 0x20 || (scalar >= 0x7F && scalar < 0xA0);
  const bool isSurrogate = scalar >= 0xD800 && scalar <= 0xDFFF;
  return !isControl && !isSurrogate && scalar <= 0x10FFFF;
}

std::optional<std::uint32_t> numericReference(std::string_view name) {
  const bool isHexadecimal = name.size() > 2 && (name[1] == 'x' || name[1] == 'X');
  const std::string_view digits = name.substr(isHexadecimal ? 2 : 1);
  std::uint32_t value = 0;
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), value, isHexadecimal ? 16 : 10);
  if (digits.empty() || error != std::errc{} || end != digits.data() + digits.size()) return std::nullopt;
  return value;
}

std::optional<std::uint32_t> namedReference(std::string_view name) {
  static constexpr std::array<std::pair<std::string_view, std::uint32_t>, 18> kNames{{{"amp", '&'},
                                                                                      {"lt", '<'},
                                                                                      {"gt", '>'},
                                                                                      {"quot", '"'},
                                                                                      {"apos", '\''},
                                                                                      {"nbsp", ' '},
                                                                                      {"ndash", 0x2013},
                                                                                      {"mdash", 0x2014},
                                                                                      {"lsquo", 0x2018},
                                                                                      {"rsquo", 0x2019},
                                                                                      {"ldquo", 0x201C},
                                                                                      {"rdquo", 0x201D},
                                                                                      {"bull", 0x2022},
                                                                                      {"hellip", 0x2026},
                                                                                      {"trade", 0x2122},
                                                                                      {"copy", 0xA9},
                                                                                      {"reg", 0xAE},
                                                                                      {"middot", 0xB7}}};
  const auto found = std::ranges::find(kNames, name, [](const auto& pair) { return pair.first; });
  return found == kNames.end() ? std::nullopt : std::optional(found->second);
}

/// Reads a page from the front, and writes its text.
class Page {
 public:
  explicit Page(std::string_view html) : rest_(html) {}

  std::string text() && {
    while (!rest_.empty()) {
      if (rest_.front() == '<') {
        takeMarkup();
      } else if (rest_.front() == '&') {
        takeReference();
      } else {
        takeCharacter();
      }
    }
    while (text_.ends_with('\n')) text_.pop_back();
    return std::move(text_);
  }

 private:
  void takeMarkup() {
    if (rest_.starts_with("<!--")) {
      skipBehind("-->");
      return;
    }
    const std::size_t nameBegin = rest_.starts_with("</") ? 2 : 1;
    const bool isDeclaration = rest_.starts_with("<!") || rest_.starts_with("<?");
    if (!isDeclaration && (nameBegin >= rest_.size() || !isNameCharacter(rest_[nameBegin]))) {
      takeCharacter();  // "a < b"
      return;
    }
    std::size_t nameEnd = nameBegin;
    while (nameEnd < rest_.size() && isNameCharacter(rest_[nameEnd])) ++nameEnd;
    const std::string_view name = rest_.substr(nameBegin, nameEnd - nameBegin);
    skipTag();
    takeTag(name, nameBegin == 2);
  }

  void takeTag(std::string_view name, bool isEnd) {
    static constexpr std::array<std::string_view, 3> kHidden{"script", "style", "title"};
    static constexpr std::array<std::string_view, 22> kBlocks{
        "p",  "div", "br", "li", "ul",  "ol",     "h1",     "h2",      "h3",   "h4",  "h5",
        "h6", "tr",  "hr", "dt", "pre", "header", "footer", "section", "body", "nav", "article"};
    if (!isEnd && isOneOf(name, kHidden)) skipElement(name);
    if (isOneOf(name, kBlocks)) endLine();
    if (!isEnd && equalIgnoringCase(name, "li")) text_ += "- ";
  }

  /// A tag ends at the first ">" that is not in quotes; one that never ends is the rest of the page.
  void skipTag() {
    char quote = 0;
    for (std::size_t i = 1; i < rest_.size(); ++i) {
      const char c = rest_[i];
      if (quote != 0) {
        if (c == quote) quote = 0;
      } else if (c == '"' || c == '\'') {
        quote = c;
      } else if (c == '>') {
        rest_.remove_prefix(i + 1);
        return;
      }
    }
    rest_ = {};
  }

  void skipElement(std::string_view name) {
    for (;;) {
      const std::size_t end = rest_.find("</");
      if (end == std::string_view::npos) {
        rest_ = {};
        return;
      }
      rest_.remove_prefix(end + 2);
      if (equalIgnoringCase(rest_.substr(0, name.size()), name)) {
        skipTag();
        return;
      }
    }
  }

  void skipBehind(std::string_view mark) {
    const std::size_t end = rest_.find(mark);
    rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + mark.size());
  }

  void takeReference() {
    const std::size_t end = rest_.substr(0, kLongestReference).find(';');
    const std::string_view name = end == std::string_view::npos ? std::string_view() : rest_.substr(1, end - 1);
    const auto scalar = name.starts_with('#') ? numericReference(name) : namedReference(name);
    if (!scalar) {
      takeCharacter();
      return;
    }
    rest_.remove_prefix(end + 1);
    if (isText(*scalar)) appendScalar(text_, *scalar);
  }

  void takeCharacter() {
    const char c = rest_.front();
    rest_.remove_prefix(1);
    if (!isSpace(c)) {
      text_ += c;
    } else if (!text_.empty() && text_.back() != ' ' && text_.back() != '\n') {
      text_ += ' ';
    }
  }

  void endLine() {
    while (text_.ends_with(' ')) text_.pop_back();
    if (!text_.empty() && text_.back() != '\n') text_ += '\n';
  }

  std::string_view rest_;
  std::string text_;
};

}  // namespace

std::string textOfHTML(std::string_view html, std::size_t limit) {
  return Page(html.substr(0, limit)).text();
}

}  // namespace quillon
