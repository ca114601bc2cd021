// ServerChooser: the button that names the server, with its menu: choose, add, change, forget, the
// simulator. Asks for a password where none is kept. Main thread.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "apps/desk/devices/Passwords.h"
#include "apps/desk/devices/ServerDialog.h"
#include "apps/desk/model/Desk.h"
#include "apps/desk/simulator/Simulator.h"
#include "apps/desk/toolkit/Task.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class ServerChooser {
 public:
  ServerChooser(Desk& desk, Simulator& simulator);
  GtkWidget* widget() const;
  // Of the dialogs; to be called once, before the others.
  void setWindow(GtkWindow* window) { window_ = window; }

  // Uses the server that was used last, if there is one; asks for its password where need be.
  void useLast();
  void add();           // the dialog
  void useSimulator();  // starts it where it doesn't run
  // Those remembered but for the simulator, by title.
  std::vector<Server> remembered() const;
  // One of those remembered, by its id.
  void choose(const std::string& id);

 private:
  void addActions();
  void addAction(const char* name, std::function<void()> call);
  void show();
  void change();
  void askToForget();
  void forget(const std::string& id);
  void accept(const ServerEntry& entry, const std::string& id);
  void open(const Server& server);
  void askFor(const Server& server, const Passwords::Found& found);

  Desk& desk_;
  Simulator& simulator_;
  GtkWindow* window_ = nullptr;
  Ui ui_{"ServerChooser"};
  ObjectPtr<GSimpleActionGroup> actions_{g_simple_action_group_new()};
  Passwords passwords_;
  std::unique_ptr<ServerDialog> dialog_;
  Life choice_;  // what was chosen before a newer choice is of no interest
};

}  // namespace quorvid::desk
