#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonUpdatesCore/VeskUpdateFeed.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"

namespace quillon {
namespace {

TEST(VeskUpdateFeedTest, EntriesComeInTheirOrder) {
  const VeskUpdateFeed feed = feedOf({entryOf({{"id", "b"}}), entryOf({{"id", "a"}})});

  std::vector<std::string> identifiers;
  for (const VeskUpdateFeedEntry entry : feed) identifiers.emplace_back(stringOrEmpty(entry, "id"));

  EXPECT_EQ(identifiers, (std::vector<std::string>{"b", "a"}));
  EXPECT_EQ(feed.size(), 2U);
  EXPECT_EQ(stringOrEmpty(feed.at(1), "id"), "a");
}

TEST(VeskUpdateFeedTest, AnEntryStaysGoodWhenTheFeedIsMoved) {
  VeskUpdateFeed feed = feedOf({entryOf({{"id", "a"}})});
  const VeskUpdateFeedEntry entry = feed.at(0);

  const VeskUpdateFeed moved = std::move(feed);

  EXPECT_EQ(stringOrEmpty(entry, "id"), "a");
  EXPECT_EQ(stringOrEmpty(moved.at(0), "id").data(), stringOrEmpty(entry, "id").data());
}

}  // namespace
}  // namespace quillon
