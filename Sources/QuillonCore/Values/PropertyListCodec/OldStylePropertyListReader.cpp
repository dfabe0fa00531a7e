#include "QuillonCore/Values/PropertyListCodec/OldStylePropertyListReader.h"

#include <algorithm>
#include <string>

#include "QuillonCore/Values/PropertyListCodec/PropertyListScalars.h"
#include "QuillonCore/Values/PropertyListCodec/PropertyListText.h"
#include "QuillonCore/Values/PropertyListCodec/PropertyListTreeBuilder.h"

namespace quillon {
namespace {

constexpr bool isPlainCharacter(char c) noexcept {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '$' ||
         c == '/' || c == ':' || c == '.' || c == '-';
}

constexpr bool isOldStyleSpace(char c) noexcept {
  return isPropertyListSpace(c) || c == '\v' || c == '\f';
}

class OldStylePropertyListReader {
 public:
  OldStylePropertyListReader(std::string_view text, PropertyListTree& tree)
      : text_(text), tree_(tree), builder_(tree) {}

  void read();

 private:
  [[noreturn]] void fail(std::string_view problem) const { failAt(next_, problem); }
  [[noreturn]] void failAt(std::size_t position, std::string_view problem) const {
    failAtLine(text_, text_.data() + position, problem);
  }

  [[nodiscard]] bool isAtEnd() const noexcept { return next_ == text_.size(); }
  /// NUL at the end; the text itself holds none.
  [[nodiscard]] char peek() const noexcept { return isAtEnd() ? '\0' : text_[next_]; }
  bool take(char expected) noexcept {
    if (peek() != expected) return false;
    ++next_;
    return true;
  }
  void skipSpaceAndComments();

  /// Whether the innermost container is the dictionary of a table, which ends with the text.
  [[nodiscard]] bool isInTable() const noexcept { return isTable_ && builder_.depth() == 1; }
  void readContainers();
  void readDictionaryPart();
  void readEntry(std::string_view key);
  void readValue();
  void open(PropertyListType type);
  void close();
  void endValue();

  void addString(std::string_view string) {
    builder_.add(PropertyListRecord::ofText(PropertyListType::string, string));
  }
  [[nodiscard]] std::string_view readString();
  [[nodiscard]] std::string_view readQuotedString();
  [[nodiscard]] std::string_view readEscapedString(std::size_t begin, char quote);
  void appendEscape();
  void appendOctal();
  void appendUnicode();
  [[nodiscard]] char32_t readCodeUnit();
  void readData();

  std::string_view text_;
  std::size_t next_ = 0;
  PropertyListTree& tree_;
  PropertyListTreeBuilder builder_;
  bool isTable_ = false;
  std::string decoded_;
};

void OldStylePropertyListReader::read() {
  if (text_.empty()) fail("the text is empty");
  skipSpaceAndComments();
  if (peek() == '{' || peek() == '(' || peek() == '<') {
    readValue();
    readContainers();
  } else if (isAtEnd()) {
    open(PropertyListType::dictionary);
    builder_.close();
  } else {
    const std::string_view first = readString();
    skipSpaceAndComments();
    if (isAtEnd()) return addString(first);
    isTable_ = true;
    open(PropertyListType::dictionary);
    readEntry(first);
    readContainers();
  }
  skipSpaceAndComments();
  if (!isAtEnd()) fail("there is something after the end of the list");
}

void OldStylePropertyListReader::skipSpaceAndComments() {
  for (;;) {
    while (!isAtEnd() && isOldStyleSpace(text_[next_])) ++next_;
    const std::string_view rest = text_.substr(next_);
    if (rest.starts_with("//")) {
      next_ = std::min(text_.find_first_of("\r\n", next_), text_.size());
    } else if (rest.starts_with("/*")) {
      const std::size_t end = text_.find("*/", next_ + 2);
      if (end == std::string_view::npos) fail("a comment has no end");
      next_ = end + 2;
    } else {
      return;
    }
  }
}

void OldStylePropertyListReader::readContainers() {
  while (builder_.isInContainer()) {
    skipSpaceAndComments();
    if (isAtEnd() && !isInTable()) fail("the list ends too early");
    if (builder_.isInDictionary()) {
      readDictionaryPart();
    } else if (take(')')) {
      close();
    } else {
      readValue();
    }
  }
}

void OldStylePropertyListReader::readDictionaryPart() {
  if (isInTable()) {
    if (isAtEnd()) return builder_.close();
  } else if (take('}')) {
    return close();
  }
  readEntry(readString());
}

void OldStylePropertyListReader::readEntry(std::string_view key) {
  addString(key);
  skipSpaceAndComments();
  if (isInTable() && take(';')) return addString(key);
  if (!take('=')) fail("'=' is expected after a key");
  skipSpaceAndComments();
  readValue();
}

void OldStylePropertyListReader::readValue() {
  if (peek() == '{' || peek() == '(') {
    const PropertyListType type = peek() == '{' ? PropertyListType::dictionary : PropertyListType::array;
    open(type);
    ++next_;
    return;
  }
  if (peek() == '<') {
    readData();
  } else {
    addString(readString());
  }
  endValue();
}

void OldStylePropertyListReader::open(PropertyListType type) {
  if (builder_.isAtDepthLimit()) fail("values are nested more than 512 deep");
  builder_.open(type);
}

void OldStylePropertyListReader::close() {
  builder_.close();
  endValue();
}

void OldStylePropertyListReader::endValue() {
  if (!builder_.isInContainer()) return;
  skipSpaceAndComments();
  if (builder_.isInDictionary()) {
    if (!take(';')) fail("';' is expected after a value");
  } else if (!take(',') && peek() != ')') {
    fail("',' or ')' is expected after a value");
  }
}

std::string_view OldStylePropertyListReader::readString() {
  if (peek() == '"' || peek() == '\'') return readQuotedString();
  const std::size_t begin = next_;
  while (!isAtEnd() && isPlainCharacter(text_[next_])) ++next_;
  if (next_ == begin) fail(isAtEnd() ? "the list ends too early" : "a string is expected");
  return text_.substr(begin, next_ - begin);
}

std::string_view OldStylePropertyListReader::readQuotedString() {
  const char quote = text_[next_++];
  const std::size_t begin = next_;
  const char stops[] = {quote, '\\'};
  next_ = text_.find_first_of({stops, 2}, begin);
  if (next_ == std::string_view::npos) failAt(begin, "a quoted string has no end");
  if (text_[next_] == '\\') return readEscapedString(begin, quote);
  return text_.substr(begin, next_++ - begin);
}

std::string_view OldStylePropertyListReader::readEscapedString(std::size_t begin, char quote) {
  decoded_.assign(text_, begin, next_ - begin);
  while (!take(quote)) {
    if (isAtEnd()) failAt(begin, "a quoted string has no end");
    if (take('\\')) {
      appendEscape();
    } else {
      decoded_ += text_[next_++];
    }
  }
  return tree_.arena.copy(decoded_);
}

void OldStylePropertyListReader::appendEscape() {
  if (isAtEnd()) fail("an escape has no end");
  if (peek() >= '0' && peek() <= '7') return appendOctal();
  static constexpr std::string_view kLetters = "abfnrtv";
  static constexpr std::string_view kMeanings = "\a\b\f\n\r\t\v";
  const char escaped = text_[next_++];
  if (escaped == 'U') return appendUnicode();
  const std::size_t letter = kLetters.find(escaped);
  decoded_ += letter == std::string_view::npos ? escaped : kMeanings[letter];
}

void OldStylePropertyListReader::appendOctal() {
  int value = 0;
  for (int i = 0; i < 3 && peek() >= '0' && peek() <= '7'; ++i) value = value * 8 + (text_[next_++] - '0');
  // Above are characters of an encoding that died with its machines; they would have to be guessed.
  if (value == 0 || value > 0x7F) fail("an octal escape stands for no ASCII character");
  decoded_ += static_cast<char>(value);
}

void OldStylePropertyListReader::appendUnicode() {
  char32_t codePoint = readCodeUnit();
  if (codePoint >= 0xD800 && codePoint < 0xDC00 && text_.substr(next_).starts_with("\\U")) {
    next_ += 2;
    const char32_t low = readCodeUnit();
    if (low < 0xDC00 || low > 0xDFFF) fail("a \\U escape is half a character");
    codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (low - 0xDC00);
  }
  if (codePoint == 0 || !isUnicodeScalar(codePoint)) fail("a \\U escape stands for no character");
  appendUTF8(decoded_, codePoint);
}

char32_t OldStylePropertyListReader::readCodeUnit() {
  char32_t unit = 0;
  std::size_t digits = 0;
  for (; digits < 4 && hexDigitValue(peek()) >= 0; ++digits) {
    unit = unit << 4 | static_cast<char32_t>(hexDigitValue(text_[next_++]));
  }
  if (digits == 0) fail("a \\U escape has no digits");
  return unit;
}

void OldStylePropertyListReader::readData() {
  const std::size_t begin = next_++;
  decoded_.clear();
  int high = -1;
  while (!take('>')) {
    if (isAtEnd()) failAt(begin, "data has no end");
    const char c = text_[next_++];
    if (isOldStyleSpace(c)) continue;
    const int digit = hexDigitValue(c);
    if (digit < 0) failAt(next_ - 1, "data holds something else than hexadecimal digits");
    if (high >= 0) decoded_ += static_cast<char>(high << 4 | digit);
    high = high < 0 ? digit : -1;
  }
  if (high >= 0) fail("data has half a byte");
  builder_.add(PropertyListRecord::ofText(PropertyListType::data, tree_.arena.copy(decoded_)));
}

}  // namespace

void readOldStylePropertyList(std::string_view text, PropertyListTree& tree) {
  OldStylePropertyListReader(text, tree).read();
}

}  // namespace quillon
