#pragma once

#include <functional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "QuillonCore/Contracts/QuillonProcessRunning.h"

namespace quillon::testing {

/// Answers for child processes and notes what was to be run.
class FakeProcessRunner final : public QuillonProcessRunning {
 public:
  [[nodiscard]] QuillonProcessResult run(const std::string& executablePath, const std::vector<std::string>& arguments,
                                         std::stop_token stopToken = {}) noexcept override {
    stopTokens.push_back(std::move(stopToken));
    commands.push_back({executablePath});
    commands.back().insert(commands.back().end(), arguments.begin(), arguments.end());
    return answer ? answer(commands.back()) : QuillonProcessResult{.status = 0, .output = {}};
  }

  std::function<QuillonProcessResult(const std::vector<std::string>& command)> answer;
  std::vector<std::vector<std::string>> commands;
  /// One for each command.
  std::vector<std::stop_token> stopTokens;
};

}  // namespace quillon::testing
