#include <gtest/gtest.h>

#include <map>
#include <string>

#include "QuillonCore/Runtime/Linux/QuillonLinuxBaseDirectory.h"

namespace quillon {
namespace {

std::string configuration(const std::map<std::string, std::string>& environment) {
  const auto folder = baseDirectory("XDG_CONFIG_HOME", ".config", [&](const char* name) -> const char* {
    const auto found = environment.find(name);
    return found == environment.end() ? nullptr : found->second.c_str();
  });
  return folder ? folder->path() : "none";
}

TEST(QuillonLinuxBaseDirectoryTest, TheVariableNamesTheFolder) {
  EXPECT_EQ(configuration({{"XDG_CONFIG_HOME", "/c/onfig"}, {"HOME", "/h"}}), "/c/onfig");
}

TEST(QuillonLinuxBaseDirectoryTest, WithoutTheVariableItIsInTheHomeFolder) {
  EXPECT_EQ(configuration({{"HOME", "/h"}}), "/h/.config");
}

TEST(QuillonLinuxBaseDirectoryTest, ARelativeOrEmptyPathIsIgnored) {
  EXPECT_EQ(configuration({{"XDG_CONFIG_HOME", "config"}, {"HOME", "/h"}}), "/h/.config");
  EXPECT_EQ(configuration({{"XDG_CONFIG_HOME", ""}, {"HOME", "/h"}}), "/h/.config");
}

TEST(QuillonLinuxBaseDirectoryTest, WithoutAnyVariableTheUserDatabaseTells) {
  const std::string folder = configuration({});

  EXPECT_TRUE(folder == "none" || folder.ends_with("/.config")) << folder;
  EXPECT_EQ(configuration({{"HOME", "relative"}}), folder);
}

}  // namespace
}  // namespace quillon
