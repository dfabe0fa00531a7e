#include <gtest/gtest.h>

#include "UserAccount.h"

namespace quillon {
namespace {

TEST(UserAccountTest, RootIsInTheUserDatabase) {
  const auto account = UserAccount::find(0);

  ASSERT_TRUE(account.has_value());
  EXPECT_EQ(account->userIdentifier, 0U);
  EXPECT_EQ(account->groupIdentifier, 0U);
  EXPECT_EQ(account->name, "root");
  EXPECT_TRUE(account->homeDirectory.starts_with('/'));
}

TEST(UserAccountTest, NumberWithoutEntryIsNoUser) {
  EXPECT_FALSE(UserAccount::find(3999999999U).has_value());
}

}  // namespace
}  // namespace quillon
