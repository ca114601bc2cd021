#include "apps/desk/positions/PositionsPane.h"

namespace quorvid::desk {

namespace {

std::string timeOfDay() {
  GDateTime* const now = g_date_time_new_now_local();
  std::string text = taken(g_date_time_format(now, "%X"));
  g_date_time_unref(now);
  return text;
}

}  // namespace

PositionsPane::PositionsPane(Desk& desk)
    : desk_(desk),
      table_(ui_.get<GtkScrolledWindow>("table")),
      poller_([this](const auto& records) { take(records); },
              [this](QueryOutcome outcome) { tellTrouble(outcome); }) {
  desk_.serverChanged.add([this] { serverChanged(); });
  on<void(GtkWidget*)>(widget(), "map", [this](auto) {
    watchWindow();
    decide();
  });
  on<void(GtkWidget*)>(widget(), "unmap", [this](auto) { poller_.stop(); });
}

QueryTarget PositionsPane::target() const {
  const Server& server = *desk_.server();
  return {server.host, server.listPort, server.account, desk_.password()};
}

void PositionsPane::watchWindow() {
  GtkNative* const native = gtk_widget_get_native(widget());
  GdkSurface* const surface = native == nullptr ? nullptr : gtk_native_get_surface(native);
  if (surface == nullptr || surface == surface_) return;
  surface_ = surface;
  on<void(GdkSurface*, GParamSpec*)>(surface, "notify::state", [this](auto, auto) { decide(); });
}

// To be asked while the pane is mapped: its window has its surface then.
bool PositionsPane::isMinimized() const {
  if (surface_ == nullptr || GDK_IS_TOPLEVEL(surface_) == 0) return false;
  return (gdk_toplevel_get_state(GDK_TOPLEVEL(surface_)) & GDK_TOPLEVEL_STATE_MINIMIZED) != 0;
}

void PositionsPane::serverChanged() {
  poller_.stop();
  table_.clear();
  lastPoll_.clear();
  decide();
}

void PositionsPane::decide() {
  if (!desk_.server()) return;
  if (desk_.server()->listPort == 0) {
    return showStatus(tr("No Positions"),
                      tr("For this server no port of the device list is set; positions come from "
                         "there, too."));
  }
  if (gtk_widget_get_mapped(widget()) == 0 || isMinimized()) return poller_.stop();
  if (table_.isEmpty()) gtk_stack_set_visible_child_name(ui_.get<GtkStack>("pane"), "loading");
  poller_.start(target());
}

void PositionsPane::take(const std::vector<DevInfoItem>& records) {
  table_.show(records);
  lastPoll_ =
      trf("Last answer at {}, {}", timeOfDay(), trn("{} device", "{} devices", records.size()));
  gtk_label_set_label(ui_.get<GtkLabel>("line"), lastPoll_.c_str());
  gtk_stack_set_visible_child_name(ui_.get<GtkStack>("pane"), "table");
}

// What was there stays, with its time.
void PositionsPane::tellTrouble(QueryOutcome outcome) {
  const std::string sentence = sentenceOf(outcome, target());
  if (table_.isEmpty()) {
    const std::string more = tr("It is asked again every few seconds.");
    return showStatus(headlineOf(outcome), sentence + " " + more);
  }
  gtk_label_set_label(ui_.get<GtkLabel>("line"), (lastPoll_ + ". " + sentence).c_str());
}

void PositionsPane::showStatus(const std::string& headline, const std::string& sentence) {
  auto* const status = ui_.get<AdwStatusPage>("status");
  adw_status_page_set_title(status, headline.c_str());
  adw_status_page_set_description(status,
                                  taken(g_markup_escape_text(sentence.c_str(), -1)).c_str());
  gtk_stack_set_visible_child_name(ui_.get<GtkStack>("pane"), "status");
}

}  // namespace quorvid::desk
