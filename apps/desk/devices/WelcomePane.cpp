#include "apps/desk/devices/WelcomePane.h"

namespace quorvid::desk {

WelcomePane::WelcomePane(ServerChooser& chooser) : chooser_(chooser) {
  on<void(GtkButton*)>(ui_.get("add"), "clicked", [this](auto) { chooser_.add(); });
  on<void(GtkButton*)>(ui_.get("try"), "clicked", [this](auto) { chooser_.useSimulator(); });
  on<void(GtkWidget*)>(widget(), "map", [this](auto) { listServers(); });
}

void WelcomePane::listServers() {
  auto* const box = ui_.get<GtkBox>("servers");
  while (GtkWidget* const old = gtk_widget_get_first_child(GTK_WIDGET(box))) {
    gtk_box_remove(box, old);
  }
  for (const Server& server : chooser_.remembered()) {
    GtkWidget* const label = gtk_label_new(server.title().c_str());
    gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END);
    GtkWidget* const button = gtk_button_new();
    gtk_button_set_child(GTK_BUTTON(button), label);
    gtk_widget_add_css_class(button, "pill");
    on<void(GtkButton*)>(button, "clicked", [this, id = server.id](auto) { chooser_.choose(id); });
    gtk_box_append(box, button);
  }
}

}  // namespace quorvid::desk
