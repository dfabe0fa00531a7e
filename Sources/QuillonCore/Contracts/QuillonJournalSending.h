#pragma once

#include <span>
#include <string>

namespace quillon {

/// Hands entries to the system's journal. Callable from any thread.
class QuillonJournalSending {
 public:
  virtual ~QuillonJournalSending() = default;

  /// Hands over an entry of `fields`, each "NAME=value" as systemd.journal-fields(7) has them. False when there is no
  /// journal, or when it did not take the entry.
  [[nodiscard]] virtual bool send(std::span<const std::string> fields) noexcept = 0;
};

}  // namespace quillon
