#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "QuillonCore/Network/Linux/CurlHeaderFields.h"

namespace quillon {
namespace {

const QuillonURL kURL = QuillonURL::parse("http://example.com/").value();

std::vector<std::string> linesOf(const CurlTextList& list) {
  std::vector<std::string> lines;
  for (const curl_slist* line = list.get(); line != nullptr; line = line->next) lines.emplace_back(line->data);
  return lines;
}

TEST(CurlHeaderFieldsTest, FieldsBecomeLinesInTheirOrder) {
  const auto list = curlHeaderFields({.url = kURL, .headerFields = {{"B", "1"}, {"A", "2: 3"}}});

  EXPECT_EQ(linesOf(list), (std::vector<std::string>{"B: 1", "A: 2: 3"}));
}

TEST(CurlHeaderFieldsTest, AFieldWithoutValueIsSentAndNotTakenAway) {
  EXPECT_EQ(linesOf(curlHeaderFields({.url = kURL, .headerFields = {{"Accept", ""}, {"X", " "}}})),
            (std::vector<std::string>{"Accept;", "X;"}));
}

TEST(CurlHeaderFieldsTest, ARequestWithoutFieldsHasNoList) {
  EXPECT_EQ(curlHeaderFields({.url = kURL}).get(), nullptr);
}

}  // namespace
}  // namespace quillon
