#include "TerminationRequests.h"

#include <initializer_list>

namespace quillon {
namespace {

/// Whether the one who started this process wants it to go on all the same, as nohup(1) does.
bool isIgnored(int signal) noexcept {
  struct sigaction action {};
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

/// Wakes the waiting thread when the object ends; no request to terminate.
constexpr int kWakeSignal = SIGUSR1;

}  // namespace

TerminationRequests::TerminationRequests() {
  sigemptyset(&signals_);
  sigaddset(&signals_, kWakeSignal);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    if (!isIgnored(signal)) sigaddset(&signals_, signal);
  }
  pthread_sigmask(SIG_BLOCK, &signals_, &previous_);
  thread_ = std::thread([this] { wait(); });
}

TerminationRequests::~TerminationRequests() {
  endWaiting();
}

void TerminationRequests::wait() {
  int signal = 0;
  while (!isOver_ && sigwait(&signals_, &signal) == 0) {
    if (signal == kWakeSignal) continue;
    signal_ = signal;
    source_.request_stop();
  }
}

void TerminationRequests::endWaiting() {
  if (!thread_.joinable()) return;
  isOver_ = true;
  pthread_kill(thread_.native_handle(), kWakeSignal);
  thread_.join();
  pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
}

void TerminationRequests::dieOfSignal() {
  endWaiting();
  if (signal_ == 0) return;
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  sigaction(signal_, &action, nullptr);
  sigset_t mask{};
  sigemptyset(&mask);
  sigaddset(&mask, signal_);
  pthread_sigmask(SIG_UNBLOCK, &mask, nullptr);
  (void)raise(signal_);
}

}  // namespace quillon
