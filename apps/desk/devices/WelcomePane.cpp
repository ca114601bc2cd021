#include "apps/desk/devices/WelcomePane.h"

namespace quorvid::desk {

WelcomePane::WelcomePane(ServerChooser& chooser) {
  on<void(GtkButton*)>(ui_.get("add"), "clicked", [&chooser](auto) { chooser.add(); });
  on<void(GtkButton*)>(ui_.get("try"), "clicked", [&chooser](auto) { chooser.useSimulator(); });
}

}  // namespace quorvid::desk
