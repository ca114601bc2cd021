// What keys and fingers do on the wall.
#include <cmath>

#include "apps/desk/wall/WallPane.h"

namespace quorvid::desk {

void WallPane::addKeys() {
  GtkEventController* const keys = gtk_event_controller_key_new();
  on<gboolean(GtkEventControllerKey*, guint, guint, GdkModifierType)>(
      keys, "key-pressed", [this](auto, guint key, auto, GdkModifierType modifiers) -> gboolean {
        return takeKey(key, modifiers) || takeTileKey(key, modifiers) ? TRUE : FALSE;
      });
  gtk_widget_add_controller(ui_.get("pane"), keys);
}

// Before the tiles take the touch for themselves; what goes up or down is left to the scroller.
void WallPane::addSwipe() {
  GtkGesture* const drag = gtk_gesture_drag_new();
  gtk_gesture_single_set_touch_only(GTK_GESTURE_SINGLE(drag), TRUE);
  gtk_event_controller_set_propagation_phase(GTK_EVENT_CONTROLLER(drag), GTK_PHASE_CAPTURE);
  on<void(GtkGesture*, gdouble, gdouble)>(
      drag, "drag-update", [](GtkGesture* self, double across, double down) {
        constexpr double kSure = 24;  // points
        if (std::abs(across) < kSure || std::abs(across) < 2 * std::abs(down)) return;
        gtk_gesture_set_state(self, GTK_EVENT_SEQUENCE_CLAIMED);
      });
  on<void(GtkGesture*, gdouble, gdouble)>(
      drag, "drag-end", [this](GtkGesture* self, double across, double) {
        constexpr double kFar = 60;
        GdkEventSequence* const touch = gtk_gesture_get_last_updated_sequence(self);
        const bool isOurs =
            gtk_gesture_get_sequence_state(self, touch) == GTK_EVENT_SEQUENCE_CLAIMED;
        if (isOurs && std::abs(across) >= kFar) step(across < 0 ? 1 : -1);
      });
  gtk_widget_add_controller(ui_.get("scroller"), GTK_EVENT_CONTROLLER(drag));
}

bool WallPane::takeKey(guint key, GdkModifierType modifiers) {
  if ((modifiers & (GDK_CONTROL_MASK | GDK_ALT_MASK)) != 0) return false;
  if (key == GDK_KEY_Page_Down || key == GDK_KEY_Page_Up) {
    step(key == GDK_KEY_Page_Down ? 1 : -1);
    return true;
  }
  if (key != GDK_KEY_Escape || !shown_.enlarged) return false;
  enlarge(std::nullopt);
  return true;
}

bool WallPane::takeTileKey(guint key, GdkModifierType modifiers) {
  const int index = grid_.focused();
  Tile* const tile = grid_.tile(index);
  const int held = modifiers & gtk_accelerator_get_default_mod_mask();
  if (tile == nullptr || !tile->camera() || (held & ~GDK_SHIFT_MASK) != 0) return false;
  switch (gdk_keyval_to_lower(key)) {
    case GDK_KEY_Return:
    case GDK_KEY_KP_Enter:
      enlarge(shown_.enlarged ? std::nullopt : std::optional<int>(index));
      return true;
    case GDK_KEY_r:
      held != 0 ? tile->toggleRecording() : tile->restart();
      return true;
    case GDK_KEY_s:
      tile->snapshot();
      return true;
    case GDK_KEY_Delete:
      shown_.remove(index);
      show();
      return true;
    case GDK_KEY_Menu:
      tile->showMenu();
      return true;
    default:
      return false;
  }
}

}  // namespace quorvid::desk
