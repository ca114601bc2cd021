#include "apps/desk/MainWindow.h"

#include <cstdio>

#include "apps/desk/About.h"

namespace quorvid::desk {

namespace {

double secondsSince(gint64 time) {
  return static_cast<double>(g_get_monotonic_time() - time) / 1e6;
}

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
    : started_(options.started),
      desk_(settings),
      simulator_(wordsOf(options.simulator)),
      chooser_(desk_, simulator_),
      recordings_(desk_),
      welcome_(chooser_),
      devices_(desk_),
      wall_(desk_, recordings_),
      positions_(desk_),
      files_(desk_, recordings_),
      preferences_(desk_, recordings_),
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
  followWidth();
  desk_.serverChanged.add([this] { showServer(); });
  desk_.said.add([this](const std::string& sentence) { say(sentence); });
  desk_.cameraWanted.add([this](const Camera&) { showPage("wall"); });
  desk_.deviceWanted.add([this](const Device&) { showPage("wall"); });
  desk_.diagnosisWanted.add([this](const Camera&) { showPage("diagnosis"); });
  on<gboolean(GtkWindow*)>(window(), "close-request", [this](auto) { return askBeforeClosing(); });
  if (!settings.trouble().empty()) say(settings.trouble());
  showServer();
  if (options.stats) beginStats();
  recordings_.changed.add([this] { keepAwake(); });
  if (!options.kiosk.empty()) beginKiosk(options);
  chooser_.useLast();
}

MainWindow::~MainWindow() {
  // The application has shut down, and let the session sleep; it can't be asked any more.
  inhibition_ = 0;
  recordings_.endAll();
  gtk_window_destroy(window());
}

void MainWindow::present() {
  gtk_window_present(window());
}

// Where panes stand one at a time there is a way back, and the wall is one camera wide.
void MainWindow::followWidth() {
  AdwLeaflet* const leaflet = ui_.get<AdwLeaflet>("leaflet");
  const auto follow = [this, leaflet](auto...) {
    const bool folded = adw_leaflet_get_folded(leaflet) != 0;
    gtk_widget_set_visible(ui_.get("back"), folded ? TRUE : FALSE);
    adw_header_bar_set_show_start_title_buttons(ui_.get<AdwHeaderBar>("header"), folded);
    adw_header_bar_set_show_end_title_buttons(ui_.get<AdwHeaderBar>("sidebar_header"), folded);
    folded ? gtk_widget_add_css_class(GTK_WIDGET(window()), "folded")
           : gtk_widget_remove_css_class(GTK_WIDGET(window()), "folded");
    // The toolkit's list of keys is wider than a phone, which has none.
    GAction* const keys = g_action_map_lookup_action(G_ACTION_MAP(window()), "keys");
    if (keys != nullptr) g_simple_action_set_enabled(G_SIMPLE_ACTION(keys), !folded);
    wall_.setNarrow(folded && !isKiosk_);
  };
  on<void(AdwLeaflet*, GParamSpec*)>(leaflet, "notify::folded", follow);
  on<void(GtkButton*)>(ui_.get("back"), "clicked", [leaflet](auto) {
    adw_leaflet_navigate(leaflet, ADW_NAVIGATION_DIRECTION_BACK);
  });
  follow();
}

void MainWindow::addAction(const char* name, std::function<void()> call) {
  addAction(name, nullptr, [call = std::move(call)](GVariant*) { call(); });
}

void MainWindow::addAction(const char* name, const GVariantType* type,
                           std::function<void(GVariant*)> call) {
  const ObjectPtr<GSimpleAction> action(g_simple_action_new(name, type));
  on<void(GSimpleAction*, GVariant*)>(
      action.get(), "activate", [call = std::move(call)](auto, GVariant* value) { call(value); });
  g_action_map_add_action(G_ACTION_MAP(window()), G_ACTION(action.get()));
}

void MainWindow::addActions() {
  addAction("search", [this] { devices_.search(); });
  addAction("refresh", [this] { devices_.refresh(); });
  addAction("add-server", [this] { chooser_.add(); });
  addAction("record-all", [this] { wall_.recordAll(); });
  addAction("snapshot-all", [this] { wall_.snapshotAll(); });
  addAction("page", G_VARIANT_TYPE_STRING,
            [this](GVariant* name) { showPage(g_variant_get_string(name, nullptr)); });
  addAction("columns", G_VARIANT_TYPE_INT32,
            [this](GVariant* columns) { wall_.setColumns(g_variant_get_int32(columns)); });
  addAction("add-device", [this] { devices_.addTyped(); });
  addAction("preferences", [this] { preferences_.present(window()); });
  addAction("keys", [this] { showKeys(window()); });
  addAction("about", [this] { showAbout(window()); });
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

void MainWindow::say(const std::string& sentence, bool isForGood) {
  AdwToast* const toast = adw_toast_new("");
  GtkWidget* const words = gtk_label_new(sentence.c_str());
  gtk_label_set_wrap(GTK_LABEL(words), TRUE);
  gtk_label_set_wrap_mode(GTK_LABEL(words), PANGO_WRAP_WORD_CHAR);
  gtk_label_set_xalign(GTK_LABEL(words), 0);
  adw_toast_set_custom_title(toast, words);
  if (isForGood) adw_toast_set_timeout(toast, 0);
  adw_toast_overlay_add_toast(ui_.get<AdwToastOverlay>("toasts"), toast);
}

// True keeps the window.
bool MainWindow::askBeforeClosing() {
  const std::size_t count = recordings_.all().size();
  if (count == 0 || mayClose_) return false;
  GtkWidget* const question = adw_message_dialog_new(
      window(), trn("{} Recording Is Under Way", "{} Recordings Are Under Way", count).c_str(),
      tr("Closing the window ends it; what was recorded stays."));
  AdwMessageDialog* const dialog = ADW_MESSAGE_DIALOG(question);
  adw_message_dialog_add_responses(dialog, "stay", tr("_Go on Recording"), "close",
                                   tr("_End and Close"), nullptr);
  adw_message_dialog_set_response_appearance(dialog, "close", ADW_RESPONSE_DESTRUCTIVE);
  adw_message_dialog_set_default_response(dialog, "stay");
  adw_message_dialog_set_close_response(dialog, "stay");
  on<void(AdwMessageDialog*, const char*)>(dialog, "response", [this](auto, const char* response) {
    mayClose_ = std::string(response) == "close";
    if (mayClose_) gtk_window_close(window());
  });
  gtk_window_present(GTK_WINDOW(question));
  return true;
}

// The computer doesn't go to sleep over a recording; the screen may, but for a kiosk's.
void MainWindow::keepAwake() {
  GtkApplication* const app = gtk_window_get_application(window());
  const bool records = !recordings_.all().empty();
  if (records && inhibition_ == 0) {
    inhibition_ = gtk_application_inhibit(app, window(), GTK_APPLICATION_INHIBIT_SUSPEND,
                                          tr("Cameras are recorded"));
  } else if (!records && inhibition_ != 0 && !isKiosk_) {
    gtk_application_uninhibit(app, std::exchange(inhibition_, 0));
  }
}

// The wall alone. It stands whatever the server does: each view tries again by itself, and the
// layout is taken when there is a server, which may be later than the start.
void MainWindow::beginKiosk(const StartOptions& options) {
  isKiosk_ = true;
  const int kept = GTK_APPLICATION_INHIBIT_IDLE | GTK_APPLICATION_INHIBIT_SUSPEND;
  inhibition_ = gtk_application_inhibit(gtk_window_get_application(window()), window(),
                                        static_cast<GtkApplicationInhibitFlags>(kept),
                                        tr("A wall of cameras is shown"));
  adw_leaflet_set_can_unfold(ui_.get<AdwLeaflet>("leaflet"), FALSE);
  showPage("wall");
  gtk_widget_set_visible(ui_.get("header"), FALSE);
  gtk_widget_set_visible(ui_.get("switcher_bar"), FALSE);
  adw_leaflet_set_can_navigate_back(ui_.get<AdwLeaflet>("leaflet"), FALSE);
  const ObjectPtr<GdkCursor> none(gdk_cursor_new_from_name("none", nullptr));
  gtk_widget_set_cursor(GTK_WIDGET(window()), none.get());
  gtk_widget_add_css_class(GTK_WIDGET(window()), "kiosk");
  gtk_window_fullscreen(window());
  desk_.serverChanged.add([this, options] {
    if (!desk_.server() || wall_.beginKiosk(options.kiosk, options.pageSeconds)) return;
    // Whoever passes by later reads it, too.
    say(trf("There is no layout called {} for this server", options.kiosk), true);
  });
}

void MainWindow::beginStats() {
  meter_.watch(GTK_WIDGET(window()));
  desk_.devicesChanged.add([this] {
    if (listShown_ < 0 && !desk_.devices().empty()) listShown_ = secondsSince(started_);
  });
  stats_ = Source::every(1000, [this] { printStats(); });
}

void MainWindow::printStats() {
  if (gtk_widget_get_mapped(GTK_WIDGET(window())) == 0) meter_.pause();
  std::printf("{\"seconds\":%.3f,\"list_shown\":%.3f,\"longest_gap_ms\":%.1f,%s}\n",
              secondsSince(started_), listShown_, meter_.takeLongest(), wall_.figures().c_str());
  std::fflush(stdout);
}

}  // namespace quorvid::desk
