#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageFields.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageRefusal.h"

namespace quillon {
namespace {

using Value = QuillonPropertyListValue;

class VeskAppBundleXPCMessageFieldsTest : public ::testing::Test {
 protected:
  /// What reading says, empty when it succeeds.
  template <typename Read>
  static std::string refusal(Read read) {
    try {
      static_cast<void>(read());
      return {};
    } catch (const VeskAppBundleXPCMessageRefusal& refusal) {
      return refusal.description();
    }
  }

  const Value::Dictionary message_ = {
      {"text", Value("a")},  {"empty", Value("")},    {"nul", Value(std::string("a\0b", 3))}, {"number", Value(-1)},
      {"large", Value(5e9)}, {"digits", Value("12")}, {"array", Value(Value::Array{})},
  };
  const VeskAppBundleXPCMessageFields fields_{message_};
};

TEST_F(VeskAppBundleXPCMessageFieldsTest, ReadsByTheRuleThatIsAskedFor) {
  EXPECT_EQ(fields_.requiredString("text"), "a");
  EXPECT_EQ(fields_.requiredString("empty"), "");
  EXPECT_EQ(fields_.requiredNonEmptyString("text"), "a");
  EXPECT_EQ(fields_.requiredInteger("digits"), 12);
  EXPECT_EQ(fields_.requiredResultInteger("number"), -1);
  EXPECT_EQ(fields_.requiredUnsigned32("digits"), 12U);
  EXPECT_EQ(fields_.requiredUnsigned64("large"), 5'000'000'000U);
  EXPECT_TRUE(fields_.requiredBool("number"));
}

TEST_F(VeskAppBundleXPCMessageFieldsTest, ARefusalNamesTheKeyAndWhatStoodThere) {
  EXPECT_EQ(refusal([this] { return fields_.requiredString("number"); }), "\"number\" is no text: integer -1");
  EXPECT_EQ(refusal([this] { return fields_.requiredNonEmptyString("empty"); }),
            "\"empty\" is no text with characters: string \"\"");
  EXPECT_EQ(refusal([this] { return fields_.requiredInteger("text"); }), "\"text\" is no 64-bit integer: string \"a\"");
  EXPECT_EQ(refusal([this] { return fields_.requiredResultInteger("digits"); }),
            "\"digits\" is no number: string \"12\"");
  EXPECT_EQ(refusal([this] { return fields_.requiredUnsigned32("large"); }),
            "\"large\" is no integer from 0 to 4294967295: real 5e+09");
  EXPECT_EQ(refusal([this] { return fields_.requiredUnsigned64("number"); }),
            "\"number\" is no number from 0: integer -1");
  EXPECT_EQ(refusal([this] { return fields_.requiredBool("array"); }), "\"array\" is no Boolean: array of 0");
}

TEST_F(VeskAppBundleXPCMessageFieldsTest, ARequiredFieldThatIsMissingIsRefused) {
  EXPECT_EQ(refusal([this] { return fields_.requiredString("none"); }), "\"none\" is missing");
  EXPECT_EQ(refusal([this] { return fields_.requiredNonEmptyString("none"); }), "\"none\" is missing");
  EXPECT_EQ(refusal([this] { return fields_.requiredInteger("none"); }), "\"none\" is missing");
  EXPECT_EQ(refusal([this] { return fields_.requiredResultInteger("none"); }), "\"none\" is missing");
  EXPECT_EQ(refusal([this] { return fields_.requiredUnsigned32("none"); }), "\"none\" is missing");
  EXPECT_EQ(refusal([this] { return fields_.requiredUnsigned64("none"); }), "\"none\" is missing");
  EXPECT_EQ(refusal([this] { return fields_.requiredBool("none"); }), "\"none\" is missing");
}

TEST_F(VeskAppBundleXPCMessageFieldsTest, AnOptionalFieldOfAnotherKindCountsAsAbsent) {
  EXPECT_EQ(fields_.optionalString("text"), "a");
  EXPECT_EQ(fields_.optionalString("empty"), "");
  EXPECT_EQ(fields_.optionalString("number"), std::nullopt);
  EXPECT_EQ(fields_.optionalString("none"), std::nullopt);
  EXPECT_EQ(fields_.optionalResultInteger("number"), -1);
  EXPECT_EQ(fields_.optionalResultInteger("digits"), std::nullopt);
  EXPECT_EQ(fields_.optionalResultInteger("none"), std::nullopt);
}

TEST_F(VeskAppBundleXPCMessageFieldsTest, AStringWithANULCharacterCountsAsNoString) {
  EXPECT_EQ(refusal([this] { return fields_.requiredString("nul"); }),
            std::string("\"nul\" is no text: string \"a\0b\"", 30));
  EXPECT_EQ(fields_.optionalString("nul"), std::nullopt);
}

TEST_F(VeskAppBundleXPCMessageFieldsTest, KnowsWhichKeysAreThereWhateverTheirValue) {
  EXPECT_TRUE(fields_.has("array"));
  EXPECT_FALSE(fields_.has("none"));
}

}  // namespace
}  // namespace quillon
