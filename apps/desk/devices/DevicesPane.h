// DevicesPane: the devices of the server by name, with search; each with its cameras to click, or
// to drag into a tile. Main thread; the list is asked for on a thread of its own.
#pragma once

#include "apps/desk/devices/DeviceList.h"
#include "apps/desk/devices/DeviceQuery.h"
#include "apps/desk/model/Desk.h"
#include "apps/desk/toolkit/Task.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class DevicesPane {
 public:
  explicit DevicesPane(Desk& desk);
  GtkWidget* widget() const { return ui_.get("pane"); }
  // Asks the server again.
  void refresh();
  void search();    // the keyboard goes to the search entry
  void addTyped();  // asks for the identifier of a device

 private:
  GtkWindow* window() const { return GTK_WINDOW(gtk_widget_get_root(widget())); }
  void serverChanged();
  void watchLeaflet();
  void take(QueryAnswer answer);
  void show();
  void showTrouble();
  void showPage(const char* name);
  void setLoading(bool isLoading);
  void keepTyped(const std::string& id);
  void removeTyped(const std::string& id);

  Desk& desk_;
  Ui ui_{"DevicesPane"};
  DeviceList list_;
  AdwLeaflet* leaflet_ = nullptr;
  QueryTarget target_;
  std::vector<DevInfoItem> records_;
  QueryOutcome outcome_ = QueryOutcome::Complete;
  Life life_;  // of the query under way
};

}  // namespace quorvid::desk
