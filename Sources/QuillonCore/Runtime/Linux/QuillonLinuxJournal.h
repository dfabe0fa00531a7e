#pragma once

#include "QuillonCore/Contracts/QuillonJournalSending.h"

namespace quillon {

/// The journal of systemd. Holds no state: the library keeps one socket for the process.
class QuillonLinuxJournal final : public QuillonJournalSending {
 public:
  [[nodiscard]] bool send(std::span<const std::string> fields) noexcept override;
};

}  // namespace quillon
