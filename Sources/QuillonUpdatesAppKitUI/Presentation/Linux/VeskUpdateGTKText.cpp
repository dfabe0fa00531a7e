#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKText.h"

#include <glibmm/ustring.h>
#include <gtk/gtk.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <sstream>

#include "QuillonCore/Text/QuillonPlainText.h"

namespace quillon {
namespace {

/// Dots an inch at which text has its usual size, in the unit of GTK's setting.
constexpr double kUsualTextResolution = 96.0 * 1024.0;

/// More than a window can show. Laying out texts that never end would freeze it: a label measures itself many times.
constexpr Glib::ustring::size_type kLongestText = 3000;
/// Of a text that breaks into lines, at least. In columns any narrower long texts become towers to be measured.
constexpr int kFewestCharactersOfLine = 24;

/// How much larger than usual the user reads text, 2 for 200 %.
double textScale() {
  int resolution = -1;
  g_object_get(gtk_settings_get_default(), "gtk-xft-dpi", &resolution, nullptr);
  return resolution > 0 ? std::clamp(resolution / kUsualTextResolution, 0.5, 4.0) : 1.0;
}

Glib::ustring shortened(const Glib::ustring& text) {
  return text.size() <= kLongestText ? text : text.substr(0, kLongestText) + "…";
}

void showPlainText(Gtk::Label& label, const std::string& text) {
  label.set_use_markup(false);
  label.set_use_underline(false);
  label.set_text(shortened(text));
  // At the leading edge of the window, whatever the direction of the text itself.
  label.set_xalign(0);
  label.set_halign(Gtk::Align::FILL);
  // The natural width of a label is that of its whole text otherwise, and a window is as wide as it says.
  label.set_max_width_chars(1);
  label.set_hexpand(true);
}

/// Takes the attributes over.
void setAttributes(Gtk::Label& label, std::initializer_list<PangoAttribute*> attributes) {
  PangoAttrList* const list = pango_attr_list_new();
  for (PangoAttribute* const attribute : attributes) pango_attr_list_insert(list, attribute);
  gtk_label_set_attributes(label.gobj(), list);
  pango_attr_list_unref(list);
}

}  // namespace

int scaledToText(double points) {
  return static_cast<int>(std::lround(points * textScale()));
}

void showInOneLine(Gtk::Label& label, const std::string& text) {
  showPlainText(label, singleLineText(text));
  label.set_single_line_mode(true);
  label.set_ellipsize(Pango::EllipsizeMode::END);
}

void showInLines(Gtk::Label& label, const std::string& text, int lineCount) {
  showPlainText(label, multiLineText(text));
  label.set_width_chars(kFewestCharactersOfLine);
  label.set_max_width_chars(kFewestCharactersOfLine);
  label.set_wrap(true);
  label.set_wrap_mode(Pango::WrapMode::WORD_CHAR);
  label.set_lines(lineCount);
  label.set_ellipsize(Pango::EllipsizeMode::END);
}

void showToRead(Gtk::TextView& view, const std::string& text) {
  Glib::ustring lines;
  std::istringstream rest(multiLineText(text));
  for (std::string line; std::getline(rest, line);) lines += (lines.empty() ? "" : "\n") + shortened(line);
  view.get_buffer()->set_text(lines);
  view.set_editable(false);
  view.set_cursor_visible(false);
  view.set_accepts_tab(false);
  view.set_wrap_mode(Gtk::WrapMode::WORD_CHAR);
}

void showButtonTitle(Gtk::Button& button, const std::string& title, int longest) {
  auto* const label = Gtk::make_managed<Gtk::Label>();
  showInOneLine(*label, title);
  label->set_xalign(0.5F);
  label->set_hexpand(false);
  label->set_max_width_chars(longest);
  button.set_child(*label);
  setAccessibilityLabel(button, title);
}

Gtk::HeaderBar& makeTitleBar(const std::string& title) {
  auto* const label = Gtk::make_managed<Gtk::Label>();
  showInOneLine(*label, title);
  label->set_xalign(0.5F);
  label->add_css_class("title");
  auto* const bar = Gtk::make_managed<Gtk::HeaderBar>();
  bar->set_title_widget(*label);
  return *bar;
}

void useHeadlineFont(Gtk::Label& label) {
  setAttributes(label, {pango_attr_weight_new(PANGO_WEIGHT_BOLD), pango_attr_scale_new(PANGO_SCALE_X_LARGE)});
}

void useLabelFont(Gtk::Label& label) {
  setAttributes(label, {pango_attr_weight_new(PANGO_WEIGHT_SEMIBOLD)});
}

void useStatusFont(Gtk::Label& label) {
  setAttributes(label, {pango_attr_scale_new(PANGO_SCALE_SMALL), pango_attr_font_features_new("tnum=1")});
  label.add_css_class("dim-label");
}

void setAccessibilityLabel(Gtk::Widget& view, const std::string& text) {
  gtk_accessible_update_property(GTK_ACCESSIBLE(view.gobj()), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                 singleLineText(text).c_str(), -1);
}

void setAccessibilityLabelledBy(Gtk::Widget& view, Gtk::Widget& label) {
  gtk_accessible_update_relation(GTK_ACCESSIBLE(view.gobj()), GTK_ACCESSIBLE_RELATION_LABELLED_BY, label.gobj(),
                                 nullptr, -1);
}

// GTK 4.8 hands on no description that is given as a relation to a label.
void setAccessibilityDescription(Gtk::Widget& view, const std::string& text) {
  gtk_accessible_update_property(GTK_ACCESSIBLE(view.gobj()), GTK_ACCESSIBLE_PROPERTY_DESCRIPTION,
                                 shortened(multiLineText(text)).c_str(), -1);
}

void hideFromScreenReaders(Gtk::Image& image) {
  image.property_accessible_role() = Gtk::Accessible::Role::PRESENTATION;
}

}  // namespace quillon
