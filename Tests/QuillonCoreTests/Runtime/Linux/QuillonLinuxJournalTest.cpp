#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <string>

#include "QuillonCore/Runtime/Linux/QuillonLinuxJournal.h"
#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "Support/EmptyRunFolder.h"

namespace quillon {
namespace {

using testing::callWithEmptyRunFolder;

const std::array<std::string, 3> kFields = {"MESSAGE=text", "PRIORITY=4", "SYSLOG_IDENTIFIER=host"};

/// A socket at the journal's place.
FileDescriptor listenAsJournal() {
  std::filesystem::create_directories("/run/systemd/journal");
  FileDescriptor listening(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path, "/run/systemd/journal/socket");  // NOLINT(clang-analyzer-security.insecureAPI.strcpy)
  if (bind(listening.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) listening.reset();
  return listening;
}

TEST(QuillonLinuxJournalTest, AnEntryReachesTheJournalsSocket) {
  bool wasSent = false;
  std::string received(1000, '\0');

  const bool wasCalled = callWithEmptyRunFolder([&] {
    const FileDescriptor journal = listenAsJournal();
    wasSent = QuillonLinuxJournal().send(kFields);
    const ssize_t length = recv(journal.get(), received.data(), received.size(), 0);
    received.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
  });

  if (!wasCalled) GTEST_SKIP() << "this process may not mount";
  EXPECT_TRUE(wasSent);
  EXPECT_EQ(received, "MESSAGE=text\nPRIORITY=4\nSYSLOG_IDENTIFIER=host\n");
}

TEST(QuillonLinuxJournalTest, WhereThereIsNoJournalNothingIsSent) {
  bool wasSent = true;

  const bool wasCalled = callWithEmptyRunFolder([&] { wasSent = QuillonLinuxJournal().send(kFields); });

  if (!wasCalled) GTEST_SKIP() << "this process may not mount";
  EXPECT_FALSE(wasSent);
}

TEST(QuillonLinuxJournalTest, AJournalThatNobodyReadsFromIsNone) {
  bool wasSent = true;

  const bool wasCalled = callWithEmptyRunFolder([&] {
    listenAsJournal().reset();
    wasSent = QuillonLinuxJournal().send(kFields);
  });

  if (!wasCalled) GTEST_SKIP() << "this process may not mount";
  EXPECT_FALSE(wasSent);
}

}  // namespace
}  // namespace quillon
