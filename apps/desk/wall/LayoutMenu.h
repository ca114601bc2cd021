// LayoutMenu: the button from which the wall's layout is chosen: how many tiles, and the layouts
// kept by name for this server. Main thread.
#pragma once

#include <functional>
#include <string>

#include "apps/desk/model/Desk.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class LayoutMenu {
 public:
  struct Calls {
    std::function<void(const Layout&)> use;
    std::function<Layout()> current;
    std::function<void()> clear;
  };
  LayoutMenu(Desk& desk, Calls calls);
  GtkWidget* widget() const { return ui_.get("button"); }

 private:
  void fill();
  GtkWidget* rowOf(const std::string& name);
  void save();

  Desk& desk_;
  const Calls calls_;
  Ui ui_{"LayoutMenu"};
};

}  // namespace quorvid::desk
