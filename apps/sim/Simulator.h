#pragma once

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>
#include <string>

#include "sim/media/LoopStore.h"
#include "sim/net/Listener.h"

namespace quorvid::sim {

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
  asio::io_context context_;
  asio::signal_set signals_;
  Listener fleet_;
  Listener car_;
  Listener list_;
  Listener relay_;
};

}  // namespace quorvid::sim
