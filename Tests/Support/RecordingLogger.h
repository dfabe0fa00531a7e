#pragma once

#include <mutex>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "QuillonCore/Contracts/QuillonLogger.h"
#include "QuillonCore/Runtime/QuillonLogLine.h"

namespace quillon::testing {

/// Keeps messages in memory.
class RecordingLogger final : public QuillonLogger {
 public:
  /// Text, level, category.
  using Entry = std::tuple<std::string, QuillonLogLevel, std::string>;

  explicit RecordingLogger(QuillonLogLevel minimumLevel = QuillonLogLevel::debug) noexcept
      : minimumLevel_(minimumLevel) {}

  void log(const QuillonLogMessage& message, QuillonLogLevel level, std::string_view category) noexcept override {
    if (level < minimumLevel_) return;
    Entry entry(logTextOf(message), level, category);
    const std::lock_guard guard(lock_);
    entries_.push_back(std::move(entry));
  }

  [[nodiscard]] std::vector<Entry> entries() const {
    const std::lock_guard guard(lock_);
    return entries_;
  }

 private:
  const QuillonLogLevel minimumLevel_;
  mutable std::mutex lock_;
  std::vector<Entry> entries_;  // guarded by lock_
};

}  // namespace quillon::testing
