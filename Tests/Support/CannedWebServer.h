#pragma once

#include <map>
#include <mutex>
#include <string>
#include <thread>

#include "QuillonCore/Values/QuillonURL.h"
#include "Support/ListeningSocket.h"

namespace quillon::testing {

/// A web server of a few pages on a thread of its own, for where no other one is at hand. Every answer has a field
/// "X-Quillon: yes".
class CannedWebServer {
 public:
  /// Bodies, and what other paths redirect to (302), by their paths, which begin with a slash; every other path is not
  /// found (404).
  explicit CannedWebServer(std::map<std::string, std::string> pages, std::map<std::string, std::string> redirects = {});
  ~CannedWebServer();
  CannedWebServer(const CannedWebServer&) = delete;
  CannedWebServer& operator=(const CannedWebServer&) = delete;

  [[nodiscard]] QuillonURL url(const std::string& path) const;
  /// Header of the last request that was answered.
  [[nodiscard]] std::string lastRequest() const;

 private:
  void serve(const std::stop_token& stopToken);
  void answer(int connection);
  [[nodiscard]] std::string answerTo(const std::string& path) const;

  const std::map<std::string, std::string> pages_;
  const std::map<std::string, std::string> redirects_;
  mutable std::mutex lock_;
  std::string lastRequest_;  // guarded by lock_
  const ListeningSocket socket_ = ListeningSocket::make();
  std::jthread thread_;
};

}  // namespace quillon::testing
