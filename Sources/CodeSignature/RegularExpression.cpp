#include "CodeSignature/RegularExpression.h"

#include <locale.h>
#include <regex.h>

#include <algorithm>
#include <numeric>
#include <string_view>

#include "CodeSignature/CodeSignatureError.h"

namespace quillon {
namespace {

constexpr std::size_t kPatternLimit = 512;
/// Of the expression that a pattern is compiled from, in characters.
constexpr std::size_t kExpansionLimit = 4096;

[[noreturn]] void fail() {
  throw CodeSignatureError(CodeSignatureErrorCode::invalidResourceRules);
}

/// What every match of a pattern is known to look like.
struct Shape {
  std::string prefix;                 // the text begins with this, when the pattern is anchored
  std::vector<std::string> literals;  // the text contains these
  bool isWholePattern = false;        // prefix says everything
  bool mustEnd = false;               // … and the text ends there
};

bool isQuantifier(char c) {
  return c == '*' || c == '?' || c == '+';
}
bool isSpecial(char c) {
  return std::string_view("^$.[]()|*?+{}\\").find(c) != std::string_view::npos;
}

/// Position behind the bracket expression that begins at `position`; npos when it does not end. A bracket stands for
/// itself at the beginning, and in a class, an equivalence or a collating symbol ("[:alpha:]", "[=a=]", "[.a.]").
std::size_t endOfBracket(std::string_view pattern, std::size_t position) {
  std::size_t i = position + 1;
  if (i < pattern.size() && pattern[i] == '^') ++i;
  if (i < pattern.size() && pattern[i] == ']') ++i;
  while (i < pattern.size() && pattern[i] != ']') {
    const bool isSymbol = pattern[i] == '[' && i + 1 < pattern.size() &&
                          std::string_view(":=.").find(pattern[i + 1]) != std::string_view::npos;
    if (!isSymbol) {
      ++i;
      continue;
    }
    const std::size_t end = pattern.find(std::string{pattern[i + 1], ']'}, i + 2);
    if (end == std::string_view::npos) return end;
    i = end + 2;
  }
  return i < pattern.size() ? i + 1 : std::string_view::npos;
}

/// Position behind the group or bracket expression that begins at `position`; npos when it does not end.
std::size_t endOfGroup(std::string_view pattern, std::size_t position) {
  int depth = 0;
  for (std::size_t i = position; i < pattern.size(); ++i) {
    if (pattern[i] == '\\') {
      ++i;
    } else if (pattern[i] == '[') {
      const std::size_t end = endOfBracket(pattern, i);
      if (end == std::string_view::npos || depth == 0) return end;
      i = end - 1;
    } else if (pattern[i] == '(') {
      ++depth;
    } else if (pattern[i] == ')' && --depth == 0) {
      return i + 1;
    }
  }
  return std::string_view::npos;
}

/// Collects the literal runs outside groups that no quantifier touches. Knows too little rather than too much.
Shape shapeOf(std::string_view pattern) {
  const bool isAnchored = pattern.starts_with('^');
  std::size_t position = isAnchored ? 1 : 0;
  Shape shape;
  std::string run;
  bool atStart = isAnchored;
  bool onlyLiterals = isAnchored;
  const auto endRun = [&] {
    if (atStart)
      shape.prefix = run;
    else if (!run.empty())
      shape.literals.push_back(run);
    atStart = false;
    run.clear();
  };
  while (position < pattern.size()) {
    const char c = pattern[position];
    if (c == '$' && position + 1 == pattern.size() && onlyLiterals) {
      shape.mustEnd = true;
      ++position;
      break;
    }
    if (c == '|') return {};  // alternatives at the top: nothing is common to all matches
    std::size_t next = position + 1;
    char literal = c;
    bool isLiteral = !isSpecial(c);
    if (c == '\\' && next < pattern.size()) {
      isLiteral = isSpecial(pattern[next]);
      literal = pattern[next++];
    } else if (c == '(' || c == '[') {
      next = endOfGroup(pattern, position);
      if (next == std::string_view::npos) return {};
    }
    const bool isRepeated = next < pattern.size() && isQuantifier(pattern[next]);
    while (next < pattern.size() && isQuantifier(pattern[next])) ++next;
    if (isLiteral && !isRepeated) {
      run += literal;
    } else {
      endRun();
      onlyLiterals = false;
    }
    position = next;
  }
  endRun();
  shape.isWholePattern = onlyLiterals;
  return shape;
}

/// Length of the pattern once every `x+` is written as `xx*`, which is how the C library compiles it: of several, one
/// around the other, each doubles what the one inside has doubled. Stops counting at the limit.
std::size_t expandedLength(std::string_view pattern) {
  std::vector<std::size_t> groups{0};
  std::size_t last = 0;  // length of what a quantifier would apply to
  for (std::size_t i = 0; i < pattern.size() && groups.back() <= kExpansionLimit;) {
    const char c = pattern[i];
    const std::size_t next = c == '[' ? endOfBracket(pattern, i) : i + (c == '\\' ? 2 : 1);
    if (c == '+') {
      groups.back() += last;
      last *= 2;
    } else if (c == '(') {
      groups.push_back(1);
    } else if (c == ')' && groups.size() > 1) {
      last = groups.back();
      groups.pop_back();
      groups.back() += last;
    } else {
      last = c == '*' || c == '?' ? last + 1 : 1;
      ++groups.back();
    }
    i = std::min(next, pattern.size());
  }
  return std::accumulate(groups.begin(), groups.end(), std::size_t{0});
}

void checkPattern(std::string_view pattern) {
  if (pattern.size() > kPatternLimit || pattern.find('\0') != std::string_view::npos) fail();
  if (expandedLength(pattern) > kExpansionLimit) fail();
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] == '{') fail();
    if (pattern[i] != '\\') continue;
    if (++i < pattern.size() && pattern[i] >= '1' && pattern[i] <= '9') fail();
  }
}

/// Makes the calling thread compile expressions by bytes: in the user's locale a file name that is not valid in its
/// encoding would match nothing.
class ByteLocale {
 public:
  ByteLocale() : locale_(newlocale(LC_ALL_MASK, "C", nullptr)), previous_(uselocale(locale_)) {}
  ~ByteLocale() {
    uselocale(previous_);
    if (locale_ != nullptr) freelocale(locale_);
  }
  ByteLocale(const ByteLocale&) = delete;
  ByteLocale& operator=(const ByteLocale&) = delete;

 private:
  locale_t locale_;
  locale_t previous_;
};

}  // namespace

struct RegularExpression::Compiled {
  explicit Compiled(const std::string& pattern) : matchesAll(pattern == "^.*"), shape(shapeOf(pattern)) {
    const ByteLocale locale;
    if (regcomp(&expression, pattern.c_str(), REG_EXTENDED | REG_NOSUB) != 0) fail();
  }
  ~Compiled() { regfree(&expression); }
  Compiled(const Compiled&) = delete;
  Compiled& operator=(const Compiled&) = delete;

  bool matchesAll;
  Shape shape;
  regex_t expression{};
};

RegularExpression::RegularExpression(const std::string& pattern) {
  checkPattern(pattern);
  compiled_ = std::make_unique<Compiled>(pattern);
}
RegularExpression::~RegularExpression() = default;
RegularExpression::RegularExpression(RegularExpression&&) noexcept = default;
RegularExpression& RegularExpression::operator=(RegularExpression&&) noexcept = default;

bool RegularExpression::matches(const std::string& text) const {
  if (compiled_->matchesAll) return true;
  const Shape& shape = compiled_->shape;
  if (!text.starts_with(shape.prefix)) return false;
  if (shape.isWholePattern) return !shape.mustEnd || text.size() == shape.prefix.size();
  const auto isContained = [&text](const std::string& literal) { return text.find(literal) != std::string::npos; };
  if (!std::ranges::all_of(shape.literals, isContained)) return false;
  return regexec(&compiled_->expression, text.c_str(), 0, nullptr, 0) == 0;
}

}  // namespace quillon
