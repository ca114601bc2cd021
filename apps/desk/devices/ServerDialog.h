// ServerDialog: the window in which a server is described, checked while the user types. Main
// thread.
#pragma once

#include <functional>
#include <string>

#include "apps/desk/devices/ServerCheck.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class ServerDialog {
 public:
  // Shows it. accepted: called once, with an entry that has no trouble, if the user accepts it.
  ServerDialog(GtkWindow* parent, const char* title, const ServerEntry& entry,
               std::function<void(const ServerEntry&)> accepted);
  ~ServerDialog();
  ServerDialog(const ServerDialog&) = delete;
  ServerDialog& operator=(const ServerDialog&) = delete;

 private:
  GtkWindow* window() const { return ui_.get<GtkWindow>("window"); }
  std::string text(const char* id) const;
  void setText(const char* id, const std::string& text);
  void fill(const ServerEntry& entry);
  ServerEntry entry() const;
  void check();
  void accept();

  Ui ui_{"ServerDialog"};
  std::function<void(const ServerEntry&)> accepted_;
};

}  // namespace quorvid::desk
