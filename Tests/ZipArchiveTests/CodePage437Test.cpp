#include <gtest/gtest.h>

#include "ZipArchive/CodePage437.h"

namespace quillon {
namespace {

TEST(CodePage437Test, EveryLetterBecomesItsUTF8) {
  EXPECT_EQ(textFromCodePage437("plain"), "plain");
  EXPECT_EQ(textFromCodePage437("Gr\x94\xE1"
                                "e"),
            "Größe");
  EXPECT_EQ(textFromCodePage437("\x80\xFF\xB0\xFB"), "Ç\u00A0░√");
}

}  // namespace
}  // namespace quillon
