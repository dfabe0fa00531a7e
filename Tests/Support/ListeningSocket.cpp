#include "Support/ListeningSocket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <system_error>

namespace quillon::testing {
namespace {

void require(bool condition) {
  if (!condition) throw std::system_error(errno, std::generic_category(), "listen");
}

}  // namespace

ListeningSocket ListeningSocket::make() {
  ListeningSocket made{.descriptor = FileDescriptor(socket(AF_INET, SOCK_STREAM, 0))};
  const int descriptor = made.descriptor.get();
  require(fcntl(descriptor, F_SETFD, FD_CLOEXEC) == 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  require(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), length) == 0);
  require(listen(descriptor, SOMAXCONN) == 0);
  require(getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) == 0);
  made.port = ntohs(address.sin_port);
  return made;
}

}  // namespace quillon::testing
