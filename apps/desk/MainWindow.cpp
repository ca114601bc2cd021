#include "apps/desk/MainWindow.h"

namespace quorvid::desk {

namespace {

std::vector<std::string> wordsOf(const std::string& text) {
  std::vector<std::string> words;
  char** parsed = nullptr;
  if (!text.empty() && g_shell_parse_argv(text.c_str(), nullptr, &parsed, nullptr) != 0) {
    for (char** word = parsed; *word != nullptr; ++word) words.emplace_back(*word);
    g_strfreev(parsed);
  }
  return words;
}

}  // namespace

MainWindow::MainWindow(GtkApplication* app, Settings& settings, const StartOptions& options)
    : desk_(settings),
      simulator_(wordsOf(options.simulator)),
      chooser_(desk_, simulator_),
      recordings_(desk_),
      welcome_(chooser_),
      devices_(desk_),
      wall_(desk_, recordings_),
      positions_(desk_),
      files_(desk_, recordings_),
      diagnosis_(desk_) {
  gtk_window_set_application(window(), app);
  chooser_.setWindow(window());
  const auto put = [this](const char* place, GtkWidget* pane) {
    adw_bin_set_child(ui_.get<AdwBin>(place), pane);
  };
  put("welcome", welcome_.widget());
  put("devices", devices_.widget());
  put("wall", wall_.widget());
  put("layouts", wall_.layoutButton());
  put("positions", positions_.widget());
  put("recordings", files_.widget());
  put("diagnosis", diagnosis_.widget());
  adw_header_bar_set_title_widget(ui_.get<AdwHeaderBar>("sidebar_header"), chooser_.widget());

  addActions();
  desk_.serverChanged.add([this] { showServer(); });
  desk_.said.add([this](const std::string& sentence) { say(sentence); });
  desk_.cameraWanted.add([this](const Camera&) { showPage("wall"); });
  desk_.deviceWanted.add([this](const Device&) { showPage("wall"); });
  desk_.diagnosisWanted.add([this](const Camera&) { showPage("diagnosis"); });
  on<gboolean(GtkWindow*)>(window(), "close-request", [this](auto) { return askBeforeClosing(); });
  if (!settings.trouble().empty()) say(settings.trouble());
  showServer();
  chooser_.useLast();
}

MainWindow::~MainWindow() {
  recordings_.endAll();
  gtk_window_destroy(window());
}

void MainWindow::present() {
  gtk_window_present(window());
}

void MainWindow::addAction(const char* name, std::function<void()> call) {
  const ObjectPtr<GSimpleAction> action(g_simple_action_new(name, nullptr));
  on<void(GSimpleAction*, GVariant*)>(action.get(), "activate",
                                      [call = std::move(call)](auto, auto) { call(); });
  g_action_map_add_action(G_ACTION_MAP(window()), G_ACTION(action.get()));
}

void MainWindow::addActions() {
  addAction("search", [this] { devices_.search(); });
  addAction("refresh", [this] { devices_.refresh(); });
  addAction("add-server", [this] { chooser_.add(); });
  addAction("fullscreen", [this] {
    gtk_window_is_fullscreen(window()) != 0 ? gtk_window_unfullscreen(window())
                                            : gtk_window_fullscreen(window());
  });
}

void MainWindow::showPage(const std::string& name) {
  adw_view_stack_set_visible_child_name(ui_.get<AdwViewStack>("stack"), name.c_str());
  adw_leaflet_set_visible_child_name(ui_.get<AdwLeaflet>("leaflet"), "content");
}

void MainWindow::showServer() {
  gtk_stack_set_visible_child_name(ui_.get<GtkStack>("outer"), desk_.server() ? "main" : "welcome");
}

void MainWindow::say(const std::string& sentence) {
  AdwToast* const toast = adw_toast_new(taken(g_markup_escape_text(sentence.c_str(), -1)).c_str());
  adw_toast_overlay_add_toast(ui_.get<AdwToastOverlay>("toasts"), toast);
}

// TRUE keeps the window.
bool MainWindow::askBeforeClosing() {
  return false;
}

}  // namespace quorvid::desk
