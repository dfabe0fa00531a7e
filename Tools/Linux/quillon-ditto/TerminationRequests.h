#pragma once

#include <pthread.h>

#include <atomic>
#include <csignal>
#include <optional>
#include <stop_token>
#include <thread>

namespace quillon {

/// Turns SIGTERM, SIGINT and SIGHUP into a stop token while it lives. To be made before other threads, which then leave
/// these signals to it.
class TerminationRequests {
 public:
  TerminationRequests();
  ~TerminationRequests();
  TerminationRequests(const TerminationRequests&) = delete;
  TerminationRequests& operator=(const TerminationRequests&) = delete;

  [[nodiscard]] std::stop_token stopToken() const { return source_.get_token(); }
  /// Ends the process by the signal that came, as if nobody had caught it. Does nothing when none came.
  void dieOfSignal();

 private:
  void wait();
  void endWaiting();

  sigset_t signals_{};
  sigset_t previous_{};
  std::stop_source source_;
  std::atomic<int> signal_ = 0;
  std::atomic<bool> isOver_ = false;
  std::thread thread_;
};

}  // namespace quillon
