#include "Support/RecordingProgressWindow.h"

#include <cmath>
#include <utility>

namespace quillon::testing {

RecordingProgressWindow::RecordingProgressWindow(std::string windowTitle,
                                                 const QuillonMainThreadDispatching* mainThread,
                                                 std::shared_ptr<ProgressWindowRecord> record)
    : windowTitle_(std::move(windowTitle)),
      mainThread_(mainThread),
      record_(record ? std::move(record) : std::make_shared<ProgressWindowRecord>()) {}

RecordingProgressWindow::~RecordingProgressWindow() {
  checkThread();
  record_->isDestroyed = true;
}

bool RecordingProgressWindow::hasProgressContent() const {
  checkThread();
  return hasContent_;
}

void RecordingProgressWindow::configureProgressContent() {
  checkThread();
  hasContent_ = true;
  ++configurations_;
  title_.clear();
  status_.clear();
  isStatusHidden_ = true;
  fraction_ = std::nullopt;
  hideAndDisableActionButton();
}

void RecordingProgressWindow::setTitleText(const std::string& text) {
  checkThread();
  title_ = text;
}

void RecordingProgressWindow::setStatusText(const std::string& text) {
  checkThread();
  status_ = text;
}

void RecordingProgressWindow::setStatusHidden(bool hidden) {
  checkThread();
  isStatusHidden_ = hidden;
}

void RecordingProgressWindow::showDeterminateProgress(double fraction) {
  fraction_ = fraction;
  didChange();
}

void RecordingProgressWindow::showIndeterminateProgress() {
  fraction_ = std::nullopt;
  didChange();
}

void RecordingProgressWindow::hideAndDisableActionButton() {
  checkThread();
  buttonTitle_ = std::nullopt;
  isButtonEnabled_ = false;
}

void RecordingProgressWindow::showActionButton(const std::string& title, std::function<void()> action) {
  buttonTitle_ = title;
  isButtonEnabled_ = true;
  action_ = std::move(action);
  didChange();
}

void RecordingProgressWindow::show() {
  checkThread();
  isVisible_ = true;
}

void RecordingProgressWindow::close() {
  checkThread();
  isVisible_ = false;
}

void RecordingProgressWindow::press() {
  if (!std::exchange(isButtonEnabled_, false)) return;
  // A copy: the action may show another button.
  if (const std::function<void()> action = action_) action();
}

void RecordingProgressWindow::removeContent() {
  hasContent_ = false;
}

std::string RecordingProgressWindow::shown() const {
  std::string text = title_;
  if (!isStatusHidden_) text += " | " + status_;
  text += " | " + (fraction_ ? std::to_string(std::lround(*fraction_ * 100)) + "%" : std::string("…"));
  if (buttonTitle_) text += " | [" + *buttonTitle_ + "]";
  return text;
}

void RecordingProgressWindow::checkThread() const {
  if (mainThread_ != nullptr && !mainThread_->isMainThread()) record_->wasUsedOffTheMainThread = true;
}

void RecordingProgressWindow::didChange() {
  checkThread();
  record_->states.push_back(shown());
  if (record_->onState) record_->onState(record_->states.back());
}

}  // namespace quillon::testing
