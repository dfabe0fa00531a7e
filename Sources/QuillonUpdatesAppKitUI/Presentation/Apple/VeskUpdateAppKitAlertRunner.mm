#include "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitAlertRunner.h"

#import <AppKit/AppKit.h>

#include <cstddef>
#include <string>

#import "QuillonCore/Runtime/Apple/QuillonObjectReference.h"
#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitText.h"

namespace quillon {
namespace {

namespace Identifiers = VeskUpdateAlertIdentifiers;
using Alert = QuillonObjectReference<NSAlert>;

NSAlertStyle styleOf(VeskUpdateAlertStyle style) noexcept {
  return style == VeskUpdateAlertStyle::warning ? NSAlertStyleWarning : NSAlertStyleInformational;
}

void addButtons(NSAlert* shown, const VeskUpdateAlert& alert) {
  for (const std::string& title : alert.buttons) [shown addButtonWithTitle:singleLineNSString(title)];
  // AppKit gives the key to a button that is called "Cancel" in English only.
  if (alert.buttons.size() > 1) [[[shown buttons] lastObject] setKeyEquivalent:@"\033"];
  std::size_t index = 0;
  for (NSButton* button in [shown buttons]) {
    [button setAccessibilityIdentifier:identifierNSString(std::string(Identifiers::button) + std::to_string(index))];
    ++index;
  }
}

void addSuppressionCheckbox(NSAlert* shown, const VeskUpdateAlert::SuppressionCheckbox& checkbox) {
  [shown setShowsSuppressionButton:YES];
  NSButton* const button = [shown suppressionButton];
  [button setTitle:singleLineNSString(checkbox.title)];
  [button setState:checkbox.isOn ? NSControlStateValueOn : NSControlStateValueOff];
  [button setAccessibilityIdentifier:identifierNSString(Identifiers::suppressionCheckbox)];
}

Alert makeAlert(const VeskUpdateAlert& alert) {
  auto shown = Alert::adopt([[NSAlert alloc] init]);
  [shown.get() setAlertStyle:styleOf(alert.style)];
  [shown.get() setMessageText:singleLineNSString(alert.title)];
  [shown.get() setInformativeText:multiLineNSString(alert.body)];
  addButtons(shown.get(), alert);
  if (alert.suppressionCheckbox) addSuppressionCheckbox(shown.get(), *alert.suppressionCheckbox);
  [[shown.get() window] setAccessibilityIdentifier:identifierNSString(Identifiers::window)];
  return shown;
}

/// Absent for what is no button's answer, as when something else ended the modal loop.
std::optional<std::size_t> buttonOf(NSModalResponse response, const VeskUpdateAlert& alert) noexcept {
  // The button that AppKit adds where there is none answers 0 (NSAlert.h).
  if (alert.buttons.empty() && response == 0) return 0;
  if (response < NSAlertFirstButtonReturn) return std::nullopt;
  return static_cast<std::size_t>(response - NSAlertFirstButtonReturn);
}

}  // namespace

VeskUpdateAlertAnswer VeskUpdateAppKitAlertRunner::run(const VeskUpdateAlert& alert) {
  @autoreleasepool {
    const Alert shown = makeAlert(alert);
    VeskUpdateAlertAnswer answer;
    answer.pressedButton = buttonOf([shown.get() runModal], alert);
    if ([shown.get() showsSuppressionButton]) {
      answer.isSuppressionCheckboxOn = [[shown.get() suppressionButton] state] == NSControlStateValueOn;
    }
    return answer;
  }
}

}  // namespace quillon
