#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "QuillonCore/Network/QuillonURLRedirect.h"
#include "QuillonCore/Values/QuillonURLError.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

QuillonURLRequest requestFor(const std::string& url) {
  return {.url = QuillonURL::parse(url).value(),
          .headerFields = {{"AUTHORIZATION", "secret"}, {"X-Application", "Vesk"}, {"Cookie", "secret"}}};
}

QuillonURLErrorCode refusalOf(const std::string& from, const std::string& target) {
  try {
    (void)requestFollowingRedirect(requestFor(from), target);
  } catch (const QuillonURLError& error) {
    EXPECT_THAT(error.description(), Not(HasSubstr("secret")));
    return error.code();
  }
  ADD_FAILURE() << "the redirect was followed";
  return QuillonURLErrorCode::unknown;
}

TEST(QuillonURLRedirectTest, FiveStatusesLeadElsewhere) {
  for (const int status : {301, 302, 303, 307, 308}) EXPECT_TRUE(isRedirectStatus(status)) << status;
  for (const int status : {200, 300, 304, 305, 306, 309, 404}) EXPECT_FALSE(isRedirectStatus(status)) << status;
}

TEST(QuillonURLRedirectTest, WithinAnOriginAllFieldsAreSentAgain) {
  const QuillonURLRequest following =
      requestFollowingRedirect(requestFor("https://example.com/a"), "https://EXAMPLE.com:443/b?c");

  EXPECT_EQ(following.url.absoluteString(), "https://EXAMPLE.com:443/b?c");
  EXPECT_EQ(following.headerFields, requestFor("https://example.com/a").headerFields);
}

TEST(QuillonURLRedirectTest, AnotherOriginGetsNoCredentials) {
  for (const char* target : {"https://other.com/", "https://example.com:444/", "http://sub.example.com/"}) {
    const std::string from =
        std::string(target).substr(0, 5) == "https" ? "https://example.com/" : "http://example.com/";
    EXPECT_EQ(requestFollowingRedirect(requestFor(from), target).headerFields,
              (std::vector<QuillonHTTPHeaderField>{{"X-Application", "Vesk"}}))
        << target;
  }
}

TEST(QuillonURLRedirectTest, TheWayToHTTPSIsOpenAndTheWayBackIsNot) {
  EXPECT_EQ(requestFollowingRedirect(requestFor("http://a.com/"), "https://a.com/").url.scheme(), "https");
  EXPECT_EQ(refusalOf("https://a.com/", "http://a.com/?key=secret"), QuillonURLErrorCode::secureConnectionFailed);
  EXPECT_EQ(refusalOf("https://a.com/", "HTTP://a.com/"), QuillonURLErrorCode::secureConnectionFailed);
}

TEST(QuillonURLRedirectTest, OtherSchemesAreRefused) {
  for (const char* target : {"file:///etc/passwd", "FILE:///etc/passwd", "ftp://a.com/", "data:text/plain,x"}) {
    EXPECT_EQ(refusalOf("http://a.com/", target), QuillonURLErrorCode::unsupportedURL) << target;
  }
}

TEST(QuillonURLRedirectTest, WhatIsNoURLIsRefused) {
  for (const char* target : {"", "/relative", "http://", "http://a b/", "http://a@b@c/", "http://a.com/%zz",
                             "http://a.com/\r\nX: y", "https://:secret@/"}) {
    EXPECT_EQ(refusalOf("http://a.com/", target), QuillonURLErrorCode::redirectToNonExistentLocation) << target;
  }
}

TEST(QuillonURLRedirectTest, StrayCharactersAreEncodedAndControlCharactersStay) {
  EXPECT_EQ(percentEncodingStrayCharacters("/a b|{c}\"%20\n?\xC3\xA4"), "/a%20b%7C%7Bc%7D%22%20\n?\xC3\xA4");
}

}  // namespace
}  // namespace quillon
