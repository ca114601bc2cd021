#include "apps/desk/wall/LayoutMenu.h"

#include "apps/desk/toolkit/Rows.h"

namespace quorvid::desk {

namespace {

// Of a group of the settings' file, in which brackets and control characters have a meaning.
std::string layoutName(const char* typed) {
  std::string name = taken(g_strstrip(g_strdup(typed)));
  std::erase_if(name, [](char c) { return c == '[' || c == ']' || (c >= 0 && c < ' '); });
  return name;
}

}  // namespace

LayoutMenu::LayoutMenu(Desk& desk, Calls calls) : desk_(desk), calls_(std::move(calls)) {
  GtkWidget* const popover = ui_.get("popover");
  on<void(GtkWidget*)>(popover, "show", [this](auto) { fill(); });
  GtkWidget* const name = ui_.get("name");
  on<void(GtkEditable*)>(name, "changed", [this](GtkEditable* editable) {
    const bool isName = !layoutName(gtk_editable_get_text(editable)).empty();
    gtk_widget_set_sensitive(ui_.get("save"), isName ? TRUE : FALSE);
  });
  on<void(GtkEntry*)>(name, "activate", [this](auto) { save(); });
  on<void(GtkButton*)>(ui_.get("save"), "clicked", [this](auto) { save(); });
  on<void(GtkButton*)>(ui_.get("clear"), "clicked", [this](auto) { calls_.clear(); });
}

void LayoutMenu::fill() {
  GtkListBox* const list = ui_.get<GtkListBox>("layouts");
  while (GtkListBoxRow* const row = gtk_list_box_get_row_at_index(list, 0)) {
    gtk_list_box_remove(list, GTK_WIDGET(row));
  }
  bool hasAny = false;
  if (desk_.server()) {
    for (const std::string& name : desk_.settings().layoutNames(desk_.server()->id)) {
      gtk_list_box_append(list, rowOf(name));
      hasAny = true;
    }
  }
  gtk_widget_set_visible(GTK_WIDGET(list), hasAny ? TRUE : FALSE);
}

GtkWidget* LayoutMenu::rowOf(const std::string& name) {
  GtkWidget* const row = adw_action_row_new();
  adw_preferences_row_set_use_markup(ADW_PREFERENCES_ROW(row), FALSE);
  adw_preferences_row_set_title(ADW_PREFERENCES_ROW(row), name.c_str());
  gtk_list_box_row_set_activatable(GTK_LIST_BOX_ROW(row), TRUE);
  on<void(AdwActionRow*)>(row, "activated", [this, name](auto) {
    const auto layout = desk_.settings().layout(desk_.server()->id, name);
    gtk_popover_popdown(ui_.get<GtkPopover>("popover"));
    if (layout) calls_.use(*layout);
  });
  GtkWidget* const forget = gtk_button_new_from_icon_name("user-trash-symbolic");
  const std::string label = trf("Forget the Layout {}", name);
  gtk_widget_set_tooltip_text(forget, label.c_str());
  setAccessibleLabel(forget, label.c_str());
  gtk_widget_set_valign(forget, GTK_ALIGN_CENTER);
  gtk_widget_add_css_class(forget, "flat");
  on<void(GtkButton*)>(forget, "clicked", [this, name](auto) {
    desk_.settings().dropLayout(desk_.server()->id, name);
    desk_.tellTrouble();
    fill();
  });
  adw_action_row_add_suffix(ADW_ACTION_ROW(row), forget);
  return row;
}

void LayoutMenu::save() {
  GtkEditable* const entry = ui_.get<GtkEditable>("name");
  const std::string name = layoutName(gtk_editable_get_text(entry));
  if (name.empty() || !desk_.server()) return;
  desk_.settings().keepLayout(desk_.server()->id, name, calls_.current());
  gtk_editable_set_text(entry, "");
  gtk_popover_popdown(ui_.get<GtkPopover>("popover"));
  const std::string& trouble = desk_.settings().trouble();
  desk_.said.tell(trouble.empty() ? trf("Layout kept as {}", name) : trouble);
}

}  // namespace quorvid::desk
