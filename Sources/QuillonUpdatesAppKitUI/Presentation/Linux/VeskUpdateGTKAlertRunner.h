#pragma once

#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateAlert.h"

namespace quillon {

/// Shows alerts with GTK: each a window that blocks the application's others, over the one in front. Its icon is the
/// one that the host has set as the default of its windows, else that of the alert's style.
class VeskUpdateGTKAlertRunner final : public VeskUpdateAlertRunning {
 public:
  [[nodiscard]] VeskUpdateAlertAnswer run(const VeskUpdateAlert& alert) override;
};

}  // namespace quillon
