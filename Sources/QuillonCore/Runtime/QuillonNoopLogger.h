#pragma once

#include "QuillonCore/Contracts/QuillonLogger.h"

namespace quillon {

/// Drops every message without making its text.
class QuillonNoopLogger final : public QuillonLogger {
 public:
  void log(const QuillonLogMessage&, QuillonLogLevel, std::string_view) override {}
};

}  // namespace quillon
