#pragma once

#include <memory>
#include <string>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Contracts/QuillonWorkspaceOpening.h"
#include "QuillonCore/Runtime/QuillonSystemLog.h"

namespace quillon {

/// Opens application bundles by starting their executable, and everything else through the desktop's own opener.
///
/// What is started is no child of this process and is not ended with it. It has this process's environment.
class QuillonLinuxWorkspace final : public QuillonWorkspaceOpening {
 public:
  /// On the system's files, with "/usr/bin/xdg-open" and the system log.
  QuillonLinuxWorkspace();
  /// `desktopOpener` is the absolute path of a program that takes a path or URL as its argument.
  QuillonLinuxWorkspace(std::shared_ptr<const QuillonFileManaging> fileManager, std::string desktopOpener,
                        QuillonDiagnosticLog diagnosticLog);

  /// A failure leaves one line in the diagnostic log.
  [[nodiscard]] bool open(const QuillonURL& url) noexcept override;

  /// As `open`, but throws the QuillonError that says what is wrong.
  void openOrThrow(const QuillonURL& url) const;

 private:
  [[nodiscard]] bool isApplicationBundle(const QuillonURL& url) const noexcept;
  void startApplication(const QuillonURL& bundle) const;
  void handToDesktop(const QuillonURL& url) const;

  const std::shared_ptr<const QuillonFileManaging> fileManager_;
  const std::string desktopOpener_;
  const QuillonDiagnosticLog diagnosticLog_;
};

}  // namespace quillon
