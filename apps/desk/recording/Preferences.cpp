#include "apps/desk/recording/Preferences.h"

#include "apps/desk/toolkit/Rows.h"

namespace quorvid::desk {

Preferences::Preferences(Desk& desk, Recordings& recordings)
    : desk_(desk), recordings_(recordings) {}

Preferences::~Preferences() {
  end();
}

void Preferences::make() {
  ui_.emplace("Preferences");
  on<void(GtkButton*)>(ui_->get("choose"), "clicked", [this](auto) { chooseFolder(); });
  on<void(GtkSpinButton*)>(ui_->get("minutes"), "value-changed", [this](GtkSpinButton* minutes) {
    if (isShowing_) return;
    options_.minutes = gtk_spin_button_get_value_as_int(minutes);
    keep();
  });
  on<gboolean(GtkWindow*)>(window(), "close-request", [this](auto) -> gboolean {
    end();
    return TRUE;
  });
}

void Preferences::end() {
  if (!ui_) return;
  chooser_.reset();
  gtk_window_destroy(window());
  ui_.reset();
}

void Preferences::present(GtkWindow* parent) {
  if (!ui_) make();
  gtk_window_set_transient_for(window(), parent);
  options_ = desk_.settings().recording();
  show();
  gtk_window_present(window());
}

void Preferences::show() {
  isShowing_ = true;
  const std::string folder = taken(g_filename_display_name(options_.folder.c_str()));
  adw_action_row_set_subtitle(ui_->get<AdwActionRow>("folder"), escaped(folder).c_str());
  gtk_spin_button_set_value(ui_->get<GtkSpinButton>("minutes"), options_.minutes);
  isShowing_ = false;
}

void Preferences::keep() {
  recordings_.keepOptions(options_);
}

void Preferences::chooseFolder() {
  chooser_.reset(gtk_file_chooser_native_new(tr("Folder for Recordings"), window(),
                                             GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER, tr("_Choose"),
                                             tr("_Cancel")));
  gtk_native_dialog_set_modal(GTK_NATIVE_DIALOG(chooser_.get()), TRUE);
  const ObjectPtr<GFile> now(g_file_new_for_path(options_.folder.c_str()));
  gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(chooser_.get()), now.get(), nullptr);
  on<void(GtkNativeDialog*, int)>(chooser_.get(), "response", [this](auto, int response) {
    if (response != GTK_RESPONSE_ACCEPT) return;
    const ObjectPtr<GFile> chosen(gtk_file_chooser_get_file(GTK_FILE_CHOOSER(chooser_.get())));
    const std::string path = chosen ? taken(g_file_get_path(chosen.get())) : "";
    if (path.empty()) return desk_.said.tell(tr("Recordings need a folder of this computer."));
    options_.folder = path;
    show();
    keep();
  });
  gtk_native_dialog_show(GTK_NATIVE_DIALOG(chooser_.get()));
}

}  // namespace quorvid::desk
