#include "CodeSignature/BERElement.h"

#include "CodeSignature/CodeSignatureError.h"

namespace quillon {
namespace {

constexpr int kDepthLimit = 32;
constexpr std::uint8_t kConstructed = 0x20;
constexpr std::uint8_t kHighTagNumber = 0x1F;

[[noreturn]] void fail() {
  throw CodeSignatureError(CodeSignatureErrorCode::signatureFailed);
}

struct Header {
  std::uint8_t tag = 0;
  std::size_t headerSize = 0;
  std::size_t contentSize = 0;
  bool isIndefinite = false;
};

Header readHeader(std::string_view bytes) {
  if (bytes.size() < 2) fail();
  Header header{.tag = static_cast<std::uint8_t>(bytes[0])};
  if ((header.tag & kHighTagNumber) == kHighTagNumber) fail();
  const auto first = static_cast<std::uint8_t>(bytes[1]);
  header.headerSize = 2;
  if (first < 0x80) {
    header.contentSize = first;
    return header;
  }
  header.isIndefinite = first == 0x80;
  if (header.isIndefinite) {
    if ((header.tag & kConstructed) == 0) fail();
    return header;
  }
  const std::size_t count = first & 0x7FU;
  if (count > 4 || bytes.size() < 2 + count) fail();
  for (const char byte : bytes.substr(2, count)) {
    header.contentSize = (header.contentSize << 8) | static_cast<unsigned char>(byte);
  }
  if (header.contentSize < 0x80 || bytes[2] == 0) fail();
  header.headerSize += count;
  return header;
}

BERElement readElement(std::string_view bytes, int depth) {
  if (depth > kDepthLimit) fail();
  const Header header = readHeader(bytes);
  BERElement element{.tag = static_cast<BERTag>(header.tag)};
  const std::string_view rest = bytes.substr(header.headerSize);
  if (!header.isIndefinite) {
    if (header.contentSize > rest.size()) fail();
    element.content = rest.substr(0, header.contentSize);
    element.whole = bytes.substr(0, header.headerSize + header.contentSize);
    return element;
  }
  static constexpr std::string_view kEndMark("\0\0", 2);
  std::size_t size = 0;
  while (!rest.substr(size).starts_with(kEndMark)) size += readElement(rest.substr(size), depth + 1).whole.size();
  element.content = rest.substr(0, size);
  element.whole = bytes.substr(0, header.headerSize + size + kEndMark.size());
  return element;
}

}  // namespace

bool BERReader::nextHasTag(BERTag tag) const noexcept {
  return !rest_.empty() && static_cast<std::uint8_t>(rest_.front()) == static_cast<std::uint8_t>(tag);
}

BERElement BERReader::next() {
  const BERElement element = readElement(rest_, 0);
  rest_.remove_prefix(element.whole.size());
  return element;
}

BERElement BERReader::next(BERTag tag) {
  const BERElement element = next();
  if (element.tag != tag) fail();
  return element;
}

void BERReader::expectEnd() const {
  if (!rest_.empty()) fail();
}

}  // namespace quillon
