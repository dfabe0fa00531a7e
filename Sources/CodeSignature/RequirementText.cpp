#include "CodeSignature/RequirementText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <optional>
#include <utility>
#include <vector>

#include "CodeSignature/CodeHash.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/ObjectIdentifier.h"

namespace quillon {
namespace {

/// Seconds from 1970 to 2001, where the format's dates begin.
constexpr std::int64_t kReferenceDate = 978307200;

[[noreturn]] void fail() {
  throw CodeSignatureError(CodeSignatureErrorCode::requirementInvalid);
}

bool isBareCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '_';
}

struct Token {
  enum class Kind { end, bare, quoted, hash, symbol } kind = Kind::end;
  std::string text;
};

// ---- Reading -------------------------------------------------------------------------------------------------------

class Lexer {
 public:
  explicit Lexer(std::string_view text) : text_(text) { advance(); }

  [[nodiscard]] const Token& current() const noexcept { return current_; }

  Token take() {
    Token token;
    std::swap(token, current_);
    advance();
    return token;
  }

 private:
  void advance() {
    skipBlanksAndComments();
    current_ = {};
    if (position_ == text_.size()) return;
    const char c = text_[position_];
    if (c == '"') {
      current_ = {Token::Kind::quoted, quoted()};
    } else if (text_.substr(position_).starts_with("H\"")) {
      ++position_;
      current_ = {Token::Kind::hash, hashBytes(quoted())};
    } else if (isBareCharacter(c)) {
      const std::size_t start = position_;
      while (position_ < text_.size() && isBareCharacter(text_[position_])) ++position_;
      current_ = {Token::Kind::bare, std::string(text_.substr(start, position_ - start))};
    } else {
      current_ = {Token::Kind::symbol, symbol()};
    }
  }

  std::string symbol() {
    for (const std::string_view two : {"<=", ">="}) {
      if (text_.substr(position_).starts_with(two)) {
        position_ += 2;
        return std::string(two);
      }
    }
    return {text_[position_++]};
  }

  void skipBlanksAndComments() {
    while (position_ < text_.size()) {
      const std::string_view rest = text_.substr(position_);
      if (rest.front() == ' ' || (rest.front() >= '\t' && rest.front() <= '\r')) {
        ++position_;
      } else if (rest.starts_with("//") || rest.starts_with('#')) {
        position_ += std::min(rest.find('\n'), rest.size());
      } else if (rest.starts_with("/*")) {
        const std::size_t end = rest.find("*/", 2);
        if (end == std::string_view::npos) fail();
        position_ += end + 2;
      } else {
        return;
      }
    }
  }

  std::string quoted() {
    std::string value;
    for (++position_; position_ < text_.size(); ++position_) {
      if (text_[position_] == '"') {
        ++position_;
        return value;
      }
      if (text_[position_] == '\\' && ++position_ == text_.size()) break;
      value += text_[position_];
    }
    fail();
  }

  static std::string hashBytes(std::string_view digits) {
    if (digits.size() % 2 != 0) fail();
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
      unsigned value = 0;
      const auto [end, error] = std::from_chars(&digits[i], &digits[i] + 2, value, 16);
      if (error != std::errc() || end != &digits[i] + 2) fail();
      bytes += static_cast<char>(value);
    }
    return bytes;
  }

  std::string_view text_;
  std::size_t position_ = 0;
  Token current_;
};

class Parser {
 public:
  explicit Parser(std::string_view text) : lexer_(text) {}

  RequirementExpression parse() {
    RequirementExpression expression = disjunction(0);
    if (lexer_.current().kind != Token::Kind::end) fail();
    return expression;
  }

 private:
  RequirementExpression disjunction(int depth) {
    return chain(depth, "or", RequirementOperator::disjunction, &Parser::conjunction);
  }
  RequirementExpression conjunction(int depth) {
    return chain(depth, "and", RequirementOperator::conjunction, &Parser::primary);
  }

  RequirementExpression chain(int depth, std::string_view word, RequirementOperator operation,
                              RequirementExpression (Parser::*operand)(int)) {
    if (depth > kRequirementDepthLimit) fail();
    RequirementExpression left = (this->*operand)(depth + 1);
    for (int length = 0; takeWord(word); ++length) {
      // A chain is a tree that leans left, and evaluating it recurses.
      if (depth + length > kRequirementDepthLimit) fail();
      RequirementExpression right = (this->*operand)(depth + 1);
      RequirementExpression joined{.operation = operation};
      joined.operands.push_back(std::move(left));
      joined.operands.push_back(std::move(right));
      left = std::move(joined);
    }
    return left;
  }

  RequirementExpression primary(int depth) {
    using enum RequirementOperator;
    if (depth > kRequirementDepthLimit) fail();
    if (takeSymbol("(")) {
      RequirementExpression inner = this->disjunction(depth + 1);
      expectSymbol(")");
      return inner;
    }
    if (takeSymbol("!")) {
      RequirementExpression result{.operation = negation};
      result.operands.push_back(primary(depth + 1));
      return result;
    }
    if (takeWord("always") || takeWord("true")) return {.operation = always};
    if (takeWord("never") || takeWord("false")) return {.operation = never};
    if (takeWord("notarized")) return {.operation = notarized};
    if (takeWord("legacy")) return {.operation = legacyDeveloperID};
    if (takeWord("anchor")) return anchor();
    if (takeWord("certificate") || takeWord("cert")) return certificate(certificateSlot());
    if (takeWord("identifier")) {
      (void)takeSymbol("=");
      return {.operation = identifier, .text = string()};
    }
    if (takeWord("cdhash")) {
      (void)takeSymbol("=");
      return {.operation = codeDirectoryHash, .text = hash()};
    }
    if (takeWord("info")) return field(infoField);
    if (takeWord("entitlement")) return field(entitlementField);
    if (takeWord("platform")) {
      expectSymbol("=");
      return {.operation = platform, .number = signedNumber()};
    }
    fail();
  }

  RequirementExpression anchor() {
    using enum RequirementOperator;
    if (takeWord("trusted")) return {.operation = anchorTrusted};
    if (takeSymbol("=")) return {.operation = certificateHash, .number = kRootCertificate, .text = hash()};
    if (!takeWord("apple")) fail();
    if (takeWord("generic")) return {.operation = anchorAppleGeneric};
    const Token& next = lexer_.current();
    const bool isName =
        next.kind == Token::Kind::quoted || (next.kind == Token::Kind::bare && next.text != "and" && next.text != "or");
    if (isName) return {.operation = namedAnchor, .text = string()};
    return {.operation = anchorApple};
  }

  std::int32_t certificateSlot() {
    if (takeWord("leaf")) return kLeafCertificate;
    if (takeWord("root") || takeWord("anchor")) return kRootCertificate;
    return signedNumber();
  }

  RequirementExpression certificate(std::int32_t slot) {
    using enum RequirementOperator;
    if (takeWord("trusted")) return {.operation = certificateTrusted, .number = slot};
    if (takeSymbol("=")) return {.operation = certificateHash, .number = slot, .text = hash()};
    expectSymbol("[");
    const std::string key = string();
    expectSymbol("]");
    RequirementExpression result{.operation = certificateField, .number = slot, .text = key};
    for (const auto& [prefix, operation] : {std::pair{"field.", certificateExtension},
                                            {"policy.", certificatePolicy},
                                            {"timestamp.", certificateTimestamp}}) {
      if (!key.starts_with(prefix)) continue;
      const auto content = objectIdentifierContent(std::string_view(key).substr(std::string_view(prefix).size()));
      if (!content) fail();
      result.operation = operation;
      result.text = *content;
    }
    result.match = match();
    return result;
  }

  RequirementExpression field(RequirementOperator operation) {
    expectSymbol("[");
    RequirementExpression result{.operation = operation, .text = string()};
    expectSymbol("]");
    result.match = match();
    return result;
  }

  RequirementMatch match() {
    using enum RequirementMatchOperator;
    if (takeWord("exists")) return {};
    if (takeWord("absent")) return {.operation = absent};
    if (takeSymbol("=")) return equalMatch();
    if (takeSymbol("~")) return {.operation = contains, .value = string()};
    if (takeSymbol("<=")) return ordered(lessEqual, onOrBeforeDate);
    if (takeSymbol(">=")) return ordered(greaterEqual, onOrAfterDate);
    if (takeSymbol("<")) return ordered(lessThan, beforeDate);
    if (takeSymbol(">")) return ordered(greaterThan, afterDate);
    return {};
  }

  RequirementMatch equalMatch() {
    using enum RequirementMatchOperator;
    if (takeWord("timestamp")) return {.operation = onDate, .date = date(string())};
    const bool openStart = takeSymbol("*");
    std::string value = string();
    const bool openEnd = takeSymbol("*");
    const RequirementMatchOperator operation =
        openStart ? (openEnd ? contains : endsWith) : (openEnd ? beginsWith : equal);
    return {.operation = operation, .value = std::move(value)};
  }

  RequirementMatch ordered(RequirementMatchOperator text, RequirementMatchOperator moment) {
    if (takeWord("timestamp")) return {.operation = moment, .date = date(string())};
    return {.operation = text, .value = string()};
  }

  /// "YYYYMMDDhhmmssZ" as seconds since 2001.
  static std::int64_t date(std::string_view text) {
    const bool hasForm = text.size() == 15 && text.ends_with('Z') &&
                         std::ranges::all_of(text.substr(0, 14), [](char c) { return c >= '0' && c <= '9'; });
    if (!hasForm) fail();
    const auto part = [text](std::size_t offset, std::size_t length) {
      int value = 0;
      for (const char c : text.substr(offset, length)) value = value * 10 + (c - '0');
      return value;
    };
    const std::chrono::year_month_day day{std::chrono::year(part(0, 4)),
                                          std::chrono::month(static_cast<unsigned>(part(4, 2))),
                                          std::chrono::day(static_cast<unsigned>(part(6, 2)))};
    if (!day.ok() || part(8, 2) > 23 || part(10, 2) > 59 || part(12, 2) > 60) fail();
    const std::int64_t days = std::chrono::sys_days(day).time_since_epoch().count();
    return days * 86400 + part(8, 2) * 3600 + part(10, 2) * 60 + part(12, 2) - kReferenceDate;
  }

  bool takeWord(std::string_view word) { return takeToken(Token::Kind::bare, word); }
  bool takeSymbol(std::string_view symbol) { return takeToken(Token::Kind::symbol, symbol); }
  bool takeToken(Token::Kind kind, std::string_view text) {
    if (lexer_.current().kind != kind || lexer_.current().text != text) return false;
    (void)lexer_.take();
    return true;
  }
  void expectSymbol(std::string_view symbol) {
    if (!takeSymbol(symbol)) fail();
  }

  std::string string() {
    if (lexer_.current().kind != Token::Kind::bare && lexer_.current().kind != Token::Kind::quoted) fail();
    return lexer_.take().text;
  }

  std::string hash() {
    if (lexer_.current().kind != Token::Kind::hash || lexer_.current().text.size() != kCodeDirectoryHashLength) fail();
    return lexer_.take().text;
  }

  std::int32_t signedNumber() {
    const bool isNegative = takeSymbol("-");
    if (lexer_.current().kind != Token::Kind::bare) fail();
    const std::string digits = lexer_.take().text;
    std::int32_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size()) fail();
    return isNegative ? -value : value;
  }

  Lexer lexer_;
};

// ---- Writing -------------------------------------------------------------------------------------------------------

bool isKeyword(std::string_view word) {
  static constexpr auto kWords = std::to_array<std::string_view>(
      {"absent",     "always", "anchor",      "and",    "apple",     "cdhash",  "cert",      "certificate",
       "designated", "exists", "entitlement", "false",  "field",     "generic", "guest",     "host",
       "identifier", "info",   "leaf",        "legacy", "library",   "never",   "notarized", "or",
       "platform",   "plugin", "policy",      "root",   "timestamp", "true",    "trusted"});
  return std::ranges::find(kWords, word) != kWords.end();
}

std::string quotedIfNeeded(std::string_view text) {
  const bool isBare = !text.empty() && std::ranges::all_of(text, isBareCharacter) && text != "H" &&
                      !(text.front() >= '0' && text.front() <= '9') && text.find('_') == std::string_view::npos &&
                      !isKeyword(text);
  if (isBare) return std::string(text);
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + "\"";
}

std::string hashText(std::string_view bytes) {
  return "H\"" + hexadecimal(bytes) + "\"";
}

std::string slotText(std::int32_t slot) {
  if (slot == kLeafCertificate) return "certificate leaf";
  if (slot == kRootCertificate) return "certificate root";
  return "certificate " + std::to_string(slot);
}

std::string dateText(std::int64_t date) {
  const std::chrono::sys_seconds moment{std::chrono::seconds(date + kReferenceDate)};
  const auto day = std::chrono::floor<std::chrono::days>(moment);
  const std::chrono::year_month_day calendar(day);
  const std::chrono::hh_mm_ss time(moment - day);
  const auto padded = [](auto value, std::size_t width) {
    std::string digits = std::to_string(value);
    return digits.size() < width ? std::string(width - digits.size(), '0') + digits : digits;
  };
  return "timestamp \"" + padded(static_cast<int>(calendar.year()), 4) + padded(unsigned(calendar.month()), 2) +
         padded(unsigned(calendar.day()), 2) + padded(time.hours().count(), 2) + padded(time.minutes().count(), 2) +
         padded(time.seconds().count(), 2) + "Z\"";
}

std::string matchText(const RequirementMatch& match) {
  const std::string value = quotedIfNeeded(match.value);
  using enum RequirementMatchOperator;
  switch (match.operation) {
    case exists:
      return " /* exists */";
    case absent:
      return " absent ";
    case equal:
      return " = " + value;
    case contains:
      return " ~ " + value;
    case beginsWith:
      return " = " + value + "*";
    case endsWith:
      return " = *" + value;
    case lessThan:
      return " < " + value;
    case greaterThan:
      return " > " + value;
    case lessEqual:
      return " <= " + value;
    case greaterEqual:
      return " >= " + value;
    case onDate:
      return " = " + dateText(match.date);
    case beforeDate:
      return " < " + dateText(match.date);
    case afterDate:
      return " > " + dateText(match.date);
    case onOrBeforeDate:
      return " <= " + dateText(match.date);
    case onOrAfterDate:
      return " >= " + dateText(match.date);
  }
  return {};
}

std::string certificateKeyText(const RequirementExpression& expression, std::string_view prefix) {
  const std::string oid = dottedObjectIdentifier(expression.text).value_or(std::string());
  return slotText(expression.number) + "[" + std::string(prefix) + oid + "]" + matchText(expression.match);
}

/// How tightly an expression binds; what binds less than its surroundings needs brackets.
enum class Binding { disjunction, conjunction, primary };

std::string textOf(const RequirementExpression& expression, Binding surroundings);

std::string joined(const RequirementExpression& expression, Binding own, std::string_view word, Binding surroundings) {
  // The right operand is bracketed when it is a chain of the same kind: reading joins from the left.
  const auto tighter = static_cast<Binding>(static_cast<int>(own) + 1);
  std::string text = textOf(expression.operands[0], own);
  text.append(" ").append(word).append(" ").append(textOf(expression.operands[1], tighter));
  return own < surroundings ? "(" + text + ")" : text;
}

std::string textOf(const RequirementExpression& expression, Binding surroundings) {
  using enum RequirementOperator;
  switch (expression.operation) {
    case never:
      return "never";
    case always:
      return "always";
    case identifier:
      return "identifier " + quotedIfNeeded(expression.text);
    case anchorApple:
      return "anchor apple";
    case anchorAppleGeneric:
      return "anchor apple generic";
    case anchorTrusted:
      return "anchor trusted";
    case certificateHash:
      return slotText(expression.number) + " = " + hashText(expression.text);
    case certificateTrusted:
      return slotText(expression.number) + " trusted";
    case conjunction:
      return joined(expression, Binding::conjunction, "and", surroundings);
    case disjunction:
      return joined(expression, Binding::disjunction, "or", surroundings);
    case negation:
      return "! " + textOf(expression.operands[0], Binding::primary);
    case codeDirectoryHash:
      return "cdhash " + hashText(expression.text);
    case infoValue:
    case infoField:
      return "info[" + quotedIfNeeded(expression.text) + "]" + matchText(expression.match);
    case entitlementField:
      return "entitlement[" + quotedIfNeeded(expression.text) + "]" + matchText(expression.match);
    case certificateField:
      return slotText(expression.number) + "[" + quotedIfNeeded(expression.text) + "]" + matchText(expression.match);
    case certificateExtension:
      return certificateKeyText(expression, "field.");
    case certificatePolicy:
      return certificateKeyText(expression, "policy.");
    case certificateTimestamp:
      return certificateKeyText(expression, "timestamp.");
    case namedAnchor:
      return "anchor apple " + quotedIfNeeded(expression.text);
    case namedCode:
      return "(" + quotedIfNeeded(expression.text) + ")";
    case platform:
      return "platform = " + std::to_string(expression.number);
    case notarized:
      return "notarized";
    case legacyDeveloperID:
      return "legacy";
  }
  return {};
}

}  // namespace

RequirementExpression parseRequirementText(std::string_view text) {
  return Parser(text).parse();
}

std::string requirementText(const RequirementExpression& expression) {
  return textOf(expression, Binding::disjunction);
}

}  // namespace quillon
