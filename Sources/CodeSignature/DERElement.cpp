#include "CodeSignature/DERElement.h"

#include <algorithm>

#include "CodeSignature/ObjectIdentifier.h"

namespace quillon {

std::string derElement(BERTag tag, std::string_view content) {
  std::string element(1, static_cast<char>(tag));
  if (content.size() < 0x80) {
    element += static_cast<char>(content.size());
    return element.append(content);
  }
  std::string length;
  for (std::size_t rest = content.size(); rest != 0; rest >>= 8) {
    length.insert(length.begin(), static_cast<char>(rest & 0xFF));
  }
  element += static_cast<char>(0x80 | length.size());
  return element.append(length).append(content);
}

std::string derObjectIdentifier(std::string_view dotted) {
  return derElement(BERTag::objectIdentifier, objectIdentifierContent(dotted).value());
}

std::string derSetOf(std::vector<std::string> elements, BERTag tag) {
  // Texts compare by their bytes as unsigned numbers, which is the order of DER.
  std::ranges::sort(elements);
  std::string content;
  for (const std::string& element : elements) content += element;
  return derElement(tag, content);
}

}  // namespace quillon
