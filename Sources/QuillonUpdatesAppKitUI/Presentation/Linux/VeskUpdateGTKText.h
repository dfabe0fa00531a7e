#pragma once

#include <gtkmm/button.h>
#include <gtkmm/label.h>
#include <gtkmm/widget.h>

#include <string>
#include <string_view>

namespace quillon {

/// How much larger than usual the user reads text, 2 for 200 %: what measures in points are multiplied with where they
/// hold text.
[[nodiscard]] double textScale();

/// Measures in points, brought to the user's size of text, in pixels.
[[nodiscard]] int scaledToText(double points);

// Of texts without end only the beginning is shown.

/// Shows `text` as plain text in one line, cut off at its end where there is no room. It asks for no room of its own
/// for long texts.
void showInOneLine(Gtk::Label& label, const std::string& text);

/// Shows `text` as plain text that breaks into lines, at most `lineCount` of them.
void showInLines(Gtk::Label& label, const std::string& text, int lineCount);

/// Names `button` with `title`, which it is wide enough for up to `longest` characters.
void showButtonTitle(Gtk::Button& button, const std::string& title, int longest);

/// Large and bold.
void useHeadlineFont(Gtk::Label& label);
/// Of some weight.
void useLabelFont(Gtk::Label& label);
/// Small and grey, with digits of one width, so that a counting size does not tremble.
void useStatusFont(Gtk::Label& label);

/// What a screen reader says `view` is, where it shows no text of its own.
void setAccessibilityLabel(Gtk::Widget& view, const std::string& text);

/// `view` is named by `label`, which stands beside it.
void setAccessibilityLabelledBy(Gtk::Widget& view, Gtk::Widget& label);

}  // namespace quillon
