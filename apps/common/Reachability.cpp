#include "apps/common/Reachability.h"

#include <fmt/format.h>
#include <netdb.h>

#include <algorithm>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>

#include "apps/common/Deadline.h"
#include "connection/ServerConnection.h"

namespace quorvid::app {

namespace {

using asio::ip::tcp;

struct Resolved {
  in_addr address{};
  int error = TRY_AGAIN;
};

const char* reasonOf(int error) {
  switch (error) {
    case HOST_NOT_FOUND:
      return "no such name is known";
    case NO_DATA:
      return "it has no IPv4 address";
    case TRY_AGAIN:
      return "no answer from the name service";
    default:
      return "the name service failed";
  }
}

// timed_out when nothing came in time.
asio::error_code connectWithin(const tcp::endpoint& server, double timeout) {
  constexpr std::chrono::milliseconds kLookInterval(50);
  asio::error_code result = asio::error::timed_out;
  asio::io_context context;
  tcp::socket socket(context);
  socket.async_connect(server, [&result](asio::error_code error) { result = error; });
  const double start = steadySeconds();
  while (!context.stopped() && steadySeconds() - start < patience(timeout)) {
    context.run_one_for(kLookInterval);
  }
  return result;
}

}  // namespace

Reachability resolveServer(const Endpoint& server, double timeout) {
  // As the library does it, so that both try the same address. It knows no deadline of its own.
  const auto resolve = [host = server.host] {
    Resolved result;
    result.error = resolveFirstAddress(host.c_str(), result.address);
    return result;
  };
  const Resolved resolved = callWithin<Resolved>(timeout, resolve).value_or(Resolved{});
  if (resolved.error != 0) {
    return {
        false, "",
        fmt::format("the name {} can't be resolved: {}", server.host, reasonOf(resolved.error))};
  }
  return {false, asio::ip::address_v4(ntohl(resolved.address.s_addr)).to_string(), ""};
}

Reachability tryServer(const Endpoint& server, double timeout) {
  Reachability result = resolveServer(server, timeout);
  if (result.address.empty()) return result;
  const tcp::endpoint place(asio::ip::make_address_v4(result.address),
                            static_cast<std::uint16_t>(server.port));
  const asio::error_code error = connectWithin(place, timeout);
  result.connected = !error;
  if (!error) {
    result.sentence = server.text() + " accepts connections";
  } else if (error == asio::error::connection_refused) {
    result.sentence = fmt::format("nothing listens at {} (connection refused)", server.text());
  } else if (error == asio::error::timed_out) {
    result.sentence =
        fmt::format("no answer from {} (address, network or firewall)", server.text());
  } else {
    result.sentence = fmt::format("{} can't be reached: {}", server.text(), error.message());
  }
  return result;
}

std::string whyNoAnswerYet(const Endpoint& server, double left) {
  const Reachability reach = tryServer(server, std::clamp(left / 2, 0.25, 2.0));
  return "no answer yet: " + reach.sentence + (reach.connected ? " but is silent" : "");
}

}  // namespace quorvid::app
