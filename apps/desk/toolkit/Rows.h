// Rows: what the rows of our lists have in common. Main thread.
#pragma once

#include <string>

#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

// Text for a property that takes markup.
inline std::string escaped(const std::string& text) {
  return taken(g_markup_escape_text(text.c_str(), static_cast<gssize>(text.size())));
}

inline void setAccessibleLabel(GtkWidget* widget, const char* label) {
  gtk_accessible_update_property(GTK_ACCESSIBLE(widget), GTK_ACCESSIBLE_PROPERTY_LABEL, label, -1);
}

// A row with a sign in front; `meaning` says it in words. The title is plain text, subtitles are
// markup.
inline GtkWidget* makeRow(const std::string& title, const char* icon, const char* meaning) {
  GtkWidget* const row = adw_action_row_new();
  adw_preferences_row_set_title(ADW_PREFERENCES_ROW(row), escaped(title).c_str());
  GtkWidget* const sign = gtk_image_new_from_icon_name(icon);
  gtk_widget_set_tooltip_text(sign, meaning);
  setAccessibleLabel(sign, meaning);
  gtk_widget_add_css_class(sign, "sign");
  adw_action_row_add_prefix(ADW_ACTION_ROW(row), sign);
  return row;
}

// A button without a text, as large as a finger needs it.
inline GtkWidget* makeRowButton(const char* icon, const char* meaning) {
  GtkWidget* const button = gtk_button_new_from_icon_name(icon);
  gtk_widget_set_tooltip_text(button, meaning);
  setAccessibleLabel(button, meaning);
  gtk_widget_add_css_class(button, "flat");
  gtk_widget_set_valign(button, GTK_ALIGN_CENTER);
  gtk_widget_set_size_request(button, 44, 44);
  return button;
}

}  // namespace quorvid::desk
