// Four live views in a GtkGLArea of GTK 4: embed_gtk HOST PORT DEVICE [SECONDS]
//
// Shows channels 0 to 3 of the device, each with its state in a label over it. With SECONDS it ends
// by itself, with status 0 if every view showed a picture.
#include <epoxy/gl.h>
#include <glib-unix.h>
#include <gtk/gtk.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include "quorvid/live/LiveView.h"
#include "quorvid/view/ViewHost.h"

namespace {

constexpr double kGap = 4;  // points around each picture

struct Tile {
  GtkWidget* label = nullptr;
  std::shared_ptr<quorvid::LiveView> view;
  guint watch = 0;
};

struct Player {
  quorvid::LiveTarget target;
  int seconds = 0;
  GtkGLArea* area = nullptr;
  std::unique_ptr<quorvid::ViewHost> host = quorvid::ViewHost::create();
  std::array<Tile, 4> tiles;  // by channel
  guint timer = 0;
  std::size_t shown = 0;  // views that showed a picture
};

// Not while the area draws: a status handler changes a label, which GTK forbids there.
gboolean turn(gpointer data) {
  auto* player = static_cast<Player*>(data);
  if (player->timer == 0) return G_SOURCE_CONTINUE;  // no views yet, or no more
  const int width = gtk_widget_get_width(GTK_WIDGET(player->area));
  const int height = gtk_widget_get_height(GTK_WIDGET(player->area));
  const double across = (width - 3 * kGap) / 2, down = (height - 3 * kGap) / 2;
  player->host->resize(width, height, gtk_widget_get_scale_factor(GTK_WIDGET(player->area)));
  for (int channel = 0; channel < 4 && width > 0; ++channel) {
    const double x = kGap + (channel % 2) * (across + kGap);
    const double y = kGap + (channel > 1 ? down + kGap : 0);
    player->tiles[channel].view->setFrame(quorvid::CGRectMake(x, y, across, down));
  }
  player->host->refresh();
  if (player->host->needsComposite()) gtk_gl_area_queue_render(player->area);
  return G_SOURCE_CONTINUE;
}

void addView(Player* player, int channel) {
  Tile& tile = player->tiles[channel];
  tile.view = quorvid::LiveView::initWithFrame(quorvid::CGRectMake(0, 0, 320, 240));
  if (tile.view == nullptr) g_error("A live view can't be made.");
  player->host->contentView()->addSubview(tile.view);
  tile.view->setStatusHandler([label = tile.label, channel](const quorvid::LiveStatus& status) {
    char* text = g_markup_printf_escaped(
        "<span background='black' background_alpha='60%%' color='white'> Channel %d: %s%s%s "
        "</span>",
        channel, nameOf(status.state), status.sentence.empty() ? "" : ", ",
        status.sentence.c_str());
    gtk_label_set_markup(GTK_LABEL(label), text);
    g_free(text);
  });
  // Behind GTK's own drawing, which many pictures would hold up otherwise.
  tile.watch = g_unix_fd_add_full(
      GDK_PRIORITY_REDRAW + 10, tile.view->descriptor(), G_IO_IN,
      [](gint, GIOCondition, gpointer data) { return turn(data); }, player, nullptr);
  player->target.channel = channel;
  tile.view->connect(player->target);
}

// Views are made here, because they can share what they draw with a context that is current.
void realize(GtkGLArea* area, Player* player) {
  gtk_gl_area_make_current(area);
  if (gtk_gl_area_get_error(area) != nullptr) return;  // the area shows it
  player->host->useCurrentDisplay();
  for (int channel = 0; channel < 4; ++channel) addView(player, channel);
  player->timer = g_timeout_add(250, turn, player);  // a stream that went silent wakes nobody
}

void unrealize(GtkGLArea* area, Player* player) {
  gtk_gl_area_make_current(area);
  if (player->timer == 0) return;
  g_source_remove(std::exchange(player->timer, 0));
  for (Tile& tile : player->tiles) {
    g_source_remove(tile.watch);  // before the view, whose descriptor it watches
    if (tile.view->figures().shown > 0) ++player->shown;
    tile.view->removeFromSuperview();
    tile.view.reset();
  }
  player->host->release();
}

gboolean render(GtkGLArea* area, GdkGLContext*, Player* player) {
  const int scale = gtk_widget_get_scale_factor(GTK_WIDGET(area));
  const int width = scale * gtk_widget_get_width(GTK_WIDGET(area));
  const int height = scale * gtk_widget_get_height(GTK_WIDGET(area));
  glClearColor(0.1F, 0.2F, 0.35F, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  std::string why;
  if (!player->host->composite(0, 0, width, height, &why)) {
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

GtkWidget* makeTexts(Player* player) {
  GtkWidget* texts = gtk_grid_new();
  gtk_grid_set_row_homogeneous(GTK_GRID(texts), TRUE);
  gtk_grid_set_column_homogeneous(GTK_GRID(texts), TRUE);
  for (int channel = 0; channel < 4; ++channel) {
    GtkWidget* label = player->tiles[channel].label = gtk_label_new(nullptr);
    g_object_set(label, "ellipsize", PANGO_ELLIPSIZE_END, "xalign", 0.0, "yalign", 0.0, "hexpand",
                 TRUE, "vexpand", TRUE, "margin-start", 6, "margin-top", 6, nullptr);
    gtk_grid_attach(GTK_GRID(texts), label, channel % 2, channel / 2, 1, 1);
  }
  return texts;
}

void activate(GtkApplication* app, Player* player) {
  GtkWidget* window = gtk_application_window_new(app);
  gtk_window_set_default_size(GTK_WINDOW(window), 652, 492);
  GtkWidget* area = gtk_gl_area_new();
  player->area = GTK_GL_AREA(area);
  gtk_gl_area_set_auto_render(player->area, FALSE);  // a new text needs no new picture
  g_signal_connect(area, "realize", G_CALLBACK(realize), player);
  g_signal_connect(area, "unrealize", G_CALLBACK(unrealize), player);
  g_signal_connect(area, "resize", G_CALLBACK(resize), player);
  g_signal_connect(area, "render", G_CALLBACK(render), player);
  GtkWidget* overlay = gtk_overlay_new();
  gtk_overlay_set_child(GTK_OVERLAY(overlay), area);
  gtk_overlay_add_overlay(GTK_OVERLAY(overlay), makeTexts(player));
  gtk_window_set_child(GTK_WINDOW(window), overlay);
  gtk_window_present(GTK_WINDOW(window));
  const auto close = [](gpointer data) { gtk_window_close(GTK_WINDOW(data)); };
  if (player->seconds > 0) g_timeout_add_once(player->seconds * 1000U, close, window);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) return g_printerr("usage: embed_gtk HOST PORT DEVICE [SECONDS]\n"), 2;
  Player player;
  player.target.host = argv[1];
  player.target.port = std::atoi(argv[2]);
  player.target.device = argv[3];
  if (argc > 4) player.seconds = std::atoi(argv[4]);
  GtkApplication* app = gtk_application_new(nullptr, G_APPLICATION_NON_UNIQUE);
  g_signal_connect(app, "activate", G_CALLBACK(activate), &player);
  g_application_run(G_APPLICATION(app), 0, nullptr);
  g_object_unref(app);
  return player.shown == player.tiles.size() ? 0 : 1;
}
