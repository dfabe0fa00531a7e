// The input is two versions with a line feed between them. Whatever they are, the order is reflexive and antisymmetric,
// and an absent version is an empty one.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "QuillonCore/VeskVersionComparator.h"

namespace {

using quillon::VeskVersionComparator;

void require(bool holds) {
  if (!holds) std::abort();
}

int order(std::string_view a, std::string_view b) {
  return static_cast<int>(VeskVersionComparator::compareVersion(a, b));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::size_t split = std::min(input.find('\n'), input.size());
  const std::string_view a = input.substr(0, split);
  const std::string_view b = input.substr(std::min(split + 1, input.size()));

  require(order(a, a) == 0);
  require(order(b, b) == 0);
  require(order(a, b) == -order(b, a));
  require(order(a, "") == static_cast<int>(VeskVersionComparator::compareVersion(a, std::nullopt)));
  return 0;
}
