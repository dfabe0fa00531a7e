#pragma once

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"

namespace quillon::testing {

/// Two ends of one conversation.
struct SocketPair {
  FileDescriptor host;
  FileDescriptor service;
};

inline SocketPair makeSocketPair() {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw std::system_error(errno, std::generic_category(), "socketpair");
  }
  return {.host = FileDescriptor(ends[0]), .service = FileDescriptor(ends[1])};
}

}  // namespace quillon::testing
