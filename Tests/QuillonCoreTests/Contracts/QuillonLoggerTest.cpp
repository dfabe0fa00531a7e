#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonCore/Contracts/QuillonLogger.h"
#include "Support/RecordingLogger.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using testing::RecordingLogger;

TEST(QuillonLoggerTest, EachConvenienceLogsWithItsLevel) {
  RecordingLogger logger;

  logger.debug([] { return std::string("a"); }, "one");
  logger.info([] { return std::string("b"); }, "two");
  logger.warn([] { return std::string("c"); }, "three");
  logger.error([] { return std::string("d"); }, "four");

  EXPECT_THAT(logger.entries(), ElementsAre(RecordingLogger::Entry("a", QuillonLogLevel::debug, "one"),
                                            RecordingLogger::Entry("b", QuillonLogLevel::info, "two"),
                                            RecordingLogger::Entry("c", QuillonLogLevel::warn, "three"),
                                            RecordingLogger::Entry("d", QuillonLogLevel::error, "four")));
}

}  // namespace
}  // namespace quillon
