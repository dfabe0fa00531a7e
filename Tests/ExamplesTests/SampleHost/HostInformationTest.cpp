#include <gtest/gtest.h>

#include <string>

#include "SampleHost/Sources/HostInformation.h"

namespace sample {
namespace {

std::string folderNameOf(const std::string& name) {
  const HostInformation host{.bundle = quillon::QuillonURL::fileURL("/Sample.app"),
                             .identifier = "org.example.Sample",
                             .name = name,
                             .version = "1.0",
                             .build = 1,
                             .feed = quillon::QuillonURL::fileURL("/feed.plist"),
                             .downloadPage = {},
                             .distribution = {},
                             .team = {}};
  return host.folderName();
}

TEST(HostInformationTest, TheFolderIsNamedAfterTheApplication) {
  EXPECT_EQ(folderNameOf("Sample & Sons"), "Sample & Sons");
}

TEST(HostInformationTest, ANameThatIsNoFoldersIsReplacedByTheIdentifier) {
  for (const char* name : {"", ".", "..", "../../Documents", "Input/Output", "/"}) {
    EXPECT_EQ(folderNameOf(name), "org.example.Sample") << name;
  }
}

}  // namespace
}  // namespace sample
