#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "Support/TestMachine.h"

namespace quillon::testing {

/// A test suite with one TestMachine, booted before its first test.
///
/// Where no machine can be booted the tests are skipped, with the reason; in CI they fail, so that they never stop to
/// run without anybody noticing.
class MachineScenario : public ::testing::Test {
 protected:
  /// Where the commands and the test programs of this build are in the machine. The commands are where they would be
  /// installed, so that a privileged one finds the others.
  static constexpr const char* commandsFolder = QUILLON_TOOL_FOLDER;
  static constexpr const char* programsFolder = "/opt/quillon/programs";

  static void SetUpTestSuite() {
    try {
      machine_ = std::make_unique<TestMachine>(std::vector<TestMachine::Folder>{
          {QUILLON_BINARY_FOLDER, commandsFolder}, {QUILLON_TEST_PROGRAM_FOLDER, programsFolder}});
    } catch (const TestMachineUnavailable& reason) {
      whyUnavailable_ = reason.what();
    }
  }
  static void TearDownTestSuite() { machine_.reset(); }

  void SetUp() override {
    if (machine_ != nullptr) return;
    if (std::getenv("CI") != nullptr) FAIL() << "CI has to boot a test machine: " << whyUnavailable_;
    GTEST_SKIP() << whyUnavailable_;
  }

  [[nodiscard]] static bool isBooted() { return machine_ != nullptr; }
  [[nodiscard]] static TestMachine& machine() { return *machine_; }

  /// Has polkit read its files again. It would notice by itself, but nobody could tell when.
  static void restartPolkit() {
    // A service that is started too often is refused, unless that is forgotten; there is nothing to forget of one that
    // was not started at all.
    (void)machine().run({"systemctl", "reset-failed", "polkit.service"});
    const TestMachineCommandResult result = machine().run({"systemctl", "restart", "polkit.service"});
    ASSERT_EQ(result.status, 0) << result.output;
  }

 private:
  inline static std::unique_ptr<TestMachine> machine_;
  inline static std::string whyUnavailable_;
};

}  // namespace quillon::testing
