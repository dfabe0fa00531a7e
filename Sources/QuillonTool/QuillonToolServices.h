#pragma once

#include <memory>
#include <string>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Contracts/QuillonProcessRunning.h"
#include "QuillonCore/Values/QuillonSystemVersion.h"

namespace quillon {

/// What the subcommands work with.
struct QuillonToolServices {
  std::shared_ptr<const QuillonFileManaging> fileManager;
  std::shared_ptr<QuillonProcessRunning> processRunner;
  /// Absolute path of the tool that verifies code signatures.
  std::string codeSigningToolPath;
  /// The system that updates are judged for, unless the command line names another one.
  QuillonSystemVersion systemVersion;
};

}  // namespace quillon
