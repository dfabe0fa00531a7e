#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>

#include "QuillonTool/Update/PreviousAttempt.h"
#include "QuillonToolTests/Update/UpdateCommandWorld.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReportStore.h"

namespace quillon {
namespace {

using PreviousFailure = UpdateOutcome::PreviousFailure;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class PreviousAttemptTest : public ::testing::Test {
 protected:
  std::optional<PreviousFailure> settle() {
    std::optional<PreviousFailure> failure;
    EXPECT_EQ(world_.callStep([&](const ApplicationSession& session) { failure = settlePreviousAttempt(session); }),
              "done");
    return failure;
  }
  void noteAttempt(const std::string& fromVersion, std::int64_t fromBuild) const {
    world_.memory().setAttempt(
        VeskUpdateAttempt{.identifier = "A", .fromVersion = fromVersion, .fromBuild = fromBuild, .toVersion = "2.0"});
  }
  void leaveReport(const std::string& description, const std::optional<std::string>& attempt) const {
    VeskAppBundleUpdateFailureReportStore(world_.world.files)
        .writeFailureReport(description, "org.example.App", world_.now, attempt);
  }

  testing::UpdateStepWorld world_;
};

TEST_F(PreviousAttemptTest, WithoutAnAttemptThereIsNothingToSay) {
  EXPECT_FALSE(settle());

  EXPECT_EQ(world_.printed(), "");
}

TEST_F(PreviousAttemptTest, AReportIsExplainedOnce) {
  noteAttempt("1.0", 1);
  leaveReport("signatureValidationFailed", "A");

  const auto failure = settle();

  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->description, "signatureValidationFailed");
  EXPECT_EQ(failure->failedAt, world_.now);
  EXPECT_EQ(failure->version, "2.0");
  EXPECT_THAT(world_.printed(),
              HasSubstr("Update Failed (Example 2.0)\nThe code signature of the update is not valid"));
  EXPECT_THAT(world_.printed(),
              HasSubstr("Report of the last attempt: signatureValidationFailed, 2026-06-11T00:00:00Z\n"));
  EXPECT_FALSE(settle());
}

TEST_F(PreviousAttemptTest, AReportBeginsNoLineOfItsOwn) {
  leaveReport("bundleIdentifierMismatch(\n  1) Remind Me Later", std::nullopt);

  (void)settle();

  EXPECT_THAT(world_.printed(), HasSubstr("bundleIdentifierMismatch(   1) Remind Me Later, 2026"));
}

TEST_F(PreviousAttemptTest, AReportWithoutANotedAttemptIsExplainedToo) {
  leaveReport("replacementFailed", std::nullopt);

  EXPECT_EQ(settle()->description, "replacementFailed");

  EXPECT_THAT(world_.printed(), HasSubstr("Update Failed\nThe new version could not take the place"));
}

TEST_F(PreviousAttemptTest, AnAttemptThatChangedNothingAndLeftNoReportWasInterrupted) {
  noteAttempt("1.0", 1);

  EXPECT_EQ(settle()->description, "noReport");

  EXPECT_THAT(world_.printed(), HasSubstr("did not come to an end, and left no report"));
  EXPECT_FALSE(settle());
}

TEST_F(PreviousAttemptTest, AnAttemptThatChangedTheVersionOrTheBuildSucceeded) {
  noteAttempt("0.9", 1);
  EXPECT_FALSE(settle());
  EXPECT_EQ(world_.printed(), "Example was updated from version 0.9 to 1.0.\n");

  noteAttempt("1.0", 0);
  EXPECT_FALSE(settle());
}

TEST_F(PreviousAttemptTest, AnOldVersionThatAnInstallerCouldNotRemoveIsRemovedAfterItsSuccess) {
  const std::filesystem::path backup =
      world_.bundle.string() + ".vesk-update-backup-0F8CFD24-EDB8-4A85-B36A-15635A53049B";
  testing::writeFile(backup / "Contents/Info.plist", "old");
  noteAttempt("1.0", 1);  // did not succeed
  (void)settle();
  EXPECT_TRUE(std::filesystem::exists(backup));

  noteAttempt("0.9", 1);
  (void)settle();

  EXPECT_FALSE(std::filesystem::exists(backup));
}

TEST_F(PreviousAttemptTest, WhatTheAttemptLeftOnDiskIsRemoved) {
  noteAttempt("1.0", 1);
  testing::writeFile(world_.world.support / "Example/quillon-update-org.example.App/A/Example.app/file", "x");

  (void)settle();

  EXPECT_THAT(world_.world.leftBehind(), IsEmpty());
}

}  // namespace
}  // namespace quillon
