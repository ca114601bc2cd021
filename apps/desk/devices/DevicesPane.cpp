#include "apps/desk/devices/DevicesPane.h"

#include <algorithm>

#include "apps/desk/devices/DeviceDetails.h"
#include "apps/desk/devices/IdentifierQuestion.h"
#include "apps/desk/devices/RecordText.h"

namespace quorvid::desk {

DevicesPane::DevicesPane(Desk& desk)
    : desk_(desk),
      list_(desk, ui_.get<GtkListBox>("list"),
            {[this](const Device& device) { showDetails(window(), device); },
             [this](const Device& device) { removeTyped(device.id); }}) {
  desk_.serverChanged.add([this] { serverChanged(); });
  on<void(GtkButton*)>(ui_.get("again"), "clicked", [this](auto) { refresh(); });
  on<void(GtkButton*)>(ui_.get("warning_again"), "clicked", [this](auto) { refresh(); });
  on<void(GtkSearchEntry*)>(ui_.get("search"), "search-changed", [this](GtkSearchEntry* entry) {
    list_.search(gtk_editable_get_text(GTK_EDITABLE(entry)));
  });
  on<void(GtkSearchEntry*)>(ui_.get("search"), "stop-search", [](GtkSearchEntry* entry) {
    gtk_editable_set_text(GTK_EDITABLE(entry), "");
  });
  on<void(GtkWidget*)>(widget(), "map", [this](auto) { watchLeaflet(); });
}

// Where the panes stand one at a time.
void DevicesPane::watchLeaflet() {
  if (leaflet_ != nullptr) return;
  GtkWidget* const found = gtk_widget_get_ancestor(widget(), ADW_TYPE_LEAFLET);
  if (found == nullptr) return;
  leaflet_ = ADW_LEAFLET(found);
  const auto follow = [this](auto...) { list_.setNarrow(adw_leaflet_get_folded(leaflet_) != 0); };
  on<void(AdwLeaflet*, GParamSpec*)>(leaflet_, "notify::folded", follow);
  follow();
}

void DevicesPane::serverChanged() {
  records_.clear();
  list_.clear();
  gtk_editable_set_text(GTK_EDITABLE(ui_.get("search")), "");
  refresh();
}

void DevicesPane::refresh() {
  life_.reset();
  setLoading(false);
  if (!desk_.server()) return;
  const Server& server = *desk_.server();
  target_ = {server.host, server.listPort, server.account, desk_.password()};
  if (server.listPort == 0) return take({});
  if (records_.empty()) showPage("loading");
  setLoading(true);
  const auto done = [this](QueryAnswer answer) { take(std::move(answer)); };
  if (!runTask(
          life_, [target = target_] { return askForDevices(target); }, done)) {
    take({QueryOutcome::Unreachable, {}});
  }
}

// Records of a former answer stay where a newer one has none.
void DevicesPane::take(QueryAnswer answer) {
  setLoading(false);
  outcome_ = answer.outcome;
  if (!answer.records.empty()) records_ = std::move(answer.records);
  show();
}

void DevicesPane::show() {
  const auto devices = devicesOf(records_, desk_.settings().typedDevices(desk_.server()->id));
  list_.show(devices);
  desk_.setDevices(devices);
  showTrouble();
  showPage(devices.empty() ? "status" : "list");
}

void DevicesPane::showTrouble() {
  const bool isListed = desk_.server()->listPort != 0;
  const std::string headline = isListed ? headlineOf(outcome_) : tr("No Device List");
  const std::string sentence =
      isListed ? sentenceOf(outcome_, target_)
               : tr("For this server no port of a device list is set. Add devices by identifier.");
  auto* const status = ui_.get<AdwStatusPage>("status");
  adw_status_page_set_title(status, headline.empty() ? tr("No Devices") : headline.c_str());
  adw_status_page_set_description(status,
                                  taken(g_markup_escape_text(sentence.c_str(), -1)).c_str());
  gtk_widget_set_visible(ui_.get("again"), isListed ? TRUE : FALSE);
  const bool hasWarning =
      isListed && outcome_ != QueryOutcome::Complete && !desk_.devices().empty();
  gtk_label_set_label(ui_.get<GtkLabel>("warning_text"), sentence.c_str());
  gtk_widget_set_visible(ui_.get("warning"), hasWarning ? TRUE : FALSE);
}

void DevicesPane::showPage(const char* name) {
  gtk_stack_set_visible_child_name(ui_.get<GtkStack>("stack"), name);
}

void DevicesPane::setLoading(bool isLoading) {
  gtk_stack_set_visible_child_name(ui_.get<GtkStack>("refresh"), isLoading ? "busy" : "button");
}

void DevicesPane::search() {
  if (leaflet_ != nullptr) adw_leaflet_set_visible_child_name(leaflet_, "devices");
  gtk_widget_grab_focus(ui_.get("search"));
}

void DevicesPane::addTyped() {
  if (!desk_.server()) return;
  askForIdentifier(window(), desk_.server()->path,
                   [this](const std::string& id) { keepTyped(id); });
}

void DevicesPane::keepTyped(const std::string& id) {
  if (!desk_.server()) return;
  const std::string& server = desk_.server()->id;
  auto typed = desk_.settings().typedDevices(server);
  if (desk_.device(id) != nullptr || std::find(typed.begin(), typed.end(), id) != typed.end()) {
    return desk_.said.tell(tr("This device is in the list already."));
  }
  typed.push_back(id);
  desk_.settings().keepTypedDevices(server, typed);
  desk_.tellTrouble();
  show();
}

void DevicesPane::removeTyped(const std::string& id) {
  if (!desk_.server()) return;
  const std::string& server = desk_.server()->id;
  auto typed = desk_.settings().typedDevices(server);
  std::erase(typed, id);
  desk_.settings().keepTypedDevices(server, typed);
  desk_.tellTrouble();
  show();
}

}  // namespace quorvid::desk
