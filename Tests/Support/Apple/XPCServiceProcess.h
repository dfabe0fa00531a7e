#pragma once

#include <functional>
#include <memory>
#include <string>

namespace quillon::testing {

/// The process of an XPC service that the test is. Its end waits for that of every connection to it.
class XPCServiceProcess {
 public:
  /// Runs `main`, which serves connections to the service `name`. Null where a test can have no such process: launchd
  /// starts one for a bundle in the application that connects.
  [[nodiscard]] static std::shared_ptr<XPCServiceProcess> start(const std::string& name, std::function<void()> main);

  virtual ~XPCServiceProcess() = default;

  /// Ends it as a crash does: without a word to the hosts.
  virtual void crash() = 0;
};

}  // namespace quillon::testing
