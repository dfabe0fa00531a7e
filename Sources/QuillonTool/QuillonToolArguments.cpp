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

/// Takes words from the front, one after another.
class WordQueue {
 public:
  explicit WordQueue(std::span<const std::string> words) : words_(words) {}

  [[nodiscard]] bool isEmpty() const noexcept { return words_.empty(); }
  [[nodiscard]] std::span<const std::string> rest() const noexcept { return words_; }

  const std::string& take() {
    const std::string& word = words_.front();
    words_ = words_.subspan(1);
    return word;
  }

  const std::string& takeValueOf(std::string_view option) {
    if (isEmpty() || words_.front().starts_with("--")) {
      throw QuillonToolUsageError(std::string("Option ").append(option).append(" needs a value."));
    }
    return take();
  }

 private:
  std::span<const std::string> words_;
};

}  // namespace

QuillonToolArguments QuillonToolArguments::parse(std::span<const std::string> words,
                                                 std::span<const QuillonToolOption> options) {
  QuillonToolArguments arguments;
  WordQueue queue(words);
  while (!queue.isEmpty()) {
    const std::string& word = queue.take();
    if (word == "--") {
      arguments.operands_.insert(arguments.operands_.end(), queue.rest().begin(), queue.rest().end());
      break;
    }
    if (!isOption(word)) {
      arguments.operands_.push_back(word);
      continue;
    }
    const std::size_t equals = word.find('=');
    const QuillonToolOption& option = findOption(word.substr(0, equals), options);
    if (equals != std::string::npos) {
      arguments.add(option, word.substr(equals + 1));
    } else {
      const bool hasValue = option.kind != QuillonToolOption::Kind::flag;
      arguments.add(option, hasValue ? std::optional(queue.takeValueOf(option.name)) : std::nullopt);
    }
  }
  return arguments;
}

void QuillonToolArguments::add(const QuillonToolOption& option, const std::optional<std::string>& value) {
  const std::string name(option.name);
  if (value && option.kind == QuillonToolOption::Kind::flag) {
    throw QuillonToolUsageError("Option " + name + " takes no value.");
  }
  std::vector<std::string>& values = values_[name];
  if (!values.empty() && option.kind != QuillonToolOption::Kind::withValues) {
    throw QuillonToolUsageError("Option " + name + " is given twice; give it once.");
  }
  values.push_back(value.value_or(""));
}

std::optional<std::string> QuillonToolArguments::value(std::string_view option) const {
  const auto found = values_.find(option);
  return found == values_.end() ? std::nullopt : std::optional(found->second.front());
}

const std::vector<std::string>& QuillonToolArguments::values(std::string_view option) const {
  static const std::vector<std::string> kNone;
  const auto found = values_.find(option);
  return found == values_.end() ? kNone : found->second;
}

const std::string& QuillonToolArguments::requiredValue(std::string_view option) const {
  const auto found = values_.find(option);
  if (found == values_.end()) {
    throw QuillonToolUsageError(std::string("Option ").append(option).append(" is missing; it must be given."));
  }
  return found->second.front();
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

const std::vector<std::string>& QuillonToolArguments::operandsOfAnyNumber(std::string_view name) const {
  if (operands_.empty()) throw QuillonToolUsageError(std::string(name).append(" is missing; it must be given."));
  return operands_;
}

}  // namespace quillon
