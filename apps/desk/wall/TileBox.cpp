#include "apps/desk/wall/TileBox.h"

namespace quorvid::desk {

namespace {

void takeFocusAsWidgetsDo(gpointer type, gpointer) {
  GtkWidgetClass* const own = GTK_WIDGET_CLASS(type);
  own->focus = GTK_WIDGET_CLASS(g_type_class_peek(GTK_TYPE_WIDGET))->focus;
}

GType tileBoxType() {
  static const GType type =
      g_type_register_static_simple(GTK_TYPE_BOX, "QuorvidTileBox", sizeof(GtkBoxClass),
                                    &takeFocusAsWidgetsDo, sizeof(GtkBox), nullptr, GTypeFlags{});
  return type;
}

}  // namespace

GtkWidget* makeTileBox(GtkWidget* content) {
  auto* const box = static_cast<GtkWidget*>(
      g_object_new(tileBoxType(), "focusable", TRUE, "hexpand", TRUE, "vexpand", TRUE, "overflow",
                   GTK_OVERFLOW_HIDDEN, "accessible-role", GTK_ACCESSIBLE_ROLE_GROUP, nullptr));
  gtk_widget_add_css_class(box, "tile");
  gtk_box_append(GTK_BOX(box), content);
  return box;
}

}  // namespace quorvid::desk
