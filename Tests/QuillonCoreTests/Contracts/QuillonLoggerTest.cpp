#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "QuillonCore/Contracts/QuillonLogger.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;

class RecordingLogger final : public QuillonLogger {
 public:
  using Entry = std::tuple<std::string, QuillonLogLevel, std::string>;

  void log(const QuillonLogMessage& message, QuillonLogLevel level, std::string_view category) override {
    entries.emplace_back(message(), level, category);
  }

  std::vector<Entry> entries;
};

TEST(QuillonLoggerTest, EachConvenienceLogsWithItsLevel) {
  RecordingLogger logger;

  logger.debug([] { return std::string("a"); }, "one");
  logger.info([] { return std::string("b"); }, "two");
  logger.warn([] { return std::string("c"); }, "three");
  logger.error([] { return std::string("d"); }, "four");

  EXPECT_THAT(logger.entries, ElementsAre(RecordingLogger::Entry("a", QuillonLogLevel::debug, "one"),
                                          RecordingLogger::Entry("b", QuillonLogLevel::info, "two"),
                                          RecordingLogger::Entry("c", QuillonLogLevel::warn, "three"),
                                          RecordingLogger::Entry("d", QuillonLogLevel::error, "four")));
}

}  // namespace
}  // namespace quillon
