// TileBox: a tile's own widget. The keyboard comes to it before it comes to what is in it; a GtkBox
// that can have the keyboard hands it on to its children. Main thread.
#pragma once

#include <gtk/gtk.h>

namespace quorvid::desk {

// New, floating, with that content.
GtkWidget* makeTileBox(GtkWidget* content);

}  // namespace quorvid::desk
