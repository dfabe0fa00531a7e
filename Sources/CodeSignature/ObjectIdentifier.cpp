#include "CodeSignature/ObjectIdentifier.h"

#include <charconv>
#include <cstdint>
#include <vector>

namespace quillon {
namespace {

constexpr std::uint64_t kArcLimit = std::uint64_t{1} << 56;

std::optional<std::vector<std::uint64_t>> arcsOf(std::string_view dotted) {
  std::vector<std::uint64_t> arcs;
  const char* position = dotted.data();
  const char* const end = position + dotted.size();
  while (true) {
    std::uint64_t arc = 0;
    const auto [next, error] = std::from_chars(position, end, arc);
    if (error != std::errc() || arc >= kArcLimit) return std::nullopt;
    arcs.push_back(arc);
    if (next == end) return arcs;
    if (*next != '.') return std::nullopt;
    position = next + 1;
  }
}

void appendBase128(std::string& content, std::uint64_t value) {
  std::string digits(1, static_cast<char>(value & 0x7F));
  while ((value >>= 7) != 0) digits.insert(digits.begin(), static_cast<char>(0x80 | (value & 0x7F)));
  content += digits;
}

}  // namespace

std::optional<std::string> objectIdentifierContent(std::string_view dotted) {
  const auto arcs = arcsOf(dotted);
  if (!arcs || arcs->size() < 2 || arcs->front() > 2 || (arcs->front() < 2 && (*arcs)[1] >= 40)) return std::nullopt;
  std::string content;
  appendBase128(content, arcs->front() * 40 + (*arcs)[1]);
  for (std::size_t i = 2; i < arcs->size(); ++i) appendBase128(content, (*arcs)[i]);
  return content;
}

std::optional<std::string> dottedObjectIdentifier(std::string_view content) {
  std::string dotted;
  std::uint64_t value = 0;
  bool isComplete = false;
  for (const char c : content) {
    const auto byte = static_cast<unsigned char>(c);
    if (value >= kArcLimit >> 7) return std::nullopt;
    value = (value << 7) | (byte & 0x7FU);
    isComplete = (byte & 0x80U) == 0;
    if (!isComplete) continue;
    if (dotted.empty()) {
      const std::uint64_t first = value < 80 ? value / 40 : 2;
      dotted = std::to_string(first) + "." + std::to_string(value - first * 40);
    } else {
      dotted += "." + std::to_string(value);
    }
    value = 0;
  }
  if (!isComplete) return std::nullopt;
  return dotted;
}

}  // namespace quillon
