#include "apps/desk/recording/OpenFile.h"

#include <memory>
#include <utility>

#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

namespace {

struct Opening {
  std::string path;
  std::weak_ptr<int> life;
  OpenFailed failed;
};
using OpeningPtr = std::unique_ptr<Opening>;

std::string uriOf(const std::string& path) {
  return taken(g_filename_to_uri(path.c_str(), nullptr, nullptr));
}

void launched(GObject*, GAsyncResult* result, gpointer data) {
  const OpeningPtr opening(static_cast<Opening*>(data));
  GError* failed = nullptr;
  if (g_app_info_launch_default_for_uri_finish(result, &failed) != 0) return;
  const ErrorPtr error(failed);
  if (!opening->life.expired()) {
    opening->failed(trf("{} can't be opened: {}", opening->path, error->message));
  }
}

void launch(OpeningPtr opening) {
  const std::string uri = uriOf(opening->path);
  GdkDisplay* const display = gdk_display_get_default();
  const ObjectPtr<GdkAppLaunchContext> context(gdk_display_get_app_launch_context(display));
  g_app_info_launch_default_for_uri_async(uri.c_str(), G_APP_LAUNCH_CONTEXT(context.get()), nullptr,
                                          &launched, opening.release());
}

void shown(GObject* bus, GAsyncResult* result, gpointer data) {
  OpeningPtr opening(static_cast<Opening*>(data));
  GVariant* const answer =
      g_dbus_connection_call_finish(reinterpret_cast<GDBusConnection*>(bus), result, nullptr);
  if (answer != nullptr) return g_variant_unref(answer);
  opening->path = taken(g_path_get_dirname(opening->path.c_str()));
  launch(std::move(opening));
}

void connected(GObject*, GAsyncResult* result, gpointer data) {
  OpeningPtr opening(static_cast<Opening*>(data));
  const ObjectPtr<GDBusConnection> bus(g_bus_get_finish(result, nullptr));
  if (bus == nullptr) {
    opening->path = taken(g_path_get_dirname(opening->path.c_str()));
    return launch(std::move(opening));
  }
  const std::string uri = uriOf(opening->path);
  const char* const uris[] = {uri.c_str(), nullptr};
  g_dbus_connection_call(bus.get(), "org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                         "org.freedesktop.FileManager1", "ShowItems",
                         g_variant_new("(^ass)", uris, ""), nullptr, G_DBUS_CALL_FLAGS_NONE, -1,
                         nullptr, &shown, opening.release());
}

}  // namespace

void openFile(const std::string& path, const Life& life, OpenFailed failed) {
  launch(std::make_unique<Opening>(Opening{path, life.token(), std::move(failed)}));
}

void showInFolder(const std::string& path, const Life& life, OpenFailed failed) {
  auto opening = std::make_unique<Opening>(Opening{path, life.token(), std::move(failed)});
  g_bus_get(G_BUS_TYPE_SESSION, nullptr, &connected, opening.release());
}

}  // namespace quorvid::desk
