#include "apps/desk/devices/IdentifierQuestion.h"

#include "apps/desk/devices/ServerCheck.h"

namespace quorvid::desk {

void askForIdentifier(GtkWindow* parent, LivePath path,
                      std::function<void(const std::string& id)> added) {
  GtkWidget* const widget = adw_message_dialog_new(
      parent, tr("Add by Identifier"),
      tr("The device's identifier as the server knows it; capitals matter. It is remembered."));
  auto* const dialog = ADW_MESSAGE_DIALOG(widget);
  adw_message_dialog_add_responses(dialog, "cancel", tr("_Cancel"), "add", tr("_Add"), nullptr);
  adw_message_dialog_set_response_appearance(dialog, "add", ADW_RESPONSE_SUGGESTED);
  adw_message_dialog_set_default_response(dialog, "add");
  adw_message_dialog_set_close_response(dialog, "cancel");
  adw_message_dialog_set_response_enabled(dialog, "add", FALSE);

  GtkWidget* const entry = adw_entry_row_new();
  adw_preferences_row_set_title(ADW_PREFERENCES_ROW(entry), tr("Identifier"));
  adw_entry_row_set_activates_default(ADW_ENTRY_ROW(entry), TRUE);
  GtkWidget* const list = gtk_list_box_new();
  gtk_list_box_set_selection_mode(GTK_LIST_BOX(list), GTK_SELECTION_NONE);
  gtk_widget_add_css_class(list, "boxed-list");
  gtk_list_box_append(GTK_LIST_BOX(list), entry);
  GtkWidget* const trouble = gtk_label_new(nullptr);
  gtk_label_set_wrap(GTK_LABEL(trouble), TRUE);
  GtkWidget* const box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
  gtk_box_append(GTK_BOX(box), list);
  gtk_box_append(GTK_BOX(box), trouble);
  adw_message_dialog_set_extra_child(dialog, box);

  // The entry may have gone when the answer comes.
  const auto id = std::make_shared<std::string>();
  on<void(GtkEditable*)>(entry, "changed", [=](GtkEditable* editable) {
    *id = gtk_editable_get_text(editable);
    const std::string why = troubleWithDevice(path, *id);
    gtk_label_set_label(GTK_LABEL(trouble), id->empty() ? "" : why.c_str());
    adw_message_dialog_set_response_enabled(dialog, "add", why.empty() ? TRUE : FALSE);
  });
  on<void(AdwMessageDialog*, const char*)>(
      dialog, "response", [id, added = std::move(added)](auto, const char* response) {
        if (std::string(response) == "add") added(*id);
      });
  gtk_window_present(GTK_WINDOW(widget));
  gtk_widget_grab_focus(entry);
}

}  // namespace quorvid::desk
