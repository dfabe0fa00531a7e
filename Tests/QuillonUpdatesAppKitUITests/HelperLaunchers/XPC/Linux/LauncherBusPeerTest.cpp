#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <functional>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/LauncherBusPeer.h"
#include "Support/SocketPair.h"

namespace quillon {
namespace {

std::int64_t errorOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const QuillonSystemError& error) {
    return error.code();
  }
  return 0;
}

TEST(LauncherBusPeerTest, TheMakerOfASocketPairIsThePeerOfBothEnds) {
  const auto sockets = testing::makeSocketPair();

  EXPECT_EQ(launcherBusPeer(sockets.service.get(), geteuid()), getpid());
  EXPECT_EQ(launcherBusPeer(sockets.host.get(), geteuid()), getpid());
}

TEST(LauncherBusPeerTest, AnotherUserIsRefused) {
  const auto sockets = testing::makeSocketPair();

  EXPECT_EQ(errorOf([&] { (void)launcherBusPeer(sockets.service.get(), geteuid() + 1); }), EACCES);
}

TEST(LauncherBusPeerTest, RootIsNoException) {
  const auto sockets = testing::makeSocketPair();
  const uid_t notTheMaker = geteuid() == 0 ? 65534 : 0;

  EXPECT_EQ(errorOf([&] { (void)launcherBusPeer(sockets.service.get(), notTheMaker); }), EACCES);
}

TEST(LauncherBusPeerTest, WhatHasNoPeerIsRefused) {
  const FileDescriptor network(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const FileDescriptor unconnected(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));

  EXPECT_NE(errorOf([&] { (void)launcherBusPeer(network.get(), geteuid()); }), 0);
  EXPECT_NE(errorOf([&] { (void)launcherBusPeer(unconnected.get(), geteuid()); }), 0);
  EXPECT_EQ(errorOf([] { (void)launcherBusPeer(-1, geteuid()); }), EBADF);
}

}  // namespace
}  // namespace quillon
