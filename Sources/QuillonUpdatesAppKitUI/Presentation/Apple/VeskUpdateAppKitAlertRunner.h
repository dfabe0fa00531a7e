#pragma once

#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateAlert.h"

namespace quillon {

/// Shows alerts with AppKit (`NSAlert`), each in a modal loop of its own. On the main thread of an `NSApplication`.
class VeskUpdateAppKitAlertRunner final : public VeskUpdateAlertRunning {
 public:
  [[nodiscard]] VeskUpdateAlertAnswer run(const VeskUpdateAlert& alert) override;
};

}  // namespace quillon
