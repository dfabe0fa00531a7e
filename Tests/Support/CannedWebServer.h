#pragma once

#include <map>
#include <string>
#include <thread>

#include "QuillonCore/Values/QuillonURL.h"
#include "Support/ListeningSocket.h"

namespace quillon::testing {

/// A web server of a few pages on a thread of its own, for where no other one is at hand. Every answer has a field
/// "X-Quillon: yes".
class CannedWebServer {
 public:
  /// Bodies by their paths, which begin with a slash; every other path is not found (404).
  explicit CannedWebServer(std::map<std::string, std::string> pages);
  ~CannedWebServer();
  CannedWebServer(const CannedWebServer&) = delete;
  CannedWebServer& operator=(const CannedWebServer&) = delete;

  [[nodiscard]] QuillonURL url(const std::string& path) const;

 private:
  void serve(const std::stop_token& stopToken) const;
  void answer(int connection) const;

  const std::map<std::string, std::string> pages_;
  const ListeningSocket socket_ = ListeningSocket::make();
  std::jthread thread_;
};

}  // namespace quillon::testing
