#include "apps/desk/devices/ServerChooser.h"

namespace quorvid::desk {

ServerChooser::ServerChooser(Desk& desk, Simulator& simulator)
    : desk_(desk), simulator_(simulator) {}

GtkWidget* ServerChooser::widget() const {
  return ui_.get("chooser");
}

void ServerChooser::useLast() {}

void ServerChooser::add() {}

void ServerChooser::useSimulator() {
  simulator_.start([this](const Simulator::Ports& ports, const std::string& trouble) {
    if (!trouble.empty()) return desk_.said.tell(trouble);
    Server server;
    server.isSimulator = true;
    server.name = tr("Simulator");
    server.host = "127.0.0.1";
    server.account = "demo";
    server.listPort = ports.list;
    server.videoPort = ports.fleet;
    server.id = desk_.settings().keepServer(server);
    desk_.use(server, "");
  });
}

}  // namespace quorvid::desk
