#pragma once

#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonTool/QuillonToolMain.h"
#include "Support/FakeProcessRunner.h"

namespace quillon::testing {

/// How one run of the command ended.
struct ToolResult {
  int status = 0;
  std::string output = {};
  std::string error = {};

  friend bool operator==(const ToolResult&, const ToolResult&) = default;
};

inline void PrintTo(const ToolResult& result, std::ostream* stream) {
  *stream << "status " << result.status << "\noutput: " << result.output << "\nerror: " << result.error;
}

/// Runs the command in this process: the real file system, a fake code-signing tool at "/codesign", system 14.5.0.
class ToolRun {
 public:
  ToolResult operator()(const std::vector<std::string>& words, const std::string& input = {}) const {
    std::istringstream inputStream(input);
    std::ostringstream output;
    std::ostringstream error;
    QuillonToolConsole console(inputStream, output, error);
    const QuillonToolMain tool({.fileManager = makeSystemFileManager(),
                                .processRunner = codeSigningTool,
                                .codeSigningToolPath = "/codesign",
                                .systemVersion = {.major = 14, .minor = 5, .patch = 0}},
                               "1.2.3");
    const int status = tool.execute(words, console);
    return {.status = status, .output = output.str(), .error = error.str()};
  }

  /// Accepts every signature unless told otherwise.
  std::shared_ptr<FakeProcessRunner> codeSigningTool = std::make_shared<FakeProcessRunner>();
};

}  // namespace quillon::testing
