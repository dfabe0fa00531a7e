#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/Linux/QuillonLinuxWorkspace.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "Support/ReportFifo.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::ReportFifo;
using testing::TemporaryDirectory;

/// A workspace whose desktop opener, and applications, write what they got into a pipe.
class QuillonLinuxWorkspaceTest : public ::testing::Test {
 protected:
  QuillonLinuxWorkspaceTest() {
    testing::writeScript(opener_, "echo \"desktop: $*\" > '" + report_.path().string() + "'");
  }

  bool open(const QuillonURL& url) {
    QuillonLinuxWorkspace workspace(std::make_shared<QuillonPosixFileManager>(), opener_.string(),
                                    [this](std::string_view line) { log_.emplace_back(line); });
    return workspace.open(url);
  }
  bool open(const std::filesystem::path& path) { return open(QuillonURL::fileURL(path.string())); }

  [[nodiscard]] std::filesystem::path writeApplication() const {
    return testing::writeApplication(folder_ / "An Example.app",
                                     "echo \"application: $0 $#\" > '" + report_.path().string() + "'");
  }
  static void writeExecutableName(const std::filesystem::path& bundle, const std::string& name) {
    testing::writeFile(bundle / "Contents/Info.plist", "{ CFBundleExecutable = \"" + name + "\"; }");
  }

  TemporaryDirectory folder_;
  ReportFifo report_{folder_ / "report"};
  std::filesystem::path opener_ = folder_ / "opener";
  std::vector<std::string> log_;
};

TEST_F(QuillonLinuxWorkspaceTest, ApplicationIsStartedByItsExecutable) {
  const auto bundle = writeApplication();

  EXPECT_TRUE(open(bundle));

  EXPECT_EQ(report_.read(), "application: " + (bundle / "Contents/MacOS/Example").string() + " 0\n");
  EXPECT_THAT(log_, IsEmpty());
}

TEST_F(QuillonLinuxWorkspaceTest, FilesAndFoldersGoToTheDesktop) {
  testing::writeFile(folder_ / "Read me.txt", "");

  EXPECT_TRUE(open(folder_ / "Read me.txt"));
  EXPECT_EQ(report_.read(), "desktop: " + (folder_ / "Read me.txt").string() + "\n");
  EXPECT_TRUE(open(folder_.path()));
  EXPECT_EQ(report_.read(), "desktop: " + folder_.path().string() + "\n");
}

TEST_F(QuillonLinuxWorkspaceTest, FileNamedLikeAnApplicationGoesToTheDesktop) {
  testing::writeFile(folder_ / "Fake.app", "");

  EXPECT_TRUE(open(folder_ / "Fake.app"));
  EXPECT_EQ(report_.read(), "desktop: " + (folder_ / "Fake.app").string() + "\n");
}

TEST_F(QuillonLinuxWorkspaceTest, WebAddressesGoToTheDesktop) {
  EXPECT_TRUE(open(*QuillonURL::parse("https://example.org/a%20b?x=1")));
  EXPECT_EQ(report_.read(), "desktop: https://example.org/a%20b?x=1\n");
}

TEST_F(QuillonLinuxWorkspaceTest, ApplicationThatCannotBeExecutedIsAFailure) {
  const auto bundle = writeApplication();
  std::filesystem::remove(bundle / "Contents/MacOS/Example");

  EXPECT_FALSE(open(bundle));
  EXPECT_THAT(log_, ElementsAre(HasSubstr("ENOENT")));
}

TEST_F(QuillonLinuxWorkspaceTest, ExecutableIsAPlainNameInsideTheBundle) {
  const auto bundle = writeApplication();
  for (const char* name : {"", ".", "..", "../Other", "/bin/true", "a/b", "\\000"}) {
    writeExecutableName(bundle, name);
    EXPECT_FALSE(open(bundle)) << name;
  }
  EXPECT_THAT(log_, ::testing::Each(HasSubstr("names no executable")));
}

TEST_F(QuillonLinuxWorkspaceTest, BundleWithoutReadableInformationIsAFailure) {
  std::filesystem::create_directories(folder_ / "Empty.app");
  EXPECT_FALSE(open(folder_ / "Empty.app"));

  testing::writeFile(folder_ / "Broken.app/Contents/Info.plist", "<plist>");
  EXPECT_FALSE(open(folder_ / "Broken.app"));
}

TEST_F(QuillonLinuxWorkspaceTest, MissingItemIsAFailure) {
  EXPECT_FALSE(open(folder_ / "missing"));
  EXPECT_FALSE(open(folder_ / "Missing.app"));
  EXPECT_EQ(log_.size(), 2U);
}

TEST_F(QuillonLinuxWorkspaceTest, MissingDesktopOpenerIsNamed) {
  std::filesystem::remove(opener_);

  EXPECT_FALSE(open(folder_.path()));
  EXPECT_THAT(log_, ElementsAre(HasSubstr(opener_.string() + " is not installed")));
}

}  // namespace
}  // namespace quillon
