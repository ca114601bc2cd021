#include "apps/desk/devices/ServerMenu.h"

namespace quorvid::desk {

namespace {

// As a menu's label, in which an underline marks a key.
std::string labelOf(const std::string& title) {
  std::string label;
  for (const char c : title) label += c == '_' ? "__" : std::string(1, c);
  return label;
}

void addChoice(GMenu* section, const std::string& label, const std::string& target) {
  const ObjectPtr<GMenuItem> item(g_menu_item_new(label.c_str(), nullptr));
  g_menu_item_set_action_and_target_value(item.get(), "servers.choose",
                                          g_variant_new_string(target.c_str()));
  g_menu_append_item(section, item.get());
}

}  // namespace

void fillServerMenu(GMenu* menu, const std::vector<Server>& servers) {
  g_menu_remove_all(menu);
  const ObjectPtr<GMenu> choices(g_menu_new());
  for (const Server& server : servers) addChoice(choices.get(), labelOf(server.title()), server.id);
  addChoice(choices.get(), tr("_Simulator"), kSimulatorTarget);
  g_menu_append_section(menu, nullptr, G_MENU_MODEL(choices.get()));
  const ObjectPtr<GMenu> others(g_menu_new());
  g_menu_append(others.get(), tr("_Add a Server…"), "win.add-server");
  g_menu_append(others.get(), tr("_Change…"), "servers.change");
  g_menu_append(others.get(), tr("_Forget…"), "servers.forget");
  g_menu_append_section(menu, nullptr, G_MENU_MODEL(others.get()));
}

}  // namespace quorvid::desk
