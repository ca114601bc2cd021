#include "apps/desk/devices/ServerDialog.h"

namespace quorvid::desk {

namespace {

struct Place {
  const char* id;
  ServerField field;
};
constexpr Place kEntries[] = {
    {"name", ServerField::None},          {"host", ServerField::Host},
    {"list_port", ServerField::ListPort}, {"video_port", ServerField::VideoPort},
    {"account", ServerField::Account},    {"password", ServerField::Password}};

}  // namespace

ServerDialog::ServerDialog(GtkWindow* parent, const char* title, const ServerEntry& entry,
                           std::function<void(const ServerEntry&)> accepted)
    : accepted_(std::move(accepted)) {
  gtk_window_set_transient_for(window(), parent);
  gtk_window_set_title(window(), title);
  fill(entry);
  for (const Place& place : kEntries) {
    on<void(GtkEditable*)>(ui_.get(place.id), "changed", [this](auto) { check(); });
  }
  on<void(AdwComboRow*, GParamSpec*)>(ui_.get("path"), "notify::selected",
                                      [this](auto, auto) { check(); });
  on<void(GtkButton*)>(ui_.get("save"), "clicked", [this](auto) { accept(); });
  on<void(GtkButton*)>(ui_.get("cancel"), "clicked", [this](auto) { gtk_window_close(window()); });
  dropFocusAtEnd(window());
  check();
  gtk_window_present(window());
  gtk_widget_grab_focus(ui_.get("name"));
}

ServerDialog::~ServerDialog() {
  gtk_window_destroy(window());
}

std::string ServerDialog::text(const char* id) const {
  return gtk_editable_get_text(GTK_EDITABLE(ui_.get(id)));
}

void ServerDialog::setText(const char* id, const std::string& text) {
  gtk_editable_set_text(GTK_EDITABLE(ui_.get(id)), text.c_str());
}

void ServerDialog::fill(const ServerEntry& entry) {
  setText("name", entry.name);
  setText("host", entry.host);
  setText("list_port", entry.listPort);
  setText("video_port", entry.videoPort);
  setText("account", entry.account);
  adw_combo_row_set_selected(ui_.get<AdwComboRow>("path"), static_cast<guint>(entry.path));
  gtk_spin_button_set_value(ui_.get<GtkSpinButton>("cameras"), entry.cameras);
}

ServerEntry ServerDialog::entry() const {
  ServerEntry entry;
  entry.name = text("name");
  entry.host = text("host");
  entry.listPort = text("list_port");
  entry.videoPort = text("video_port");
  entry.path = static_cast<LivePath>(adw_combo_row_get_selected(ui_.get<AdwComboRow>("path")));
  entry.account = text("account");
  entry.password = text("password");
  entry.cameras = gtk_spin_button_get_value_as_int(ui_.get<GtkSpinButton>("cameras"));
  return entry;
}

void ServerDialog::check() {
  const ServerTrouble trouble = troubleWith(entry());
  for (const Place& place : kEntries) {
    GtkWidget* const row = ui_.get(place.id);
    // An entry that was not yet filled is no mistake.
    const bool isWrong = trouble.field == place.field && trouble.field != ServerField::None &&
                         !text(place.id).empty();
    isWrong ? gtk_widget_add_css_class(row, "error") : gtk_widget_remove_css_class(row, "error");
  }
  gtk_label_set_label(ui_.get<GtkLabel>("trouble"), trouble.sentence.c_str());
  gtk_widget_set_sensitive(ui_.get("save"), trouble.sentence.empty() ? TRUE : FALSE);
}

void ServerDialog::accept() {
  const ServerEntry given = entry();
  if (!troubleWith(given).sentence.empty()) return;
  // Last: it may end this dialog.
  const auto accepted = std::exchange(accepted_, nullptr);
  gtk_window_close(window());
  if (accepted) accepted(given);
}

}  // namespace quorvid::desk
