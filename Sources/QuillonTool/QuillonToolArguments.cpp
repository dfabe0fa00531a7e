#include "QuillonTool/QuillonToolArguments.h"

#include <algorithm>

#include "QuillonTool/QuillonToolUsageError.h"

namespace quillon {
namespace {

std::string quoted(std::string_view word) {
  return std::string("\"").append(word).append("\"");
}

bool isOption(std::string_view word) {
  return word.size() > 1 && word.starts_with('-');
}

const QuillonToolOption& findOption(std::string_view name, std::span<const QuillonToolOption> options) {
  const auto found = std::ranges::find(options, name, &QuillonToolOption::name);
  if (found == options.end()) {
    throw QuillonToolUsageError("Unknown option " + quoted(name) +
                                ". Write \"--\" before words that begin with \"-\".");
  }
  return *found;
}

}  // namespace

QuillonToolArguments QuillonToolArguments::parse(std::span<const std::string> words,
                                                 std::span<const QuillonToolOption> options) {
  QuillonToolArguments arguments;
  for (auto word = words.begin(); word != words.end(); ++word) {
    if (*word == "--") {
      arguments.operands_.insert(arguments.operands_.end(), word + 1, words.end());
      break;
    }
    if (!isOption(*word)) {
      arguments.operands_.push_back(*word);
      continue;
    }
    const std::size_t equals = word->find('=');
    const std::string name = word->substr(0, equals);
    const bool wantsValue = findOption(name, options).kind == QuillonToolOption::Kind::withValue;
    std::string value;
    if (equals != std::string::npos) {
      if (!wantsValue) throw QuillonToolUsageError("Option " + name + " takes no value.");
      value = word->substr(equals + 1);
    } else if (wantsValue) {
      if (word + 1 == words.end() || (word + 1)->starts_with("--")) {
        throw QuillonToolUsageError("Option " + name + " needs a value.");
      }
      value = *++word;
    }
    if (!arguments.values_.emplace(name, std::move(value)).second) {
      throw QuillonToolUsageError("Option " + name + " is given twice; give it once.");
    }
  }
  return arguments;
}

std::optional<std::string> QuillonToolArguments::value(std::string_view option) const {
  const auto found = values_.find(option);
  return found == values_.end() ? std::nullopt : std::optional(found->second);
}

const std::string& QuillonToolArguments::requiredValue(std::string_view option) const {
  const auto found = values_.find(option);
  if (found == values_.end()) {
    throw QuillonToolUsageError(std::string("Option ").append(option).append(" is missing; it must be given."));
  }
  return found->second;
}

const std::vector<std::string>& QuillonToolArguments::operands(std::initializer_list<std::string_view> names) const {
  if (operands_.size() < names.size()) {
    throw QuillonToolUsageError(std::string(names.begin()[operands_.size()]).append(" is missing; it must be given."));
  }
  if (operands_.size() > names.size()) {
    throw QuillonToolUsageError("The word " + quoted(operands_[names.size()]) + " is one too many; leave it out.");
  }
  return operands_;
}

}  // namespace quillon
