#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonTool/Update/ReleaseNotes.h"
#include "Support/FakeNetworkClient.h"

namespace quillon {
namespace {

using ::testing::EndsWith;
using ::testing::SizeIs;

QuillonURLData page(const std::string& body, const std::string& type,
                    const std::string& url = "https://example.org/n") {
  QuillonURLData data{.body = body, .response = {.url = QuillonURL::parse(url).value()}};
  if (!type.empty()) data.response.headerFields.push_back({"Content-Type", type});
  return data;
}

TEST(ReleaseNotesTest, PlainTextStaysAndHTMLIsStripped) {
  EXPECT_EQ(ReleaseNotes::text(page("<b>One</b>\n", "text/plain; charset=utf-8")), "<b>One</b>");
  EXPECT_EQ(ReleaseNotes::text(page("<b>One</b>", "TEXT/HTML")), "One");
}

TEST(ReleaseNotesTest, AFileIsWhatItsNameSays) {
  EXPECT_EQ(ReleaseNotes::text(page("<b>One</b>", "", "file:///notes.html")), "One");
  EXPECT_EQ(ReleaseNotes::text(page("One", "", "file:///notes.txt")), "One");
  EXPECT_EQ(ReleaseNotes::text(page("One", "", "file:///notes")), std::nullopt);
}

TEST(ReleaseNotesTest, WhatIsNoTextIsLeftOut) {
  EXPECT_EQ(ReleaseNotes::text(page("%PDF", "application/pdf")), std::nullopt);
  EXPECT_EQ(ReleaseNotes::text(page(" \n\n", "text/plain")), std::nullopt);
}

TEST(ReleaseNotesTest, NothingInItSteersTheTerminal) {
  EXPECT_EQ(ReleaseNotes::text(page("a\x1b[2J\x07"
                                    "b\r\n\xE2\x80\xAE"
                                    "c",
                                    "text/plain")),
            "a[2Jb\nc");
}

TEST(ReleaseNotesTest, LongNotesAreCutOffAndSaySo) {
  std::string body;
  for (int i = 0; i < 1000; ++i) body += "line\n";

  const std::string text = ReleaseNotes::text(page(body, "text/plain")).value();

  EXPECT_EQ(std::ranges::count(text, '\n'), static_cast<std::ptrdiff_t>(ReleaseNotes::maximumLines));
  EXPECT_THAT(text, EndsWith("line\n…"));
  EXPECT_THAT(ReleaseNotes::text(page(std::string(10'000, 'x'), "text/plain")).value(),
              SizeIs(ReleaseNotes::maximumColumns + std::string("…").size()));
}

TEST(ReleaseNotesTest, BlankLinesAreKeptOnceAndOnlyBetween) {
  EXPECT_EQ(ReleaseNotes::text(page("\n\nOne\n\n\n\nTwo\n\n", "text/plain")), "One\n\nTwo");
}

TEST(ReleaseNotesTest, NotesThatCannotBeHadAreAbsent) {
  const QuillonURL url = QuillonURL::parse("https://example.org/n").value();
  testing::FakeNetworkClient network;
  EXPECT_EQ(ReleaseNotes::load(network, url, {}), std::nullopt);

  QuillonURLData notFound = page("Not found", "text/plain");
  notFound.response.httpStatusCode = 404;
  network.answer(url, notFound);
  EXPECT_EQ(ReleaseNotes::load(network, url, {}), std::nullopt);

  network.answer(url, page("One", "text/plain"));
  EXPECT_EQ(ReleaseNotes::load(network, url, {}), "One");
}

TEST(ReleaseNotesTest, AStopIsACancellation) {
  std::stop_source source;
  source.request_stop();

  EXPECT_THROW((void)ReleaseNotes::load(testing::FakeNetworkClient(), QuillonURL::parse("https://a.example/").value(),
                                        source.get_token()),
               QuillonCancellationError);
}

}  // namespace
}  // namespace quillon
