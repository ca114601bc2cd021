#include "apps/desk/About.h"

#include <string_view>

namespace quorvid::desk {

void showAbout(GtkWindow* above) {
  auto* const about = ADW_ABOUT_WINDOW(adw_about_window_new());
  adw_about_window_set_application_icon(about, kAppId);
  adw_about_window_set_application_name(about, tr("Vehicle Cameras"));
  adw_about_window_set_developer_name(about, tr("The authors of Quorvid"));
  adw_about_window_set_version(about, QUORVID_DESK_VERSION);
  adw_about_window_set_comments(
      about,
      tr("Live pictures from the cameras of vehicles, for desk, wall and phone. What it shows "
         "comes over connections that are neither encrypted nor authenticated: use it inside "
         "a network that you trust."));
  adw_about_window_set_copyright(about, "© 2026 the authors of Quorvid");
  adw_about_window_set_license_type(about, GTK_LICENSE_CUSTOM);
  adw_about_window_set_license(about, tr("No licence for this program has been granted yet."));
  // Translators: your names, one a line.
  const char* const translators = tr("translator-credits");
  if (std::string_view(translators) != "translator-credits") {
    adw_about_window_set_translator_credits(about, translators);
  }
  gtk_window_set_transient_for(GTK_WINDOW(about), above);
  gtk_window_present(GTK_WINDOW(about));
}

// Made when it is asked for. A window that the toolkit keeps hidden instead is what GTK 4.8 gives a
// screen reader that asks for one that has just gone; it has no place in the tree, and the program
// would end over that.
void showKeys(GtkWindow* above) {
  const Ui ui("Keys");
  auto* const keys = ui.get<GtkWindow>("keys");
  gtk_window_set_transient_for(keys, above);
  gtk_window_present(keys);
}

}  // namespace quorvid::desk
