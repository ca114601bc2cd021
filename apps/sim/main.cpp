#include <fmt/format.h>

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>
#include <csignal>
#include <iostream>
#include <nlohmann/json.hpp>

#include "sim/Error.h"
#include "sim/net/Listener.h"
#include "sim/net/QueryConnection.h"
#include "sim/net/StreamConnection.h"

namespace quorvid::sim {
namespace {

// The whole server: a port for each service, and the loops that they play.
class Simulator {
 public:
  // Opens the ports. @throws SimError or UsageError with a sentence
  explicit Simulator(const Options& options);

  // The ports, for the program's first lines: "fleet PORT" and so on, or one JSON object.
  std::string portLines() const;
  // Serves until SIGINT or SIGTERM, on the calling thread.
  void run();

 private:
  Listener::Factory streams(Service service);
  Listener::Factory replies(Service service);

  const Options& options_;
  // The loops go after the connections that play them, which the context holds.
  LoopStore loops_;
  SendLog sendLog_;
  asio::io_context context_;
  asio::signal_set signals_;
  Listener fleet_;
  Listener car_;
  Listener list_;
  Listener relay_;
};

Simulator::Simulator(const Options& options)
    : options_(options),
      loops_(options),
      sendLog_(options.sendLog),
      signals_(context_, SIGINT, SIGTERM),
      fleet_(context_, options, Service::Fleet, options.fleetPort, streams(Service::Fleet)),
      car_(context_, options, Service::Car, options.carPort, streams(Service::Car)),
      list_(context_, options, Service::List, options.listPort, replies(Service::List)),
      relay_(context_, options, Service::Relay, options.relayPort, replies(Service::Relay)) {}

Listener::Factory Simulator::streams(Service service) {
  return [this, service](asio::ip::tcp::socket socket, unsigned number) {
    return std::make_shared<StreamConnection>(std::move(socket), options_, service, number, loops_,
                                              sendLog_);
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
  for (const auto& [service, listener] : {std::pair{Service::Fleet, &fleet_},
                                          {Service::List, &list_},
                                          {Service::Relay, &relay_},
                                          {Service::Car, &car_}}) {
    json[nameOf(service)] = listener->port();
    lines += fmt::format("{} {}\n", nameOf(service), listener->port());
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

int fail(const std::exception& error, int status) {
  std::cerr << fmt::format("quorvid-sim: {}\n", error.what());
  return status;
}

}  // namespace
}  // namespace quorvid::sim

int main(int argc, char** argv) {
  using namespace quorvid::sim;
  std::signal(SIGPIPE, SIG_IGN);
  // The media libraries write on standard error what the sentences of this program already say.
  av_log_set_level(AV_LOG_QUIET);
  try {
    const auto options = parseOptions(argc, argv);
    if (!options) return 0;
    Simulator simulator(*options);
    std::cout << simulator.portLines() << std::flush;
    simulator.run();
    return 0;
  } catch (const UsageError& error) {
    return fail(error, 2);
  } catch (const std::exception& error) {
    return fail(error, 1);
  }
}
