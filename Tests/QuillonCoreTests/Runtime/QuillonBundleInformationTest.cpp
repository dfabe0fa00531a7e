#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Runtime/QuillonBundleInformation.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

class QuillonBundleInformationTest : public ::testing::Test {
 protected:
  void writeInformation(std::string_view text) { testing::writeFile(folder_ / "A.app/Contents/Info.plist", text); }
  [[nodiscard]] std::optional<std::string> identifier() const {
    return bundleInformationText(QuillonPosixFileManager(), QuillonURL::fileURL((folder_ / "A.app").string()),
                                 "CFBundleIdentifier");
  }

  testing::TemporaryDirectory folder_;
};

TEST_F(QuillonBundleInformationTest, ReadsATextOfTheBundle) {
  writeInformation("{ CFBundleIdentifier = \"org.example.A\"; }");

  EXPECT_EQ(identifier(), "org.example.A");
}

TEST_F(QuillonBundleInformationTest, WhatIsNoTextIsAbsent) {
  writeInformation("{ CFBundleIdentifier = (a); }");
  EXPECT_EQ(identifier(), std::nullopt);

  writeInformation("{ Other = b; }");
  EXPECT_EQ(identifier(), std::nullopt);

  writeInformation("( a )");
  EXPECT_EQ(identifier(), std::nullopt);
}

TEST_F(QuillonBundleInformationTest, WhatCannotBeReadIsAbsent) {
  EXPECT_EQ(identifier(), std::nullopt);

  writeInformation("<plist>");
  EXPECT_EQ(identifier(), std::nullopt);

  writeInformation("{ CFBundleIdentifier = b; }" + std::string(kLargestBundleInformation, ' '));
  EXPECT_EQ(identifier(), std::nullopt);
}

}  // namespace
}  // namespace quillon
