#include "sim/Simulator.h"

#include <csignal>
#include <nlohmann/json.hpp>

#include "sim/net/QueryConnection.h"
#include "sim/net/StreamConnection.h"

namespace quorvid::sim {

Simulator::Simulator(const Options& options)
    : options_(options),
      loops_(options),
      signals_(context_, SIGINT, SIGTERM),
      fleet_(context_, options, Service::fleet, options.fleetPort, streams(Service::fleet)),
      car_(context_, options, Service::car, options.carPort, streams(Service::car)),
      list_(context_, options, Service::list, options.listPort, replies(Service::list)),
      relay_(context_, options, Service::relay, options.relayPort, replies(Service::relay)) {}

Listener::Factory Simulator::streams(Service service) {
  return [this, service](asio::ip::tcp::socket socket, unsigned number) {
    return std::make_shared<StreamConnection>(std::move(socket), options_, service, number, loops_);
  };
}

Listener::Factory Simulator::replies(Service service) {
  return [this, service](asio::ip::tcp::socket socket, unsigned number) {
    return std::make_shared<QueryConnection>(std::move(socket), options_, service, number,
                                             car_.port());
  };
}

std::string Simulator::portLines() const {
  std::string lines;
  nlohmann::ordered_json json;
  for (const auto& [service, listener] : {std::pair{Service::fleet, &fleet_},
                                          {Service::list, &list_},
                                          {Service::relay, &relay_},
                                          {Service::car, &car_}}) {
    json[nameOf(service)] = listener->port();
    lines += std::string(nameOf(service)) + " " + std::to_string(listener->port()) + "\n";
  }
  return options_.json ? json.dump() + "\n" : lines;
}

void Simulator::run() {
  signals_.async_wait([this](std::error_code error, int) {
    if (error) return;
    for (Listener* listener : {&fleet_, &car_, &list_, &relay_}) listener->stop();
    // A second signal ends the program the hard way.
    signals_.clear();
    context_.stop();
  });
  context_.run();
}

}  // namespace quorvid::sim
