#include "QuillonCore/Runtime/Linux/QuillonLinuxWorkspace.h"

#include <exception>
#include <utility>

#include "QuillonCore/Runtime/Linux/QuillonDetachedProcess.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Runtime/QuillonBundleInformation.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

/// Whether `name` names a file of the folder it is looked up in, and nothing outside it.
bool isPlainFileName(std::string_view name) noexcept {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos &&
         name.find('\0') == std::string_view::npos;
}

}  // namespace

QuillonLinuxWorkspace::QuillonLinuxWorkspace()
    : QuillonLinuxWorkspace(std::make_shared<QuillonPosixFileManager>(), "/usr/bin/xdg-open", &writeToSystemLog) {}

QuillonLinuxWorkspace::QuillonLinuxWorkspace(std::shared_ptr<const QuillonFileManaging> fileManager,
                                             std::string desktopOpener, QuillonDiagnosticLog diagnosticLog)
    : fileManager_(std::move(fileManager)),
      desktopOpener_(std::move(desktopOpener)),
      diagnosticLog_(std::move(diagnosticLog)) {}

bool QuillonLinuxWorkspace::open(const QuillonURL& url) noexcept {
  try {
    try {
      openOrThrow(url);
      return true;
    } catch (const QuillonError& error) {
      diagnosticLog_("QuillonLinuxWorkspace: Failed to open; url=" + url.absoluteString() +
                     " error=" + error.description());
    }
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): no memory even for the line; the answer says it
  }
  return false;
}

void QuillonLinuxWorkspace::openOrThrow(const QuillonURL& url) const {
  if (isApplicationBundle(url)) return startApplication(url);
  if (url.isFileURL() && !fileManager_->itemStatus(url)) {
    throw QuillonError("Cannot open " + url.path() + ": there is nothing of that name.");
  }
  handToDesktop(url);
}

bool QuillonLinuxWorkspace::isApplicationBundle(const QuillonURL& url) const noexcept {
  return url.isFileURL() && url.pathExtension() == "app" && fileManager_->directoryExists(url);
}

void QuillonLinuxWorkspace::startApplication(const QuillonURL& bundle) const {
  const auto name = bundleInformationText(*fileManager_, bundle, "CFBundleExecutable");
  if (!name || !isPlainFileName(*name)) {
    throw QuillonError("Cannot open " + bundle.path() + ": its Info.plist names no executable.");
  }
  startDetachedProcess(bundle.appendingPathComponent("Contents/MacOS/" + *name).path(), {},
                       QuillonProcessEnvironment::inherited);
}

void QuillonLinuxWorkspace::handToDesktop(const QuillonURL& url) const {
  if (!fileManager_->fileExists(QuillonURL::fileURL(desktopOpener_))) {
    throw QuillonError("Cannot open " + url.absoluteString() + ": " + desktopOpener_ +
                       " is not installed (package xdg-utils).");
  }
  startDetachedProcess(desktopOpener_, {url.isFileURL() ? url.path() : url.absoluteString()},
                       QuillonProcessEnvironment::inherited);
}

}  // namespace quillon
