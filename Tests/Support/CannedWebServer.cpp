#include "Support/CannedWebServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <string_view>
#include <utility>

namespace quillon::testing {
namespace {

/// The path of "GET /path HTTP/1.1"; empty when the other end says nothing of the kind.
std::string readPath(int connection) {
  std::string request;
  std::array<char, 4096> piece{};
  while (request.find("\r\n\r\n") == std::string::npos) {
    const ssize_t count = read(connection, piece.data(), piece.size());
    if (count <= 0) return {};
    request.append(piece.data(), static_cast<std::size_t>(count));
  }
  const std::size_t begin = request.find(' ') + 1;
  return request.substr(begin, request.find(' ', begin) - begin);
}

void writeAll(int connection, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(connection, bytes.data(), bytes.size());
    if (count <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

/// Brings a server that waits for somebody to its senses.
void connectOnce(std::uint16_t port) {
  const FileDescriptor descriptor(socket(AF_INET, SOCK_STREAM, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  (void)connect(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

}  // namespace

CannedWebServer::CannedWebServer(std::map<std::string, std::string> pages)
    : pages_(std::move(pages)), thread_([this](const std::stop_token& stopToken) { serve(stopToken); }) {}

CannedWebServer::~CannedWebServer() {
  thread_.request_stop();
  connectOnce(socket_.port);
}

QuillonURL CannedWebServer::url(const std::string& path) const {
  return QuillonURL::parse("http://127.0.0.1:" + std::to_string(socket_.port) + path).value();
}

void CannedWebServer::serve(const std::stop_token& stopToken) const {
  while (!stopToken.stop_requested()) {
    const FileDescriptor connection(accept(socket_.descriptor.get(), nullptr, nullptr));
    if (connection && !stopToken.stop_requested()) answer(connection.get());
  }
}

void CannedWebServer::answer(int connection) const {
  const auto page = pages_.find(readPath(connection));
  const bool isFound = page != pages_.end();
  const std::string body = isFound ? page->second : "Not Found";
  writeAll(connection, std::string(isFound ? "HTTP/1.1 200 OK\r\n" : "HTTP/1.1 404 Not Found\r\n") +
                           "X-Quillon: yes\r\nConnection: close\r\nContent-Length: " + std::to_string(body.size()) +
                           "\r\n\r\n" + body);
}

}  // namespace quillon::testing
