#include "apps/desk/Application.h"

#include <glib-unix.h>

#include <charconv>
#include <csignal>
#include <cstdio>
#include <filesystem>

#include "apps/desk/MainWindow.h"
#include "apps/desk/model/Settings.h"
#include "apps/desk/toolkit/Locale.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid::desk {

namespace {

constexpr const char* kShortcuts[][3] = {
    {"win.search", "<Control>f", nullptr},
    {"win.refresh", "<Control>r", "F5"},
    {"win.add-server", "<Control>n", nullptr},
    {"win.add-device", "<Control>d", nullptr},
    {"win.page('wall')", "<Alt>1", nullptr},
    {"win.page('positions')", "<Alt>2", nullptr},
    {"win.page('recordings')", "<Alt>3", nullptr},
    {"win.page('diagnosis')", "<Alt>4", nullptr},
    {"win.columns(1)", "<Control>1", nullptr},
    {"win.columns(2)", "<Control>2", nullptr},
    {"win.columns(3)", "<Control>3", nullptr},
    {"win.columns(4)", "<Control>4", nullptr},
    {"win.record-all", "<Control><Shift>r", nullptr},
    {"win.snapshot-all", "<Control><Shift>s", nullptr},
    {"win.fullscreen", "F11", nullptr},
    {"win.preferences", "<Control>comma", nullptr},
    {"win.keys", "<Control>question", "F1"},
    {"window.close", "<Control>w", "<Control>q"},
};

std::string textOption(GVariantDict* options, const char* name) {
  const char* text = nullptr;
  g_variant_dict_lookup(options, name, "&s", &text);
  return text == nullptr ? "" : text;
}

bool readPageSeconds(const std::string& text, int& seconds) {
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, seconds);
  return read.ec == std::errc() && read.ptr == end && seconds >= 1 && seconds <= 86400;
}

// Without a graphics processor, drawing windows with OpenGL costs several times what drawing them
// with the processor does; pictures are drawn with OpenGL in either case. And only EGL's contexts
// take them without a copy. What the user has set holds.
void chooseRenderer() {
  g_setenv("GDK_DEBUG", "gl-egl", FALSE);
  std::error_code error;
  bool hasProcessor = false;
  for (const auto& device : std::filesystem::directory_iterator("/dev/dri", error)) {
    hasProcessor = hasProcessor || device.path().filename().string().starts_with("renderD");
  }
  if (!hasProcessor) g_setenv("GSK_RENDERER", "cairo", FALSE);
}

}  // namespace

Application::Application() {
  chooseRenderer();
  useLanguage();
  // Standard output is for the figures.
  SilenceConnectionPrinter();
  app_.reset(adw_application_new(kAppId, G_APPLICATION_NON_UNIQUE));
  g_set_application_name(tr("Vehicle Cameras"));
  addOptions();
  const auto takes = [this](GApplication*, GVariantDict* options) { return takeOptions(options); };
  on<gint(GApplication*, GVariantDict*)>(app_.get(), "handle-local-options", takes);
  on<void(GApplication*)>(app_.get(), "activate", [this](auto) { activate(); });
}

Application::~Application() = default;

void Application::addOptions() {
  const auto add = [this](const char* name, GOptionArg kind, const char* what, const char* value) {
    g_application_add_main_option(G_APPLICATION(app_.get()), name, 0, G_OPTION_FLAG_NONE, kind,
                                  what, value);
  };
  add("kiosk", G_OPTION_ARG_STRING, tr("Show this layout on the full screen"), "LAYOUT");
  // As a text: of numbers, GApplication hands on none that is 0.
  add("page-seconds", G_OPTION_ARG_STRING, tr("Turn a kiosk's page so often (15)"), "S");
  add("stats", G_OPTION_ARG_NONE, tr("Print figures each second, as a line of JSON"), nullptr);
  add("settings", G_OPTION_ARG_FILENAME, tr("Keep settings in this file"), "FILE");
  add("simulator", G_OPTION_ARG_STRING, tr("Further options of the bundled simulator"), "OPTIONS");
  add("version", G_OPTION_ARG_NONE, tr("Print the version and exit"), nullptr);
}

// -1: go on; else the exit status.
int Application::takeOptions(GVariantDict* options) {
  if (g_variant_dict_contains(options, "version") != 0) {
    std::printf("quorvid-desk %s\n", QUORVID_DESK_VERSION);
    return 0;
  }
  options_.kiosk = textOption(options, "kiosk");
  options_.simulator = textOption(options, "simulator");
  const char* file = nullptr;
  g_variant_dict_lookup(options, "settings", "^&ay", &file);
  if (file != nullptr) options_.settings = file;
  if (g_file_test(options_.settings.c_str(), G_FILE_TEST_IS_DIR) != 0) {
    std::fprintf(stderr, "quorvid-desk: --settings is a file; %s is a folder\n", file);
    return 2;
  }
  if (g_variant_dict_contains(options, "page-seconds") != 0 &&
      !readPageSeconds(textOption(options, "page-seconds"), options_.pageSeconds)) {
    std::fprintf(stderr, "quorvid-desk: --page-seconds is a number from 1 to 86400\n");
    return 2;
  }
  options_.stats = g_variant_dict_contains(options, "stats") != 0;
  return -1;
}

void Application::activate() {
  if (window_ != nullptr) return window_->present();
  GtkIconTheme* const icons = gtk_icon_theme_get_for_display(gdk_display_get_default());
  gtk_icon_theme_add_resource_path(icons, (std::string(kResources) + "icons").c_str());
  const ObjectPtr<GtkCssProvider> style(gtk_css_provider_new());
  gtk_css_provider_load_from_resource(style.get(), (std::string(kResources) + "style.css").c_str());
  gtk_style_context_add_provider_for_display(gdk_display_get_default(),
                                             GTK_STYLE_PROVIDER(style.get()),
                                             GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  for (const auto& [action, first, second] : kShortcuts) {
    const char* const keys[] = {first, second, nullptr};
    gtk_application_set_accels_for_action(GTK_APPLICATION(app_.get()), action, keys);
  }
  settings_ = std::make_unique<Settings>(options_.settings);
  window_ = std::make_unique<MainWindow>(GTK_APPLICATION(app_.get()), *settings_, options_);
  window_->present();
}

int Application::run(int argc, char** argv) {
  // A signal ends it as closing its window does, but asks nobody: recordings are finished.
  const auto quit = [](gpointer app) -> gboolean {
    g_application_quit(G_APPLICATION(app));
    return G_SOURCE_CONTINUE;
  };
  const Source interrupt(g_unix_signal_add(SIGINT, quit, app_.get()));
  const Source terminate(g_unix_signal_add(SIGTERM, quit, app_.get()));
  const int status = g_application_run(G_APPLICATION(app_.get()), argc, argv);
  window_.reset();
  return status;
}

}  // namespace quorvid::desk
