#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>

#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptNavigation.h"

namespace quillon {
namespace {

using Policy = VeskUpdatePromptNavigationPolicy;

struct NavigationCase {
  std::string name;
  std::string page;
  bool isLinkActivated = false;
  std::string url;
  Policy policy = Policy::allow;
};

std::ostream& operator<<(std::ostream& stream, const NavigationCase& item) {
  return stream << item.name;
}

class VeskUpdatePromptNavigationTest : public ::testing::TestWithParam<NavigationCase> {};

TEST_P(VeskUpdatePromptNavigationTest, IsDecided) {
  const NavigationCase& item = GetParam();
  const VeskUpdatePromptNavigation navigation{.isLinkActivated = item.isLinkActivated,
                                              .url = QuillonURL::parse(item.url)};

  EXPECT_EQ(promptNavigationPolicy(navigation, QuillonURL::parse(item.page)), item.policy);
}

std::string nameOf(const ::testing::TestParamInfo<NavigationCase>& info) {
  return info.param.name;
}

constexpr const char* kPage = "https://example.org/notes.html";

INSTANTIATE_TEST_SUITE_P(
    ALink, VeskUpdatePromptNavigationTest,
    ::testing::Values(
        NavigationCase{"ToAWebPage", kPage, true, "https://example.org/more", Policy::openWithWorkspace},
        NavigationCase{"ToAPlainWebPage", kPage, true, "http://example.org/", Policy::openWithWorkspace},
        NavigationCase{"ToAMailAddress", kPage, true, "mailto:help@example.org", Policy::openWithWorkspace},
        NavigationCase{"ToItself", kPage, true, kPage, Policy::openWithWorkspace},
        NavigationCase{"WithoutURL", kPage, true, "", Policy::allow},
        NavigationCase{"ToAnApplication", kPage, true, "file:///tmp/Evil.app", Policy::cancel},
        NavigationCase{"OfALocalPageToAnApplication", "file:///usr/share/notes.html", true, "file:///tmp/Evil.app",
                       Policy::cancel},
        NavigationCase{"ToAScript", kPage, true, "javascript:alert(1)", Policy::cancel},
        NavigationCase{"ToDataOfThePage", kPage, true, "data:text/html,x", Policy::cancel},
        NavigationCase{"ToABlobOfThePage", kPage, true, "blob:https://example.org/1", Policy::cancel},
        NavigationCase{"ToABlankPage", kPage, true, "about:blank", Policy::cancel},
        NavigationCase{"ToAFileInUpperCase", kPage, true, "FILE:///tmp/Evil.app", Policy::cancel},
        NavigationCase{"ToATelephone", kPage, true, "tel:+4930123456", Policy::openWithWorkspace},
        NavigationCase{"ToAStore", kPage, true, "appstream:org.example.App", Policy::openWithWorkspace},
        NavigationCase{"ToAFileServer", kPage, true, "ftp://example.org/a", Policy::openWithWorkspace},
        NavigationCase{"ToTheHostsOwnScheme", kPage, true, "x-example:settings", Policy::openWithWorkspace}),
    nameOf);
INSTANTIATE_TEST_SUITE_P(
    ByItself, VeskUpdatePromptNavigationTest,
    ::testing::Values(NavigationCase{"FirstLoad", kPage, false, kPage, Policy::allow},
                      NavigationCase{"Redirect", kPage, false, "https://cdn.example.org/notes.html", Policy::allow},
                      NavigationCase{"Blank", kPage, false, "about:blank", Policy::allow},
                      NavigationCase{"OwnData", kPage, false, "data:text/html,x", Policy::allow},
                      NavigationCase{"WithoutURL", kPage, false, "", Policy::allow},
                      NavigationCase{"FirstLoadOfALocalPage", "file:///usr/share/notes.html", false,
                                     "file:///usr/share/notes.html", Policy::allow},
                      NavigationCase{"FromTheWebToAFile", kPage, false, "file:///etc/passwd", Policy::cancel},
                      NavigationCase{"FromNowhereToAFile", "", false, "file:///etc/passwd", Policy::cancel},
                      NavigationCase{"ToAnotherApplicationsScheme", kPage, false, "x-evil:run", Policy::cancel}),
    nameOf);

TEST(VeskUpdatePromptNavigationTest, NothingButAPageTakesThePlaceOfThePage) {
  const auto policyOfPage = [](const char* url) {
    return promptNavigationPolicy({.replacesPage = true, .url = QuillonURL::parse(url)}, QuillonURL::parse(kPage));
  };

  EXPECT_EQ(policyOfPage("https://cdn.example.org/notes.html"), Policy::allow);
  EXPECT_EQ(policyOfPage("http://example.org/notes.html"), Policy::allow);
  for (const char* url : {"about:blank", "data:text/html,x", "blob:https://example.org/1", "file:///etc/passwd"}) {
    EXPECT_EQ(policyOfPage(url), Policy::cancel) << url;
  }
}

TEST(VeskUpdatePromptNavigationTest, APageIsOfTheWebOrOfThisMachine) {
  for (const char* url : {"https://example.org/", "http://example.org/", "file:///usr/share/notes.html"}) {
    EXPECT_TRUE(isPromptPage(QuillonURL::parse(url))) << url;
  }
  for (const char* url : {"about:blank", "data:text/html,x", "blob:https://example.org/1", "ftp://example.org/"}) {
    EXPECT_FALSE(isPromptPage(QuillonURL::parse(url))) << url;
  }
  EXPECT_FALSE(isPromptPage(std::nullopt));
}

TEST(VeskUpdatePromptNavigationTest, APageThatTheServerRefusesIsNotShownButItsPartsAre) {
  EXPECT_TRUE(showsPromptNavigationAnswer({.isPage = true, .canBeShown = true, .httpStatusCode = 200}));
  EXPECT_TRUE(showsPromptNavigationAnswer({.isPage = true, .canBeShown = true}));
  EXPECT_FALSE(showsPromptNavigationAnswer({.isPage = true, .canBeShown = true, .httpStatusCode = 404}));
  EXPECT_TRUE(showsPromptNavigationAnswer({.isPage = false, .canBeShown = true, .httpStatusCode = 404}));
}

TEST(VeskUpdatePromptNavigationTest, WhatWouldBeDownloadedIsNotShown) {
  EXPECT_FALSE(showsPromptNavigationAnswer({.isPage = true, .canBeShown = false, .httpStatusCode = 200}));
  EXPECT_FALSE(showsPromptNavigationAnswer({.isPage = false, .canBeShown = false}));
}

}  // namespace
}  // namespace quillon
