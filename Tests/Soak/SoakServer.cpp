#include "Soak/SoakServer.h"

#include <string_view>
#include <utility>

namespace quillon::testing {
namespace {

constexpr std::string_view kOrigin = "ORIGIN";
constexpr std::string_view kServerError =
    "HTTP/1.1 503 Service Unavailable\r\nContent-Length: 5\r\nConnection: close\r\n\r\nbusy\n";

std::string headerFor(std::size_t length) {
  return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(length) + "\r\nConnection: close\r\n\r\n";
}

}  // namespace

SoakServer::SoakServer() : server_([this](MisbehavingServer::Connection& connection) { serve(connection); }) {}

std::string SoakServer::origin() const {
  return "http://127.0.0.1:" + std::to_string(server_.port());
}

std::string SoakServer::feedURL() const {
  return origin() + "/feed.plist";
}

void SoakServer::publish(const std::string& feed, std::string archive, SoakFault fault) {
  std::string published = feed;
  for (std::size_t at = 0; (at = published.find(kOrigin, at)) != std::string::npos;) {
    published.replace(at, kOrigin.size(), origin());
  }
  const std::lock_guard guard(lock_);
  feed_ = std::move(published);
  archive_ = std::move(archive);
  fault_ = fault;
}

void SoakServer::serve(MisbehavingServer::Connection& connection) {
  const std::string request = connection.readRequest();
  std::unique_lock guard(lock_);
  const bool isFeed = request.starts_with("GET /feed.plist ");
  const std::string body = isFeed ? feed_ : archive_;
  const SoakFault fault = fault_;
  guard.unlock();

  if ((isFeed && fault == SoakFault::feedError) || (!isFeed && fault == SoakFault::archiveError)) {
    (void)connection.send(kServerError);
    return;
  }
  const bool isCut = !isFeed && fault == SoakFault::truncatedArchive;
  (void)(connection.send(headerFor(body.size())) &&
         connection.send(std::string_view(body).substr(0, isCut ? body.size() / 2 : body.size())));
}

}  // namespace quillon::testing
