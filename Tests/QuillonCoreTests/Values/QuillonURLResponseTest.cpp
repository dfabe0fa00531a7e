#include <gtest/gtest.h>

#include "QuillonCore/Values/QuillonURLResponse.h"

namespace quillon {
namespace {

QuillonURLResponse responseWithFields(std::vector<QuillonHTTPHeaderField> fields) {
  return {.url = QuillonURL::fileURL("/feed.plist"), .headerFields = std::move(fields)};
}

TEST(QuillonURLResponseTest, FieldNamesAreFoundWhateverTheirLetterCase) {
  const auto response = responseWithFields({{.name = "content-TYPE", .value = "application/zip"}});

  EXPECT_EQ(response.valueForHeaderField("Content-Type"), "application/zip");
}

TEST(QuillonURLResponseTest, TheFirstOfSeveralFieldsIsFound) {
  const auto response = responseWithFields({{.name = "ETag", .value = "a"}, {.name = "etag", .value = "b"}});

  EXPECT_EQ(response.valueForHeaderField("ETag"), "a");
}

TEST(QuillonURLResponseTest, AFieldThatWasNotSentIsAbsent) {
  const auto response = responseWithFields({{.name = "ETagged", .value = "a"}, {.name = "ETa", .value = "b"}});

  EXPECT_EQ(response.valueForHeaderField("ETag"), std::nullopt);
}

}  // namespace
}  // namespace quillon
