#include "Linux/SampleWindow.h"

namespace sample {

SampleWindow::SampleWindow(const std::string& name, const std::string& version) : label_(name + ' ' + version) {
  constexpr int kWidth = 480;
  constexpr int kHeight = 240;
  set_title(name);
  set_default_size(kWidth, kHeight);
  set_show_menubar(true);
  set_child(label_);
}

}  // namespace sample
