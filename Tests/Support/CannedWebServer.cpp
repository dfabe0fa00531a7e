#include "Support/CannedWebServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <string_view>
#include <utility>

namespace quillon::testing {
namespace {

/// Empty when the other end closes before it has said all.
std::string readRequest(int connection) {
  std::string request;
  std::array<char, 4096> piece{};
  while (request.find("\r\n\r\n") == std::string::npos) {
    const ssize_t count = read(connection, piece.data(), piece.size());
    if (count <= 0) return {};
    request.append(piece.data(), static_cast<std::size_t>(count));
  }
  return request;
}

/// The path of "GET /path HTTP/1.1".
std::string pathOf(const std::string& request) {
  const std::size_t begin = request.find(' ') + 1;
  return request.substr(begin, request.find(' ', begin) - begin);
}

std::string answerOf(const std::string& status, const std::string& fields, const std::string& body) {
  return "HTTP/1.1 " + status +
         "\r\nX-Quillon: yes\r\nConnection: close\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" + fields +
         "\r\n" + body;
}

/// For a client that closes before it has heard all. The signal goes to the thread that wrote.
void blockBrokenPipeSignal() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
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

CannedWebServer::CannedWebServer(std::map<std::string, std::string> pages, std::map<std::string, std::string> redirects)
    : pages_(std::move(pages)),
      redirects_(std::move(redirects)),
      thread_([this](const std::stop_token& stopToken) { serve(stopToken); }) {}

CannedWebServer::~CannedWebServer() {
  thread_.request_stop();
  connectOnce(socket_.port);
}

QuillonURL CannedWebServer::url(const std::string& path) const {
  return QuillonURL::parse("http://127.0.0.1:" + std::to_string(socket_.port) + path).value();
}

std::string CannedWebServer::lastRequest() const {
  const std::lock_guard guard(lock_);
  return lastRequest_;
}

void CannedWebServer::serve(const std::stop_token& stopToken) {
  blockBrokenPipeSignal();
  while (!stopToken.stop_requested()) {
    const FileDescriptor connection(accept(socket_.descriptor.get(), nullptr, nullptr));
    if (connection && !stopToken.stop_requested()) answer(connection.get());
  }
}

void CannedWebServer::answer(int connection) {
  const std::string request = readRequest(connection);
  {
    const std::lock_guard guard(lock_);
    lastRequest_ = request;
  }
  writeAll(connection, answerTo(pathOf(request)));
}

std::string CannedWebServer::answerTo(const std::string& path) const {
  if (const auto page = pages_.find(path); page != pages_.end()) return answerOf("200 OK", "", page->second);
  if (const auto redirect = redirects_.find(path); redirect != redirects_.end()) {
    return answerOf("302 Found", "Location: " + redirect->second + "\r\n", "");
  }
  return answerOf("404 Not Found", "", "Not Found");
}

}  // namespace quillon::testing
