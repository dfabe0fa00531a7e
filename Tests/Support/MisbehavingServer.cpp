#include "Support/MisbehavingServer.h"

#include <sys/socket.h>

#include <array>
#include <utility>

namespace quillon::testing {

std::string MisbehavingServer::Connection::readRequest() {
  std::string request;
  char byte = 0;
  while (!request.ends_with("\r\n\r\n") && recv(descriptor_, &byte, 1, 0) == 1) request += byte;
  return request;
}

bool MisbehavingServer::Connection::send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

void MisbehavingServer::Connection::waitUntilClosed() {
  std::array<char, 4096> ignored{};
  while (recv(descriptor_, ignored.data(), ignored.size(), 0) > 0) {
  }
}

void MisbehavingServer::Connection::reset() {
  const linger atOnce{.l_onoff = 1, .l_linger = 0};
  setsockopt(descriptor_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

MisbehavingServer::MisbehavingServer(std::function<void(Connection&)> serve)
    : serve_(std::move(serve)), listening_(ListeningSocket::make()), thread_([this] { run(); }) {}

MisbehavingServer::~MisbehavingServer() {
  {
    const std::lock_guard guard(lock_);
    isStopped_ = true;
    shutdown(listening_.descriptor.get(), SHUT_RDWR);
    if (served_ >= 0) shutdown(served_, SHUT_RDWR);
  }
  thread_.join();
}

QuillonURL MisbehavingServer::url(std::string_view path) const {
  return QuillonURL::parse("http://127.0.0.1:" + std::to_string(port()) + std::string(path)).value();
}

void MisbehavingServer::run() {
  for (;;) {
    const FileDescriptor accepted(accept4(listening_.descriptor.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!accepted || !hold(accepted.get())) return;
    ++connectionCount_;
    Connection connection(accepted.get());
    serve_(connection);
    (void)hold(-1);
  }
}

/// Notes what is being served; false when nothing is any more.
bool MisbehavingServer::hold(int descriptor) {
  const std::lock_guard guard(lock_);
  served_ = descriptor;
  return !isStopped_;
}

}  // namespace quillon::testing
