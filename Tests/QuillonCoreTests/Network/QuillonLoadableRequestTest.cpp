#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "QuillonCore/Network/QuillonLoadableRequest.h"
#include "QuillonCore/Values/QuillonURLError.h"

namespace quillon {
namespace {

/// Absent when the request can be loaded.
std::optional<QuillonURLErrorCode> failureOf(const std::string& url, std::vector<QuillonHTTPHeaderField> fields = {}) {
  try {
    requireLoadable({.url = QuillonURL::parse(url).value(), .headerFields = std::move(fields)});
  } catch (const QuillonURLError& error) {
    return error.code();
  }
  return std::nullopt;
}

TEST(QuillonLoadableRequestTest, WebPagesAndFilesCanBeLoaded) {
  EXPECT_EQ(failureOf("http://example.com/feed"), std::nullopt);
  EXPECT_EQ(failureOf("https://example.com:8443/", {{"X-Token!", "a: b"}, {"Accept", ""}}), std::nullopt);
  EXPECT_EQ(failureOf("file:///feed"), std::nullopt);
}

TEST(QuillonLoadableRequestTest, OtherSchemesAreRefused) {
  EXPECT_EQ(failureOf("ftp://example.com/feed"), QuillonURLErrorCode::unsupportedURL);
  EXPECT_EQ(failureOf("data:text/plain,feed"), QuillonURLErrorCode::unsupportedURL);
}

TEST(QuillonLoadableRequestTest, AURLThatNamesNoValidHostIsRefused) {
  EXPECT_EQ(failureOf("http://a@b@c/"), QuillonURLErrorCode::badURL);
}

TEST(QuillonLoadableRequestTest, WhatCouldBecomeAnotherFieldIsRefused) {
  const std::vector<QuillonHTTPHeaderField> malformed = {{"", "x"},          {"A:", "x"},        {"A B", "x"},
                                                         {"A\r\nB", "x"},    {"A", "x\r\nB: y"}, {"A", "x\ny"},
                                                         {"A", {"x\0y", 3}}, {"\xC3\xA4", "x"}};

  for (const QuillonHTTPHeaderField& field : malformed) {
    EXPECT_EQ(failureOf("http://example.com/", {field}), QuillonURLErrorCode::badURL) << field.name;
  }
}

}  // namespace
}  // namespace quillon
