#import "XPCLoopbackQueue.h"

#import <Foundation/Foundation.h>

#include <thread>
#include <utility>
#include <vector>

namespace quillon::testing {
namespace {

struct Threads {
  std::mutex lock;
  std::vector<std::jthread> running;  // guarded by lock
};

Threads& threads() {
  static Threads all;
  return all;
}

}  // namespace

std::optional<XPCLoopbackQueue::Task> XPCLoopbackQueue::State::next() {
  std::unique_lock guard(lock);
  changed.wait(guard, [this] { return isFinished || !tasks.empty(); });
  if (tasks.empty()) return std::nullopt;
  Task task = std::move(tasks.front());
  tasks.pop_front();
  return task;
}

void XPCLoopbackQueue::resume() {
  const std::lock_guard guard(threads().lock);
  threads().running.emplace_back([state = state_] {
    GSRegisterCurrentThread();
    for (auto task = state->next(); task; task = state->next()) {
      @autoreleasepool {
        (*task)();
        task.reset();
      }
    }
    GSUnregisterCurrentThread();
  });
}

bool XPCLoopbackQueue::post(Task task) {
  const std::lock_guard guard(state_->lock);
  if (state_->isFinished) return false;
  state_->tasks.push_back(std::move(task));
  state_->changed.notify_one();
  return true;
}

void XPCLoopbackQueue::finish(Task last) {
  const std::lock_guard guard(state_->lock);
  if (std::exchange(state_->isFinished, true)) return;
  state_->tasks.push_back(std::move(last));
  state_->changed.notify_one();
}

void XPCLoopbackQueue::waitForAll() {
  for (;;) {
    std::vector<std::jthread> running;
    {
      const std::lock_guard guard(threads().lock);
      running.swap(threads().running);
    }
    if (running.empty()) return;
  }
}

}  // namespace quillon::testing
