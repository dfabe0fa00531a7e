#pragma once

#include <gtkmm/button.h>
#include <gtkmm/headerbar.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>
#include <gtkmm/textview.h>
#include <gtkmm/widget.h>

#include <string>
#include <string_view>

namespace quillon {

/// Measures in points, in pixels: where they hold text, they grow as the user's text does.
[[nodiscard]] int scaledToText(double points);

// Of texts without end only the beginning is shown.

/// Shows `text` as plain text in one line, cut off at its end where there is no room. It asks for no room of its own
/// for long texts.
void showInOneLine(Gtk::Label& label, const std::string& text);

/// Shows `text` as plain text that breaks into lines, at most `lineCount` of them.
void showInLines(Gtk::Label& label, const std::string& text, int lineCount);

/// Shows `text` as plain text of any number of lines, to be read and scrolled; only a line without end is cut off.
void showToRead(Gtk::TextView& view, const std::string& text);

/// Names `button` with `title`, which it is wide enough for up to `longest` characters.
void showButtonTitle(Gtk::Button& button, const std::string& title, int longest);

/// A title bar that shows `title` in one line. It asks for no room of its own for long titles, as GTK's own would.
[[nodiscard]] Gtk::HeaderBar& makeTitleBar(const std::string& title);

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

/// What a screen reader that comes to `view` reads after its name.
void setAccessibilityDescription(Gtk::Widget& view, const std::string& text);

/// Screen readers pass `image` over: it says nothing that a text does not.
void hideFromScreenReaders(Gtk::Image& image);

}  // namespace quillon
