#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "QuillonCore/Contracts/QuillonLogLevel.h"

namespace quillon {

/// Makes the text of a message, when it is wanted. What it throws does not leave the logging call: the message is
/// logged as one whose text could not be made.
using QuillonLogMessage = std::function<std::string()>;

/// Takes messages for whoever looks for the cause of something later.
///
/// Callable from any thread. Logging never fails: implementations throw nothing.
class QuillonLogger {
 public:
  virtual ~QuillonLogger() = default;

  /// Takes a message; `category` names the part of the program that it comes from. Calls `message` during this call or
  /// never: a logger that drops a message does not make its text.
  virtual void log(const QuillonLogMessage& message, QuillonLogLevel level, std::string_view category) = 0;

  void debug(const QuillonLogMessage& message, std::string_view category) {
    log(message, QuillonLogLevel::debug, category);
  }
  void info(const QuillonLogMessage& message, std::string_view category) {
    log(message, QuillonLogLevel::info, category);
  }
  void warn(const QuillonLogMessage& message, std::string_view category) {
    log(message, QuillonLogLevel::warn, category);
  }
  void error(const QuillonLogMessage& message, std::string_view category) {
    log(message, QuillonLogLevel::error, category);
  }
};

}  // namespace quillon
