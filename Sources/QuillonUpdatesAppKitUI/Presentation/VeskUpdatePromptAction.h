#pragma once

#include <string>
#include <utility>
#include <variant>

#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// What the user chose in the prompt.
struct VeskUpdatePromptAction {
  struct RemindLater {
    /// Value of the entry's key "type".
    std::string feedType;

    friend bool operator==(const RemindLater&, const RemindLater&) = default;
  };
  struct Install {
    /// The entry that was offered.
    QuillonPropertyListValue::Dictionary feed;

    friend bool operator==(const Install&, const Install&) = default;
  };
  struct Dismissed {
    friend bool operator==(const Dismissed&, const Dismissed&) = default;
  };

  std::variant<RemindLater, Install, Dismissed> value;

  [[nodiscard]] static VeskUpdatePromptAction remindLater(std::string feedType) {
    return {RemindLater{std::move(feedType)}};
  }
  [[nodiscard]] static VeskUpdatePromptAction install(QuillonPropertyListValue::Dictionary feed) {
    return {Install{std::move(feed)}};
  }
  [[nodiscard]] static VeskUpdatePromptAction dismissed() { return {Dismissed{}}; }

  friend bool operator==(const VeskUpdatePromptAction&, const VeskUpdatePromptAction&) = default;
};

}  // namespace quillon
