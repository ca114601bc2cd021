// Four live views in a GtkGLArea of GTK 4: embed_gtk HOST PORT DEVICE [SECONDS]
//
// Shows channels 0 to 3 of the device, each with its state in a label over it. With SECONDS it ends
// by itself, with status 0 if every view showed a picture.
#include <epoxy/gl.h>
#include <glib-unix.h>
#include <gtk/gtk.h>

#include <array>
#include <utility>

#include "four_views.h"

namespace {

struct Player {
  Arguments arguments;
  FourViews views;
  GtkWidget* area = nullptr;
  std::array<GtkWidget*, 4> labels{};  // by channel, as `watches`
  std::array<guint, 4> watches{};
  guint timer = 0;  // 0 while there are no views
};

// Not while the area draws: a status handler changes a label, which GTK forbids there.
gboolean turn(gpointer data) {
  auto* player = static_cast<Player*>(data);
  if (player->timer == 0) return G_SOURCE_CONTINUE;
  GtkWidget* area = player->area;
  player->views.place(gtk_widget_get_width(area), gtk_widget_get_height(area),
                      gtk_widget_get_scale_factor(area));
  player->views.host->refresh();
  if (player->views.host->needsComposite()) gtk_gl_area_queue_render(GTK_GL_AREA(area));
  return G_SOURCE_CONTINUE;
}

void tellVisible(Player* player, GParamSpec*, GdkSurface* surface) {
  int unseen = GDK_TOPLEVEL_STATE_MINIMIZED;
#if GTK_CHECK_VERSION(4, 12, 0)
  unseen |= GDK_TOPLEVEL_STATE_SUSPENDED;
#endif
  const bool seen = (gdk_toplevel_get_state(GDK_TOPLEVEL(surface)) & unseen) == 0;
  player->views.host->setVisible(seen && gdk_surface_get_mapped(surface) != 0);
}

void setText(Player* player, int channel) {
  char* text = g_markup_printf_escaped(
      "<span background='black' background_alpha='60%%' color='white'> %s </span>",
      player->views.tiles[channel].text.c_str());
  gtk_label_set_markup(GTK_LABEL(player->labels[channel]), text);
  g_free(text);
}

void realize(GtkGLArea* area, Player* player) {
  gtk_gl_area_make_current(area);
  if (gtk_gl_area_get_error(area) != nullptr) return;  // the area shows it
  const auto texts = [player](int channel) { setText(player, channel); };
  if (!player->views.play(player->arguments.target, texts)) g_error("A live view can't be made.");
  // Behind GTK's own drawing, which many pictures would hold up otherwise.
  const auto wake = [](gint, GIOCondition, gpointer data) { return turn(data); };
  for (std::size_t i = 0; i < player->watches.size(); ++i) {
    const int descriptor = player->views.tiles[i].view->descriptor();
    player->watches[i] =
        g_unix_fd_add_full(GDK_PRIORITY_REDRAW + 10, descriptor, G_IO_IN, wake, player, nullptr);
  }
  player->timer = g_timeout_add(250, turn, player);  // a stream that went silent wakes nobody
  GdkSurface* surface = gtk_native_get_surface(gtk_widget_get_native(GTK_WIDGET(area)));
  g_signal_connect_swapped(surface, "notify::state", G_CALLBACK(tellVisible), player);
  g_signal_connect_swapped(surface, "notify::mapped", G_CALLBACK(tellVisible), player);
}

void unrealize(GtkGLArea* area, Player* player) {
  if (player->timer == 0) return;
  g_source_remove(std::exchange(player->timer, 0));
  for (const guint watch : player->watches) g_source_remove(watch);  // before their descriptors
  gtk_gl_area_make_current(area);
  player->views.stop();
}

gboolean render(GtkGLArea* area, GdkGLContext*, Player* player) {
  const int scale = gtk_widget_get_scale_factor(player->area);
  const int width = scale * gtk_widget_get_width(player->area);
  const int height = scale * gtk_widget_get_height(player->area);
  glClearColor(0.1F, 0.2F, 0.35F, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  std::string why;
  if (!player->views.host->composite(0, 0, width, height, &why)) {
    GError* error = g_error_new_literal(GDK_GL_ERROR, GDK_GL_ERROR_NOT_AVAILABLE, why.c_str());
    gtk_gl_area_set_error(area, error);
    g_error_free(error);
  }
  return TRUE;
}

// Comes while the area draws; until the turn the former picture is stretched.
void resize(GtkGLArea*, int, int, Player* player) {
  g_idle_add_once([](gpointer data) { turn(data); }, player);
}

void activate(GtkApplication* app, Player* player) {
  GtkWidget* window = gtk_application_window_new(app);
  gtk_window_set_default_size(GTK_WINDOW(window), 652, 492);
  GtkWidget* area = player->area = gtk_gl_area_new();
  gtk_gl_area_set_auto_render(GTK_GL_AREA(area), FALSE);  // a new text needs no new picture
  g_signal_connect(area, "realize", G_CALLBACK(realize), player);
  g_signal_connect(area, "unrealize", G_CALLBACK(unrealize), player);
  g_signal_connect(area, "resize", G_CALLBACK(resize), player);
  g_signal_connect(area, "render", G_CALLBACK(render), player);
  GtkWidget* texts = gtk_grid_new();
  g_object_set(texts, "row-homogeneous", TRUE, "column-homogeneous", TRUE, nullptr);
  for (int channel = 0; channel < 4; ++channel) {
    GtkWidget* label = player->labels[channel] = gtk_label_new(nullptr);
    g_object_set(label, "ellipsize", PANGO_ELLIPSIZE_END, "xalign", 0.0, "yalign", 0.0, "hexpand",
                 TRUE, "vexpand", TRUE, "margin-start", 6, "margin-top", 6, nullptr);
    gtk_grid_attach(GTK_GRID(texts), label, channel % 2, channel / 2, 1, 1);
  }
  GtkWidget* overlay = gtk_overlay_new();
  gtk_overlay_set_child(GTK_OVERLAY(overlay), area);
  gtk_overlay_add_overlay(GTK_OVERLAY(overlay), texts);
  gtk_window_set_child(GTK_WINDOW(window), overlay);
  gtk_window_present(GTK_WINDOW(window));
  const auto close = [](gpointer data) { gtk_window_close(GTK_WINDOW(data)); };
  const int seconds = player->arguments.seconds;
  if (seconds > 0) g_timeout_add_once(seconds * 1000U, close, window);
}

}  // namespace

int main(int argc, char** argv) {
  Player player;
  if (!parse(argc, argv, player.arguments)) return 2;
  GtkApplication* app = gtk_application_new(nullptr, G_APPLICATION_NON_UNIQUE);
  g_signal_connect(app, "activate", G_CALLBACK(activate), &player);
  g_application_run(G_APPLICATION(app), 0, nullptr);
  g_object_unref(app);
  return player.views.status();
}
