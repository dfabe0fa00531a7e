#include "QuillonCore/Values/PropertyListCodec/XMLPropertyListReader.h"

#include <array>
#include <bit>
#include <charconv>
#include <cstring>
#include <string>

#include "QuillonCore/Values/PropertyListCodec/PropertyListScalars.h"
#include "QuillonCore/Values/PropertyListCodec/PropertyListText.h"
#include "QuillonCore/Values/PropertyListCodec/PropertyListTreeBuilder.h"

namespace quillon {
namespace {

enum class Element { plist, dict, array, key, string, integer, real, date, data, isTrue, isFalse };

constexpr std::array<std::string_view, 11> kElementNames = {"plist", "dict", "array", "key",  "string", "integer",
                                                            "real",  "date", "data",  "true", "false"};

constexpr std::string_view elementName(Element element) {
  return kElementNames[static_cast<std::size_t>(element)];
}

struct Tag {
  Element element;
  bool isEmpty;  // <name/>
};

constexpr bool isNameEnd(char c) noexcept {
  return isPropertyListSpace(c) || c == '>' || c == '/';
}

/// Position of the first '<' or '&' from `position` on, or `end`.
const char* nextMarkup(const char* position, const char* end) noexcept {
  if constexpr (std::endian::native == std::endian::little) {
    constexpr std::uint64_t kOnes = 0x0101010101010101;
    constexpr std::uint64_t kHighBits = kOnes << 7;
    const auto zeroBytes = [](std::uint64_t word) { return (word - kOnes) & ~word & kHighBits; };
    while (end - position >= 8) {
      std::uint64_t word;
      std::memcpy(&word, position, sizeof word);
      const std::uint64_t found = zeroBytes(word ^ kOnes * '<') | zeroBytes(word ^ kOnes * '&');
      if (found != 0) return position + std::countr_zero(found) / 8;
      position += 8;
    }
  }
  while (position != end && *position != '<' && *position != '&') ++position;
  return position;
}

class XMLPropertyListReader {
 public:
  XMLPropertyListReader(std::string_view text, PropertyListTree& tree)
      : text_(text), next_(text.data()), end_(text.data() + text.size()), tree_(tree), builder_(tree) {}

  void read();

 private:
  [[noreturn]] void fail(std::string_view problem) const { failAtLine(text_, next_, problem); }
  [[noreturn]] void failAt(const char* position, std::string_view problem) const {
    failAtLine(text_, position, problem);
  }

  [[nodiscard]] std::string_view rest() const noexcept { return {next_, static_cast<std::size_t>(end_ - next_)}; }
  [[nodiscard]] bool startsWith(std::string_view expected) const noexcept { return rest().starts_with(expected); }
  [[nodiscard]] bool isAtEnd() const noexcept { return next_ == end_; }

  void skipSpace() noexcept {
    while (next_ != end_ && isPropertyListSpace(*next_)) ++next_;
  }
  void skipSpaceAndRemarks();
  bool skipRemark();
  void skipPast(std::string_view terminator, std::string_view what);
  void skipDocumentType();
  void checkEncoding(std::string_view declaration) const;

  void readValues();
  template <std::size_t kOpenSize, std::size_t kCloseSize>
  [[nodiscard]] bool readPlainText(const char (&open)[kOpenSize], const char (&close)[kCloseSize], bool isKey);
  [[nodiscard]] Tag readTag();
  void skipAttributes();
  bool takeEndTag(Element element);
  void readElement();
  void readContainerEnd();
  void readScalar(Tag tag);

  [[nodiscard]] std::string_view readText(Tag tag);
  [[nodiscard]] std::string_view readMixedText(Element element, const char* begin);
  void appendReference();
  void appendCharacter(std::string_view reference);

  template <typename T>
  [[nodiscard]] T valueOf(PropertyListScalar<T> scalar, const char* position) const {
    if (!scalar.value) failAt(position, scalar.problem);
    return std::move(*scalar.value);
  }

  std::string_view text_;
  const char* next_;
  const char* end_;
  PropertyListTree& tree_;
  PropertyListTreeBuilder builder_;
  std::string decoded_;
};

void XMLPropertyListReader::read() {
  skipSpace();
  if (startsWith("<?xml")) {
    const char* const begin = next_;
    skipPast("?>", "XML declaration");
    checkEncoding({begin, static_cast<std::size_t>(next_ - begin)});
  }
  skipSpaceAndRemarks();
  if (startsWith("<!DOCTYPE")) {
    skipDocumentType();
    skipSpaceAndRemarks();
  }
  const bool hasFrame = startsWith("<plist") && rest().size() > 6 && isNameEnd(next_[6]);
  if (hasFrame && readTag().isEmpty) fail("the list is empty");
  readValues();
  skipSpaceAndRemarks();
  if (hasFrame && !takeEndTag(Element::plist)) fail("</plist> is expected");
  skipSpaceAndRemarks();
  if (!isAtEnd()) fail("there is something after the end of the list");
}

void XMLPropertyListReader::skipSpaceAndRemarks() {
  do {
    skipSpace();
  } while (skipRemark());
}

/// Skips a comment or processing instruction.
bool XMLPropertyListReader::skipRemark() {
  if (end_ - next_ < 2 || next_[0] != '<' || (next_[1] != '!' && next_[1] != '?')) return false;
  if (startsWith("<!--")) {
    next_ += 4;
    skipPast("-->", "comment");
    return true;
  }
  if (next_[1] != '?') return false;
  next_ += 2;
  skipPast("?>", "processing instruction");
  return true;
}

void XMLPropertyListReader::skipPast(std::string_view terminator, std::string_view what) {
  const std::size_t found = rest().find(terminator);
  if (found == std::string_view::npos) fail("the " + std::string(what) + " has no end");
  next_ += found + terminator.size();
}

void XMLPropertyListReader::skipDocumentType() {
  char quote = 0;
  for (const char* position = next_; position != end_; ++position) {
    if (quote != 0) {
      if (*position == quote) quote = 0;
    } else if (*position == '"' || *position == '\'') {
      quote = *position;
    } else if (*position == '[') {
      failAt(position, "the document type declares things of its own");
    } else if (*position == '>') {
      next_ = position + 1;
      return;
    }
  }
  fail("the document type has no end");
}

/// Text with nothing but ASCII is the same in every encoding that a declaration in ASCII can name.
void XMLPropertyListReader::checkEncoding(std::string_view declaration) const {
  static constexpr std::string_view kAttribute = "encoding";
  const std::size_t attribute = declaration.find(kAttribute);
  if (attribute == std::string_view::npos) return;
  const std::size_t open = declaration.find_first_of("\"'", attribute);
  if (open == std::string_view::npos) return;
  std::string name;
  for (const char c : declaration.substr(open + 1)) {
    if (c == declaration[open]) break;
    name += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  }
  if (name == "UTF-8" || name == "UTF8" || name.starts_with("UTF-16") || isASCII(text_)) return;
  fail("the encoding " + name.substr(0, 40) + " is not supported");
}

void XMLPropertyListReader::readValues() {
  while (!builder_.isComplete()) {
    skipSpace();
    if (end_ - next_ < 2) fail(builder_.isInContainer() ? "the list ends too early" : "a value is expected");
    if (readPlainText("<key>", "</key>", true) || readPlainText("<string>", "</string>", false)) continue;
    if (*next_ != '<') fail("text stands outside of a value");
    if (next_[1] == '/') {
      readContainerEnd();
    } else if (!skipRemark()) {
      readElement();
    }
  }
}

/// Reads a key or string of text and nothing else, of which most lists are made. Returns false, having read nothing,
/// for what takes a closer look.
template <std::size_t kOpenSize, std::size_t kCloseSize>
inline bool XMLPropertyListReader::readPlainText(const char (&open)[kOpenSize], const char (&close)[kCloseSize],
                                                 bool isKey) {
  constexpr std::size_t kOpenLength = kOpenSize - 1;
  constexpr std::size_t kCloseLength = kCloseSize - 1;
  if (rest().size() < kOpenLength + kCloseLength || std::memcmp(next_, open, kOpenLength) != 0) return false;
  if (builder_.expectsKey() != isKey) return false;
  const char* const begin = next_ + kOpenLength;
  const char* const textEnd = nextMarkup(begin, end_);
  if (static_cast<std::size_t>(end_ - textEnd) < kCloseLength) return false;
  if (std::memcmp(textEnd, close, kCloseLength) != 0) return false;
  const std::string_view text(begin, static_cast<std::size_t>(textEnd - begin));
  next_ = textEnd + kCloseLength;
  builder_.add(PropertyListRecord::ofText(PropertyListType::string, text));
  return true;
}

Tag XMLPropertyListReader::readTag() {
  const char* const name = next_ + 1;
  const char* position = name;
  while (position != end_ && !isNameEnd(*position)) ++position;
  const std::string_view found(name, static_cast<std::size_t>(position - name));
  for (std::size_t i = 0; i < kElementNames.size(); ++i) {
    if (found != kElementNames[i]) continue;
    next_ = position;
    if (next_ == end_ || *next_ != '>') skipAttributes();
    ++next_;
    return {static_cast<Element>(i), next_[-2] == '/'};
  }
  fail("\"<" + std::string(found.substr(0, 40)) + "\" is no element of a property list");
}

/// Leaves the tag's '>' next.
void XMLPropertyListReader::skipAttributes() {
  char quote = 0;
  for (const char* position = next_; position != end_; ++position) {
    if (quote != 0) {
      if (*position == quote) quote = 0;
    } else if (*position == '"' || *position == '\'') {
      quote = *position;
    } else if (*position == '>') {
      next_ = position;
      return;
    } else if (*position == '<') {
      break;
    }
  }
  fail("the tag has no end");
}

bool XMLPropertyListReader::takeEndTag(Element element) {
  const std::string_view name = elementName(element);
  const char* position = next_;
  if (static_cast<std::size_t>(end_ - position) < name.size() + 3 || position[0] != '<' || position[1] != '/') {
    return false;
  }
  position += 2;
  if (std::memcmp(position, name.data(), name.size()) != 0) return false;
  position += name.size();
  while (position != end_ && isPropertyListSpace(*position)) ++position;
  if (position == end_ || *position != '>') return false;
  next_ = position + 1;
  return true;
}

void XMLPropertyListReader::readElement() {
  const char* const begin = next_;
  const Tag tag = readTag();
  if (tag.element == Element::plist) failAt(begin, "<plist> stands inside of the list");
  if (builder_.expectsKey() != (tag.element == Element::key)) {
    failAt(begin,
           builder_.expectsKey() ? "a value in a dictionary has no key" : "a <key> stands where a value belongs");
  }
  if (tag.element != Element::dict && tag.element != Element::array) {
    readScalar(tag);
    return;
  }
  if (builder_.isAtDepthLimit()) failAt(begin, "values are nested more than 512 deep");
  builder_.open(tag.element == Element::dict ? PropertyListType::dictionary : PropertyListType::array);
  if (tag.isEmpty) builder_.close();
}

void XMLPropertyListReader::readContainerEnd() {
  if (!builder_.isInContainer()) fail("an end tag stands where a value belongs");
  const bool isDictionary = builder_.isInDictionary();
  const char* const begin = next_;
  if (!takeEndTag(isDictionary ? Element::dict : Element::array)) {
    fail(isDictionary ? "</dict> is expected" : "</array> is expected");
  }
  if (isDictionary && !builder_.expectsKey()) failAt(begin, "a key has no value");
  builder_.close();
}

void XMLPropertyListReader::readScalar(Tag tag) {
  using Record = PropertyListRecord;
  const char* const begin = next_;
  const std::string_view content = readText(tag);
  switch (tag.element) {
    case Element::key:
    case Element::string:
      return builder_.add(Record::ofText(PropertyListType::string, content));
    case Element::integer:
      return builder_.add(
          Record::ofInteger(PropertyListType::integer, valueOf(parsePropertyListInteger(content), begin)));
    case Element::real:
      return builder_.add(Record::ofReal(valueOf(parsePropertyListReal(content), begin)));
    case Element::date: {
      const QuillonPropertyListDate date = valueOf(parsePropertyListDate(content), begin);
      return builder_.add(Record::ofInteger(PropertyListType::date, date.time_since_epoch().count()));
    }
    case Element::data: {
      const std::string bytes = valueOf(parsePropertyListBase64(content), begin);
      return builder_.add(Record::ofText(PropertyListType::data, tree_.arena.copy(bytes)));
    }
    case Element::isTrue:
    case Element::isFalse:
      if (!withoutOuterSpace(content).empty()) failAt(begin, "a Boolean holds text");
      return builder_.add(Record::ofInteger(PropertyListType::boolean, tag.element == Element::isTrue ? 1 : 0));
    case Element::plist:
    case Element::dict:
    case Element::array:
      break;
  }
}

/// The text up to the end tag, which is taken.
std::string_view XMLPropertyListReader::readText(Tag tag) {
  if (tag.isEmpty) return {};
  const char* const begin = next_;
  next_ = nextMarkup(next_, end_);
  const char* const textEnd = next_;
  if (takeEndTag(tag.element)) return {begin, static_cast<std::size_t>(textEnd - begin)};
  return readMixedText(tag.element, begin);
}

/// The same for text with references, CDATA sections and remarks, the first of which is next.
std::string_view XMLPropertyListReader::readMixedText(Element element, const char* begin) {
  static constexpr std::string_view kCDATA = "<![CDATA[";
  decoded_.assign(begin, next_);
  while (!takeEndTag(element)) {
    if (isAtEnd()) failAt(begin, "<" + std::string(elementName(element)) + "> has no end");
    if (*next_ == '&') {
      appendReference();
    } else if (startsWith(kCDATA)) {
      next_ += kCDATA.size();
      const char* const section = next_;
      skipPast("]]>", "CDATA section");
      decoded_.append(section, next_ - 3);
    } else if (!skipRemark()) {
      fail("</" + std::string(elementName(element)) + "> is expected");
    }
    const char* const text = next_;
    next_ = nextMarkup(next_, end_);
    decoded_.append(text, next_);
  }
  return tree_.arena.copy(decoded_);
}

void XMLPropertyListReader::appendReference() {
  static constexpr std::size_t kLongestReference = 16;
  const std::size_t semicolon = rest().substr(0, kLongestReference).find(';');
  if (semicolon == std::string_view::npos) fail("a reference has no end");
  const std::string_view name = rest().substr(1, semicolon - 1);
  if (name == "lt") {
    decoded_ += '<';
  } else if (name == "gt") {
    decoded_ += '>';
  } else if (name == "amp") {
    decoded_ += '&';
  } else if (name == "quot") {
    decoded_ += '"';
  } else if (name == "apos") {
    decoded_ += '\'';
  } else if (name.starts_with('#')) {
    appendCharacter(name.substr(1));
  } else {
    fail("the entity \"" + std::string(name) + "\" is not defined");
  }
  next_ += semicolon + 1;
}

void XMLPropertyListReader::appendCharacter(std::string_view reference) {
  const bool isHexadecimal = reference.starts_with('x');
  if (isHexadecimal) reference.remove_prefix(1);
  std::uint32_t codePoint = 0;
  const char* const end = reference.data() + reference.size();
  const auto [stop, error] = std::from_chars(reference.data(), end, codePoint, isHexadecimal ? 16 : 10);
  if (error != std::errc() || stop != end || codePoint == 0 || !isUnicodeScalar(codePoint)) {
    fail("a character reference stands for no character");
  }
  appendUTF8(decoded_, codePoint);
}

}  // namespace

void readXMLPropertyList(std::string_view text, PropertyListTree& tree) {
  XMLPropertyListReader(text, tree).read();
}

bool isXMLPropertyList(std::string_view text) noexcept {
  for (const char c : text.substr(1)) {
    if (c == '>') return false;
    if (!isPropertyListSpace(c) && hexDigitValue(c) < 0) return true;
  }
  return false;
}

}  // namespace quillon
