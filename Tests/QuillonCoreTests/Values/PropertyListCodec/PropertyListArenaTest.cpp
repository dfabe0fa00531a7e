#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Values/PropertyListCodec/PropertyListArena.h"

namespace quillon {
namespace {

TEST(PropertyListArenaTest, CopiesStayWhileTheArenaGrows) {
  PropertyListArena arena;
  std::vector<std::string_view> copies;

  for (std::size_t size = 0; size < 2000; ++size) copies.push_back(arena.copy(std::string(size, 'a')));
  const std::string_view large = arena.copy(std::string(3000000, 'b'));

  for (std::size_t size = 0; size < 2000; ++size) ASSERT_EQ(copies[size], std::string(size, 'a'));
  EXPECT_EQ(large, std::string(3000000, 'b'));
}

TEST(PropertyListArenaTest, MemoryIsAligned) {
  PropertyListArena arena;

  static_cast<void>(arena.allocate<char>(3));
  const auto* const numbers = arena.allocate<std::uint64_t>(2);

  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(numbers) % alignof(std::uint64_t), 0U);
}

}  // namespace
}  // namespace quillon
