#include "apps/desk/devices/ServerChooser.h"

#include <algorithm>

#include "apps/desk/devices/PasswordQuestion.h"
#include "apps/desk/devices/ServerMenu.h"

namespace quorvid::desk {

namespace {

std::optional<Server> simulatorOf(const Settings& settings) {
  for (Server& server : settings.servers()) {
    if (server.isSimulator) return std::move(server);
  }
  return std::nullopt;
}

}  // namespace

ServerChooser::ServerChooser(Desk& desk, Simulator& simulator)
    : desk_(desk), simulator_(simulator) {
  addActions();
  desk_.serverChanged.add([this] { show(); });
  show();
}

GtkWidget* ServerChooser::widget() const {
  return ui_.get("chooser");
}

void ServerChooser::addAction(const char* name, std::function<void()> call) {
  const ObjectPtr<GSimpleAction> action(g_simple_action_new(name, nullptr));
  on<void(GSimpleAction*, GVariant*)>(action.get(), "activate",
                                      [call = std::move(call)](auto, auto) { call(); });
  g_action_map_add_action(G_ACTION_MAP(actions_.get()), G_ACTION(action.get()));
}

void ServerChooser::addActions() {
  const ObjectPtr<GSimpleAction> choose(
      g_simple_action_new_stateful("choose", G_VARIANT_TYPE_STRING, g_variant_new_string("")));
  on<void(GSimpleAction*, GVariant*)>(choose.get(), "activate", [this](auto, GVariant* target) {
    const std::string id = g_variant_get_string(target, nullptr);
    id == kSimulatorTarget ? useSimulator() : this->choose(id);
  });
  g_action_map_add_action(G_ACTION_MAP(actions_.get()), G_ACTION(choose.get()));
  addAction("change", [this] { change(); });
  addAction("forget", [this] { askToForget(); });
  gtk_widget_insert_action_group(widget(), "servers", G_ACTION_GROUP(actions_.get()));
}

// The button and its menu.
void ServerChooser::show() {
  const auto& server = desk_.server();
  const bool isReal = server && !server->isSimulator;
  gtk_label_set_label(ui_.get<GtkLabel>("title"),
                      server ? server->title().c_str() : tr("Choose a Server"));
  fillServerMenu(ui_.get<GMenu>("menu"), remembered());
  GActionMap* const map = G_ACTION_MAP(actions_.get());
  const auto action = [map](const char* name) {
    return G_SIMPLE_ACTION(g_action_map_lookup_action(map, name));
  };
  const std::string chosen = !server ? "" : (isReal ? server->id : kSimulatorTarget);
  g_simple_action_set_state(action("choose"), g_variant_new_string(chosen.c_str()));
  g_simple_action_set_enabled(action("change"), isReal ? TRUE : FALSE);
  g_simple_action_set_enabled(action("forget"), isReal ? TRUE : FALSE);
}

std::vector<Server> ServerChooser::remembered() const {
  std::vector<Server> list = desk_.settings().servers();
  std::erase_if(list, [](const Server& server) { return server.isSimulator; });
  std::sort(list.begin(), list.end(), [](const Server& a, const Server& b) {
    return sortKey(a.title()) < sortKey(b.title());
  });
  return list;
}

void ServerChooser::useLast() {
  choose(desk_.settings().chosenServer());
}

void ServerChooser::choose(const std::string& id) {
  const auto server = desk_.settings().server(id);
  if (!server) return;
  server->isSimulator ? useSimulator() : open(*server);
}

void ServerChooser::add() {
  dialog_ = std::make_unique<ServerDialog>(window_, tr("Add a Server"), ServerEntry{},
                                           [this](const ServerEntry& entry) { accept(entry, ""); });
}

void ServerChooser::change() {
  if (!desk_.server()) return;
  const Server server = *desk_.server();
  dialog_ = std::make_unique<ServerDialog>(
      window_, tr("Change the Server"), entryOf(server),
      [this, id = server.id](const ServerEntry& entry) { accept(entry, id); });
}

// The server is used at once; what the password store says of its password comes later.
void ServerChooser::accept(const ServerEntry& entry, const std::string& id) {
  Server server = serverOf(entry);
  server.id = id;
  server.id = desk_.settings().keepServer(server);
  desk_.tellTrouble();
  if (server.account.empty()) {
    passwords_.forget(server.id);
  } else if (!entry.password.empty()) {
    passwords_.keep(server.id, server.title(), entry.password, [this](const std::string& trouble) {
      if (!trouble.empty()) desk_.said.tell(trouble);
    });
  }
  open(server);
}

void ServerChooser::open(const Server& server) {
  choice_.reset();
  if (server.account.empty()) return desk_.use(server, "");
  passwords_.find(server.id, [this, server, choice = choice_.token()](const auto& found) {
    if (choice.expired()) return;
    if (found.store != Passwords::Store::Known) return askFor(server, found);
    desk_.use(server, found.password);
  });
}

void ServerChooser::askFor(const Server& server, const Passwords::Found& found) {
  const bool mayBeKept = found.store == Passwords::Store::Empty;
  askForPassword(window_, server, found.sentence, mayBeKept, [this, server](const auto& given) {
    passwords_.keepInMemory(server.id, given.password);
    if (given.isToBeKept) {
      passwords_.keep(server.id, server.title(), given.password,
                      [this](const std::string& trouble) {
                        if (!trouble.empty()) desk_.said.tell(trouble);
                      });
    }
    desk_.use(server, given.password);
  });
}

void ServerChooser::askToForget() {
  if (!desk_.server()) return;
  const Server& server = *desk_.server();
  const std::string heading = trf("Forget {}?", server.title());
  GtkWidget* const widget = adw_message_dialog_new(
      window_, heading.c_str(),
      tr("Its account, its password and its layouts are forgotten, too. Recordings stay."));
  auto* const dialog = ADW_MESSAGE_DIALOG(widget);
  adw_message_dialog_add_responses(dialog, "cancel", tr("_Cancel"), "forget", tr("_Forget"),
                                   nullptr);
  adw_message_dialog_set_response_appearance(dialog, "forget", ADW_RESPONSE_DESTRUCTIVE);
  adw_message_dialog_set_close_response(dialog, "cancel");
  on<void(AdwMessageDialog*, const char*)>(dialog, "response",
                                           [this, id = server.id](auto, const char* response) {
                                             if (std::string(response) == "forget") forget(id);
                                           });
  gtk_window_present(GTK_WINDOW(widget));
}

void ServerChooser::forget(const std::string& id) {
  passwords_.forget(id);
  desk_.settings().dropServer(id);
  desk_.settings().chooseServer("");
  // Last: the welcome page lists those that are left.
  if (desk_.server() && desk_.server()->id == id) desk_.leave();
  desk_.tellTrouble();
  show();
}

void ServerChooser::useSimulator() {
  choice_.reset();
  const auto started = [this, choice = choice_.token()](const Simulator::Ports& ports,
                                                        const std::string& trouble) {
    if (choice.expired()) return;
    if (!trouble.empty()) return desk_.said.tell(trouble);
    Server server = simulatorOf(desk_.settings()).value_or(Server{});
    server.isSimulator = true;
    server.name = tr("Simulator");
    server.host = "127.0.0.1";
    server.account = "demo";
    server.listPort = ports.list;
    server.videoPort = ports.fleet;
    server.id = desk_.settings().keepServer(server);
    desk_.use(server, "");
  };
  simulator_.start(started);
}

}  // namespace quorvid::desk
