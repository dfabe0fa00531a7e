#include <gtest/gtest.h>

#include "QuillonCore/Runtime/QuillonNoopLogger.h"

namespace quillon {
namespace {

TEST(QuillonNoopLoggerTest, AMessageIsNeverComputed) {
  QuillonNoopLogger logger;
  int calls = 0;
  const auto message = [&calls] {
    ++calls;
    return std::string("text");
  };

  logger.log(message, QuillonLogLevel::error, "category");
  logger.debug(message, "category");
  logger.info(message, "category");
  logger.warn(message, "category");
  logger.error(message, "category");

  EXPECT_EQ(calls, 0);
}

}  // namespace
}  // namespace quillon
