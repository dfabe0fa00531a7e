#pragma once

#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateAlert.h"

namespace quillon {

/// Shows alerts with GTK: each a window that blocks the application's others, over the one in front.
class VeskUpdateGTKAlertRunner final : public VeskUpdateAlertRunning {
 public:
  [[nodiscard]] VeskUpdateAlertAnswer run(const VeskUpdateAlert& alert) override;
};

}  // namespace quillon
