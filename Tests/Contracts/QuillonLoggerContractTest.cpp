// What every logger promises, whether it keeps messages or not.

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <chrono>
#include <functional>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "QuillonCore/Runtime/QuillonNoopLogger.h"
#include "QuillonCore/Runtime/QuillonRotatingFileLogger.h"
#include "QuillonCore/Runtime/QuillonSystemClock.h"
#include "QuillonCore/Runtime/QuillonSystemLogger.h"
#include "Support/RecordingLogger.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using testing::RecordingLogger;
using testing::TemporaryDirectory;

constexpr QuillonLogLevel kMinimumLevel = QuillonLogLevel::warn;

/// A logger that takes messages from kMinimumLevel on, with what it lives in.
struct World {
  std::shared_ptr<void> surroundings;
  std::shared_ptr<QuillonLogger> logger;
};

struct Implementation {
  friend void PrintTo(const Implementation& implementation, std::ostream* out) { *out << implementation.name; }

  std::string name;
  std::function<World()> make;
  bool keepsMessages;
};

class NoJournal final : public QuillonJournalSending {
 public:
  bool send(std::span<const std::string>) noexcept override { return false; }
};

World makeNoop() {
  return {.surroundings = nullptr, .logger = std::make_shared<QuillonNoopLogger>()};
}

World makeRecording() {
  return {.surroundings = nullptr, .logger = std::make_shared<RecordingLogger>(kMinimumLevel)};
}

World makeSystem() {
  return {.surroundings = nullptr,
          .logger = std::make_shared<QuillonSystemLogger>(
              QuillonSystemLoggerSettings{.identifier = "host", .minimumLevel = kMinimumLevel},
              std::make_shared<NoJournal>(), [](std::string_view) { throw std::runtime_error("cannot be written"); },
              std::make_shared<QuillonSystemClock>())};
}

World makeFile() {
  auto folder = std::make_shared<TemporaryDirectory>();
  return {.surroundings = folder,
          .logger = std::make_shared<QuillonRotatingFileLogger>(
              QuillonRotatingFileLoggerSettings{.file = QuillonURL::fileURL((*folder / "host.log").string()),
                                                .fileSizeLimit = 10'000,
                                                .oldFileCount = 1,
                                                .minimumLevel = kMinimumLevel},
              std::make_shared<QuillonSystemClock>())};
}

World makeFileThatCannotBeWritten() {
  return {.surroundings = nullptr,
          .logger = std::make_shared<QuillonRotatingFileLogger>(
              QuillonRotatingFileLoggerSettings{.file = QuillonURL::fileURL("/dev/null/host.log"),
                                                .fileSizeLimit = 10'000,
                                                .oldFileCount = 1,
                                                .minimumLevel = kMinimumLevel},
              std::make_shared<QuillonSystemClock>())};
}

class QuillonLoggerContract : public ::testing::TestWithParam<Implementation> {
 protected:
  World world_ = GetParam().make();
  QuillonLogger& logger_ = *world_.logger;
};

TEST_P(QuillonLoggerContract, AMessageIsMadeOnceWhenItIsWantedAndNeverOtherwise) {
  int calls = 0;
  const auto message = [&calls] {
    ++calls;
    return std::string("text");
  };

  logger_.debug(message, "category");
  logger_.info(message, "category");
  EXPECT_EQ(calls, 0);
  logger_.warn(message, "category");
  logger_.error(message, "category");

  EXPECT_EQ(calls, GetParam().keepsMessages ? 2 : 0);
}

TEST_P(QuillonLoggerContract, WhatAMessageThrowsDoesNotLeaveTheCall) {
  EXPECT_NO_THROW(logger_.error([]() -> std::string { throw std::runtime_error("reason"); }, "category"));
  EXPECT_NO_THROW(logger_.error([]() -> std::string { throw 1; }, "category"));
  EXPECT_NO_THROW(logger_.error(QuillonLogMessage(), "category"));
}

TEST_P(QuillonLoggerContract, AnyTextAndAnyCategoryIsTaken) {
  using namespace std::string_literals;
  for (const std::string& text : {""s, "a\0b"s, "a\nb\r\n"s, "\xFF\xC3"s, std::string(100'000, 'a')}) {
    EXPECT_NO_THROW(logger_.error([&text] { return text; }, text));
  }
}

TEST_P(QuillonLoggerContract, AMessageMayLogItself) {
  int calls = 0;

  logger_.error(
      [&] {
        logger_.error(
            [&calls] {
              ++calls;
              return std::string("inner");
            },
            "category");
        return std::string("outer");
      },
      "category");

  EXPECT_EQ(calls, GetParam().keepsMessages ? 1 : 0);
}

TEST_P(QuillonLoggerContract, ThreadsMayLogAtTheSameTime) {
  constexpr int kThreads = 4;
  constexpr int kMessages = 25;
  std::atomic<int> calls = 0;
  std::barrier start(kThreads);
  std::vector<std::thread> threads;
  threads.reserve(kThreads);

  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      for (int message = 0; message < kMessages; ++message) {
        logger_.error(
            [&calls] {
              ++calls;
              return std::string("text");
            },
            "category");
      }
    });
  }
  for (std::thread& thread : threads) thread.join();

  EXPECT_EQ(calls, GetParam().keepsMessages ? kThreads * kMessages : 0);
}

INSTANTIATE_TEST_SUITE_P(
    Loggers, QuillonLoggerContract,
    ::testing::Values(Implementation{"Noop", makeNoop, false}, Implementation{"Recording", makeRecording, true},
                      Implementation{"SystemThatCannotBeReached", makeSystem, true},
                      Implementation{"File", makeFile, true},
                      Implementation{"FileThatCannotBeWritten", makeFileThatCannotBeWritten, true}),
    [](const auto& testInfo) { return testInfo.param.name; });

}  // namespace
}  // namespace quillon
