#include <gtest/gtest.h>

#include <cerrno>
#include <type_traits>

#include "QuillonCore/Values/POSIXErrorName.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

TEST(QuillonErrorTest, POSIXErrorSaysWhatFailedWhereAndWhy) {
  const QuillonSystemError error = QuillonSystemError::posix(EACCES, "rename", "/a/b");

  EXPECT_STREQ(error.what(), "Cannot rename /a/b: Permission denied (EACCES)");
  EXPECT_EQ(error.domain(), "POSIX");
  EXPECT_EQ(error.code(), EACCES);
  EXPECT_TRUE(error.isPOSIX(EACCES));
  EXPECT_FALSE(error.isPOSIX(EPERM));
}

TEST(QuillonErrorTest, CancellationIsNoQuillonError) {
  EXPECT_FALSE((std::is_base_of_v<QuillonError, QuillonCancellationError>));
}

TEST(POSIXErrorNameTest, KnownCodesHaveTheirNameAndUnknownOnesAreEIO) {
  EXPECT_EQ(posixErrorName(EPERM), "EPERM");
  EXPECT_EQ(posixErrorName(ENOTSUP), "ENOTSUP");
  EXPECT_EQ(posixErrorName(987654), "EIO");
}

}  // namespace
}  // namespace quillon
