#pragma once

#include <gtkmm/applicationwindow.h>
#include <gtkmm/label.h>

#include <string>

namespace sample {

/// The window of an application that does nothing but say which version it is.
class SampleWindow : public Gtk::ApplicationWindow {
 public:
  SampleWindow(const std::string& name, const std::string& version);

 private:
  Gtk::Label label_;
};

}  // namespace sample
