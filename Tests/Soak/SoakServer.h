#pragma once

#include <mutex>
#include <string>

#include "Soak/SoakFault.h"
#include "Support/MisbehavingServer.h"

namespace quillon::testing {

/// The web server of one feed and one archive, which has the faults that a server can have.
class SoakServer {
 public:
  SoakServer();

  /// What is served from here on. `feed` holds "ORIGIN" where the server's own address is to stand.
  void publish(const std::string& feed, std::string archive, SoakFault fault);
  [[nodiscard]] std::string feedURL() const;

 private:
  void serve(MisbehavingServer::Connection& connection);
  [[nodiscard]] std::string origin() const;

  std::mutex lock_;
  std::string feed_;                   // guarded by lock_
  std::string archive_;                // guarded by lock_
  SoakFault fault_ = SoakFault::none;  // guarded by lock_
  MisbehavingServer server_;           // goes first
};

}  // namespace quillon::testing
