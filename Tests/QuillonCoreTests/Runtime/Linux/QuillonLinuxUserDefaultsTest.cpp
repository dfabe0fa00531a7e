#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>

#include "QuillonCore/Runtime/Linux/QuillonLinuxUserDefaults.h"
#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "Support/FaultInjectingFileManager.h"
#include "Support/ScopedFileLengthLimit.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::FaultInjectingFileManager;
using testing::readFile;
using testing::ScopedFileLengthLimit;
using testing::TemporaryDirectory;
using testing::writeFile;
using Value = QuillonPropertyListValue;

/// One byte from one process to another, or its end.
class Signal {
 public:
  Signal() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) std::abort();
    reading_ = FileDescriptor(ends[0]);
    writing_ = FileDescriptor(ends[1]);
  }
  void send() const {
    if (write(writing_.get(), "x", 1) != 1) std::abort();
  }
  void wait() const {
    char byte = 0;
    if (read(reading_.get(), &byte, 1) != 1) std::abort();
  }

 private:
  FileDescriptor reading_;
  FileDescriptor writing_;
};

class QuillonLinuxUserDefaultsTest : public ::testing::Test {
 protected:
  [[nodiscard]] QuillonLinuxUserDefaults defaults() const { return {files_, folderURL_}; }
  [[nodiscard]] fs::path file() const { return folder_ / "settings/UserDefaults.plist"; }
  [[nodiscard]] fs::path damagedFile() const { return folder_ / "settings/UserDefaults.plist.damaged"; }

  template <typename Function>
  static void expectFailure(int code, Function&& function) {
    try {
      function();
      ADD_FAILURE() << "nothing was thrown";
    } catch (const QuillonSystemError& error) {
      EXPECT_TRUE(error.isPOSIX(code)) << error.what();
    }
  }

  static void expectSuccess(pid_t child) {
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }

  /// The settings are empty whatever `bytes` are, and the next write keeps these aside.
  void expectDamaged(const std::string& bytes) {
    SCOPED_TRACE(bytes.substr(0, 40));
    writeFile(file(), bytes);
    QuillonLinuxUserDefaults store = defaults();

    EXPECT_EQ(store.objectForKey("key"), std::nullopt);
    EXPECT_EQ(readFile(file()), bytes);
    store.set(Value(1), "other");

    EXPECT_EQ(store.integerForKey("other"), 1);
    EXPECT_TRUE(readFile(damagedFile()) == bytes);
  }

  TemporaryDirectory folder_;
  QuillonURL folderURL_ = QuillonURL::fileURL((folder_ / "settings").string());
  std::shared_ptr<FaultInjectingFileManager> files_ =
      std::make_shared<FaultInjectingFileManager>(std::make_shared<QuillonPosixFileManager>());
};

TEST_F(QuillonLinuxUserDefaultsTest, AnIdentifierIsOnePathComponent) {
  const QuillonURL configuration = QuillonURL::fileURL("/c");

  EXPECT_EQ(QuillonLinuxUserDefaults::folderForBundleIdentifier("com.example.app", configuration).path(),
            "/c/com.example.app");
  using namespace std::string_view_literals;
  for (const std::string_view identifier : {""sv, "."sv, ".."sv, "a/b"sv, "/a"sv, "../a"sv, "a\0b"sv}) {
    expectFailure(EINVAL,
                  [&] { (void)QuillonLinuxUserDefaults::folderForBundleIdentifier(identifier, configuration); });
  }
}

TEST_F(QuillonLinuxUserDefaultsTest, AHostGetsNoSettingsForAnIdentifierThatLeadsElsewhere) {
  expectFailure(EINVAL, [] { (void)makeSystemUserDefaults("../com.example.app"); });
}

TEST_F(QuillonLinuxUserDefaultsTest, TheSettingsAreAPropertyListInAFolderForTheUserAlone) {
  folderURL_ = QuillonURL::fileURL((folder_ / "config/com.example.app").string());

  defaults().set(Value(1), "key");

  EXPECT_EQ(readPropertyList(readFile(folder_ / "config/com.example.app/UserDefaults.plist")),
            Value(Value::Dictionary{{"key", Value(1)}}));
  for (const char* name : {"config", "config/com.example.app"}) {
    EXPECT_EQ(fs::status(folder_ / name).permissions(), fs::perms(0700)) << name;
  }
}

TEST_F(QuillonLinuxUserDefaultsTest, ReadingAndRemovingMakesNoFolder) {
  EXPECT_FALSE(defaults().boolForKey("key"));
  defaults().removeObject("key");
  defaults().set(std::nullopt, "key");

  EXPECT_FALSE(fs::exists(folder_ / "settings"));
}

TEST_F(QuillonLinuxUserDefaultsTest, APropertyListThatSomebodyWroteByHandIsRead) {
  writeFile(file(), "{ key = value; }");

  EXPECT_EQ(defaults().stringForKey("key"), "value");
  defaults().set(Value(2), "other");

  EXPECT_EQ(defaults().stringForKey("key"), "value");
  EXPECT_FALSE(fs::exists(damagedFile()));
}

TEST_F(QuillonLinuxUserDefaultsTest, WhatAnotherStoreWroteIsSeenAtOnceAndKept) {
  QuillonLinuxUserDefaults one = defaults();
  QuillonLinuxUserDefaults other = defaults();
  one.set(Value(1), "one");

  other.set(Value(2), "other");

  EXPECT_EQ(other.integerForKey("one"), 1);
  EXPECT_EQ(one.integerForKey("other"), 2);
}

TEST_F(QuillonLinuxUserDefaultsTest, AValueThatIsThereAlreadyWritesNothing) {
  defaults().set(Value(1), "key");
  const int changes = files_->changes();

  defaults().set(Value(1), "key");
  defaults().removeObject("none");

  EXPECT_EQ(files_->changes(), changes);
}

TEST_F(QuillonLinuxUserDefaultsTest, ADamagedFileIsEmptyAndKeptAside) {
  expectDamaged("");
  expectDamaged("bplist00 and nothing more");
  expectDamaged("<?xml version=\"1.0\"?><plist><dict><key>key</key>");
  expectDamaged(std::string(200000, '('));
  expectDamaged("(an, array, is, no, settings)");
  expectDamaged(std::string(4096, '\0'));
}

TEST_F(QuillonLinuxUserDefaultsTest, AFileThatIsTooLargeIsNotReadIntoMemory) {
  fs::create_directory(folder_ / "settings");
  writeFile(file(), "{ key = value; }");
  fs::resize_file(file(), std::uintmax_t{1} << 40);

  EXPECT_EQ(defaults().objectForKey("key"), std::nullopt);
  defaults().set(Value(1), "other");

  EXPECT_EQ(defaults().integerForKey("other"), 1);
  EXPECT_EQ(fs::file_size(damagedFile()), std::uintmax_t{1} << 40);
}

TEST_F(QuillonLinuxUserDefaultsTest, NoFileIsMadeThatWouldBeTooLarge) {
  defaults().set(Value("before"), "key");

  expectFailure(EFBIG,
                [&] { defaults().set(Value(std::string(QuillonLinuxUserDefaults::kMaximumFileSize, 'x')), "key"); });

  EXPECT_EQ(defaults().stringForKey("key"), "before");
}

TEST_F(QuillonLinuxUserDefaultsTest, RemovingFromADamagedFileLeavesIt) {
  writeFile(file(), "damaged {");

  defaults().removeObject("key");

  EXPECT_EQ(readFile(file()), "damaged {");
  EXPECT_FALSE(fs::exists(damagedFile()));
}

TEST_F(QuillonLinuxUserDefaultsTest, WhatIsNoFileIsEmptyAndNotReplaced) {
  writeFile(folder_ / "target", "{ key = value; }");
  fs::create_directory(folder_ / "settings");

  fs::create_symlink("../target", file());
  EXPECT_EQ(defaults().objectForKey("key"), std::nullopt);
  expectFailure(ELOOP, [&] { defaults().set(Value(1), "key"); });
  fs::remove(file());

  fs::create_directory(file());
  EXPECT_EQ(defaults().objectForKey("key"), std::nullopt);
  expectFailure(EISDIR, [&] { defaults().set(Value(1), "key"); });
  fs::remove(file());

  ASSERT_EQ(mkfifo(file().c_str(), 0600), 0);
  EXPECT_EQ(defaults().objectForKey("key"), std::nullopt);
  expectFailure(EINVAL, [&] { defaults().set(Value(1), "key"); });
  EXPECT_EQ(readFile(folder_ / "target"), "{ key = value; }");
}

TEST_F(QuillonLinuxUserDefaultsTest, AFullDiskLeavesTheSettingsAsTheyWere) {
  defaults().set(Value("before"), "key");
  const std::string bytes = readFile(file());
  {
    const ScopedFileLengthLimit full(16);

    expectFailure(EFBIG, [&] { defaults().set(Value("after"), "key"); });
  }

  EXPECT_EQ(readFile(file()), bytes);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / "settings"), {}), 2) << "settings and lock only";
}

TEST_F(QuillonLinuxUserDefaultsTest, WhicheverChangeFailsTheSettingsAreAsBeforeOrAfterAndTheDamagedFileIsKept) {
  for (int n = 1; n < 10; ++n) {
    SCOPED_TRACE(n);
    fs::remove_all(folder_ / "settings");
    writeFile(file(), "damaged {");
    writeFile(damagedFile(), "damaged earlier");
    files_ = std::make_shared<FaultInjectingFileManager>(std::make_shared<QuillonPosixFileManager>());
    files_->failChange(n, ENOSPC);

    if (n <= 3) {
      expectFailure(ENOSPC, [&] { defaults().set(Value(1), "key"); });
    } else {
      defaults().set(Value(1), "key");
    }

    EXPECT_EQ(defaults().objectForKey("key").has_value(), !files_->didFail());
    EXPECT_EQ(readFile(fs::exists(file()) && files_->didFail() ? file() : damagedFile()), "damaged {");
    if (!files_->didFail()) return;
  }
  FAIL() << "no run went without a failure";
}

TEST_F(QuillonLinuxUserDefaultsTest, AFolderThatCannotBeWrittenIsAnErrorForWritersAndNoneForReaders) {
  fs::permissions(folder_.path(), fs::perms(0755));
  defaults().set(Value(1), "key");
  fs::permissions(folder_ / "settings", fs::perms(0555));

  const pid_t child = fork();
  if (child == 0) {
    const bool isOrdinary = geteuid() != 0 || setuid(65534) == 0;
    bool isRefused = false;
    try {
      defaults().set(Value(2), "key");
    } catch (const QuillonSystemError& error) {
      isRefused = error.isPOSIX(EACCES);
    }
    _exit(isOrdinary && isRefused && defaults().integerForKey("key") == 1 ? 0 : 1);
  }

  expectSuccess(child);
  fs::permissions(folder_ / "settings", fs::perms(0755));
}

TEST_F(QuillonLinuxUserDefaultsTest, AFileThatCannotBeReadIsNotOverwritten) {
  fs::permissions(folder_.path(), fs::perms(0755));
  writeFile(file(), "{ key = 1; }");
  fs::permissions(file(), fs::perms(0));
  fs::permissions(folder_ / "settings", fs::perms(0777));

  const pid_t child = fork();
  if (child == 0) {
    const bool isOrdinary = geteuid() != 0 || setuid(65534) == 0;
    bool isRefused = false;
    try {
      defaults().set(Value(2), "key");
    } catch (const QuillonSystemError& error) {
      isRefused = error.isPOSIX(EACCES);
    }
    _exit(isOrdinary && isRefused && !defaults().objectForKey("key") ? 0 : 1);
  }

  expectSuccess(child);
  fs::permissions(file(), fs::perms(0600));
  EXPECT_EQ(readFile(file()), "{ key = 1; }");
}

TEST_F(QuillonLinuxUserDefaultsTest, AFileInThePlaceOfTheFolderIsAnError) {
  writeFile(folder_ / "settings", "");

  expectFailure(ENOTDIR, [&] { defaults().set(Value(1), "key"); });

  EXPECT_EQ(defaults().objectForKey("key"), std::nullopt);
}

TEST_F(QuillonLinuxUserDefaultsTest, AnotherProcessWaitsUntilAWriterIsDone) {
  defaults().set(Value(0), "first");
  const Signal mayStart;
  const pid_t child = fork();
  if (child == 0) {
    mayStart.wait();
    QuillonLinuxUserDefaults(std::make_shared<QuillonPosixFileManager>(), folderURL_).set(Value(2), "child");
    _exit(0);
  }
  bool isLocked = false;
  // Right before this process writes, with what it has read.
  files_->beforeChange(files_->changes() + 1, [&] {
    const FileDescriptor lock(open((folder_ / "settings/UserDefaults.lock").c_str(), O_RDWR | O_CLOEXEC));
    isLocked = flock(lock.get(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    mayStart.send();
  });

  defaults().set(Value(1), "parent");
  expectSuccess(child);

  EXPECT_TRUE(isLocked);
  EXPECT_EQ(defaults().integerForKey("parent"), 1);
  EXPECT_EQ(defaults().integerForKey("child"), 2);
}

TEST_F(QuillonLinuxUserDefaultsTest, ProcessesThatWriteDifferentKeysAtOnceLoseNothing) {
  static constexpr int kKeys = 20;
  const auto writeKeys = [&](const std::string& prefix) {
    QuillonLinuxUserDefaults store(std::make_shared<QuillonPosixFileManager>(), folderURL_);
    for (int key = 0; key < kKeys; ++key) store.set(Value(key), prefix + std::to_string(key));
  };
  const Signal childIsReady;
  const Signal mayStart;
  const pid_t child = fork();
  if (child == 0) {
    childIsReady.send();
    mayStart.wait();
    writeKeys("child");
    _exit(0);
  }
  childIsReady.wait();

  mayStart.send();
  writeKeys("parent");
  expectSuccess(child);

  for (int key = 0; key < kKeys; ++key) {
    EXPECT_EQ(defaults().objectForKey("parent" + std::to_string(key)), Value(key));
    EXPECT_EQ(defaults().objectForKey("child" + std::to_string(key)), Value(key));
  }
}

TEST_F(QuillonLinuxUserDefaultsTest, AWriterThatIsKilledLeavesTheSettingsAndNobodyWaiting) {
  defaults().set(Value("before"), "key");
  const pid_t child = fork();
  if (child == 0) {
    files_->beforeChange(files_->changes() + 1, [] { _exit(0); });
    defaults().set(Value("lost"), "key");
    _exit(1);
  }
  expectSuccess(child);

  EXPECT_EQ(defaults().stringForKey("key"), "before");
  defaults().set(Value("after"), "key");

  EXPECT_EQ(defaults().stringForKey("key"), "after");
}

}  // namespace
}  // namespace quillon
