#include <gtest/gtest.h>
#include <regex.h>

#include <string>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/RegularExpression.h"

namespace quillon {
namespace {

/// What the library's expressions say without any shortcut.
bool plainMatch(const std::string& pattern, const std::string& text) {
  regex_t expression;
  EXPECT_EQ(regcomp(&expression, pattern.c_str(), REG_EXTENDED | REG_NOSUB), 0) << pattern;
  const bool matches = regexec(&expression, text.c_str(), 0, nullptr, 0) == 0;
  regfree(&expression);
  return matches;
}

TEST(RegularExpressionTest, ShortcutsNeverChangeTheAnswer) {
  const std::string patterns[] = {"^.*",
                                  "^[^/]+$",
                                  "^(A|B|C/(D|E))/",
                                  ".*\\.dSYM($|/)",
                                  "^(.*/)?\\.DS_Store$",
                                  "^Info\\.plist$",
                                  "^version.plist$",
                                  "^Resources/",
                                  "^Resources/.*\\.lproj/",
                                  "^Resources/.*\\.lproj/locversion.plist$",
                                  "Resources",
                                  "^Re?s",
                                  "^Res*ources",
                                  "^Resou+",
                                  "^a|Resources",
                                  "(a|Resources)$",
                                  "[R]esources/[^]]x",
                                  "^$",
                                  "",
                                  "a\\.",
                                  "^Resources$",
                                  "^Resources/x\\$"};
  const std::string texts[] = {"",
                               "Resources",
                               "Resources/",
                               "Resources/x",
                               "Resources/x$",
                               "Resources/de.lproj/a",
                               "Resources/de.lproj/locversion.plist",
                               "Resources/a.lproj/b.lproj/locversionxplist",
                               "Info.plist",
                               "Info.plist.x",
                               "Infoxplist",
                               "a/.DS_Store",
                               ".DS_Store",
                               "x.DS_Store",
                               "A/x",
                               "C/E/x",
                               "a.dSYM",
                               "a.dSYM/b",
                               "version.plist",
                               "Rs",
                               "Re",
                               "Reource",
                               "a\nb",
                               "a.",
                               "\xFF\xFE"};
  for (const std::string& pattern : patterns) {
    const RegularExpression expression(pattern);
    for (const std::string& text : texts) {
      EXPECT_EQ(expression.matches(text), plainMatch(pattern, text)) << "'" << pattern << "' in '" << text << "'";
    }
  }
}

TEST(RegularExpressionTest, DangerousAndBrokenPatternsAreRefused) {
  for (const std::string& pattern :
       {std::string("("), std::string("["), std::string("a{2}"), std::string("(a)\\1"), std::string(513, 'a'),
        std::string("a\0b", 3), std::string("*("), std::string("\\")}) {
    EXPECT_THROW(RegularExpression{pattern}, CodeSignatureError) << pattern;
  }
}

std::string nestedRepetitions(const std::string& innermost, int count) {
  std::string pattern = innermost;
  for (int i = 0; i < count; ++i) pattern = "(" + pattern + "[(]y)+";  // the bracket in brackets is no group
  return pattern;
}

TEST(RegularExpressionTest, RepetitionsAroundEachOtherDoubleTheWorkAndAreLimited) {
  EXPECT_TRUE(RegularExpression(nestedRepetitions("x", 5)).matches("x(y(y(y(y(y"));
  for (const char* innermost : {"x", "[[:alpha:]]", "[[.].](]", "[](]", "[^](]", "\\("}) {
    EXPECT_THROW(RegularExpression{nestedRepetitions(innermost, 20)}, CodeSignatureError) << innermost;
  }
  EXPECT_THROW(RegularExpression{"x" + std::string(20, '+')}, CodeSignatureError);

  // One behind the other they add up, and no more.
  std::string row;
  for (int i = 0; i < 80; ++i) row += "[^/]+/";
  EXPECT_FALSE(RegularExpression(row).matches("a/b"));
}

}  // namespace
}  // namespace quillon
