// FrameMeter: how evenly the main thread's turns come: the frame clock's ticks of a window, counted
// while the window is shown. Main thread. It keeps the frame clock running, so only for --stats.
#pragma once

#include <algorithm>

#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class FrameMeter {
 public:
  // Until the widget goes.
  void watch(GtkWidget* widget) {
    const auto tick = [](GtkWidget*, GdkFrameClock*, gpointer data) -> gboolean {
      static_cast<FrameMeter*>(data)->take(g_get_monotonic_time());
      return G_SOURCE_CONTINUE;
    };
    gtk_widget_add_tick_callback(widget, tick, this, nullptr);
  }
  // Nothing is counted until the next tick: the window was not shown.
  void pause() { last_ = 0; }
  // Milliseconds between two ticks, at most, since the last call.
  double takeLongest() { return static_cast<double>(std::exchange(longest_, 0)) / 1000; }

 private:
  void take(gint64 now) {
    if (last_ != 0) longest_ = std::max(longest_, now - last_);
    last_ = now;
  }
  gint64 last_ = 0;
  gint64 longest_ = 0;
};

}  // namespace quorvid::desk
