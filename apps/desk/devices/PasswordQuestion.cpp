#include "apps/desk/devices/PasswordQuestion.h"

#include "apps/desk/devices/ServerCheck.h"

namespace quorvid::desk {

namespace {

AdwMessageDialog* makeDialog(GtkWindow* parent, const Server& server, const std::string& trouble) {
  std::string body = trf("For the account {} at {}.", server.account, server.title());
  if (!trouble.empty()) body += "\n" + trouble;
  GtkWidget* const widget = adw_message_dialog_new(parent, tr("Password"), body.c_str());
  auto* const dialog = ADW_MESSAGE_DIALOG(widget);
  adw_message_dialog_add_responses(dialog, "cancel", tr("_Cancel"), "use", tr("_Log In"), nullptr);
  adw_message_dialog_set_response_appearance(dialog, "use", ADW_RESPONSE_SUGGESTED);
  adw_message_dialog_set_default_response(dialog, "use");
  adw_message_dialog_set_close_response(dialog, "cancel");
  return dialog;
}

}  // namespace

void askForPassword(GtkWindow* parent, const Server& server, const std::string& trouble,
                    bool mayBeKept, std::function<void(const GivenPassword&)> given) {
  AdwMessageDialog* const dialog = makeDialog(parent, server, trouble);
  GtkWidget* const entry = adw_password_entry_row_new();
  adw_preferences_row_set_title(ADW_PREFERENCES_ROW(entry), tr("Password"));
  adw_entry_row_set_activates_default(ADW_ENTRY_ROW(entry), TRUE);
  GtkWidget* const list = gtk_list_box_new();
  gtk_list_box_set_selection_mode(GTK_LIST_BOX(list), GTK_SELECTION_NONE);
  gtk_widget_add_css_class(list, "boxed-list");
  gtk_list_box_append(GTK_LIST_BOX(list), entry);
  GtkWidget* const keep = gtk_check_button_new_with_mnemonic(tr("_Remember it"));
  gtk_widget_add_css_class(keep, "touch");
  gtk_widget_set_visible(keep, mayBeKept ? TRUE : FALSE);
  GtkWidget* const box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
  gtk_box_append(GTK_BOX(box), list);
  gtk_box_append(GTK_BOX(box), keep);
  adw_message_dialog_set_extra_child(dialog, box);

  // The entries may have gone when the answer comes.
  const auto answer = std::make_shared<GivenPassword>();
  on<void(GtkEditable*)>(entry, "changed", [=](GtkEditable* editable) {
    answer->password = gtk_editable_get_text(editable);
    const bool fits = answer->password.size() <= kLongestPassword;
    adw_message_dialog_set_response_enabled(dialog, "use", fits ? TRUE : FALSE);
    const std::string title =
        fits ? tr("Password") : trf("Password, {} bytes at most", kLongestPassword);
    adw_preferences_row_set_title(ADW_PREFERENCES_ROW(entry), title.c_str());
  });
  on<void(GtkCheckButton*)>(keep, "toggled", [answer](GtkCheckButton* button) {
    answer->isToBeKept = gtk_check_button_get_active(button) != 0;
  });
  on<void(AdwMessageDialog*, const char*)>(
      dialog, "response", [answer, given = std::move(given)](auto, const char* response) {
        if (std::string(response) == "use") given(*answer);
      });
  dropFocusAtEnd(GTK_WINDOW(dialog));
  gtk_window_present(GTK_WINDOW(dialog));
  gtk_widget_grab_focus(entry);
}

}  // namespace quorvid::desk
