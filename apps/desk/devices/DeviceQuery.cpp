#include "apps/desk/devices/DeviceQuery.h"

#include <gio/gio.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <optional>

#include "apps/desk/devices/ServerCheck.h"
#include "apps/desk/toolkit/Signals.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

namespace {

using std::chrono::seconds;
using std::chrono::steady_clock;

// Whoever waits is told of a server that doesn't let in after 8 + 5 s; the library goes on trying
// for as long as the system does, and is left behind.
constexpr seconds kPatience{8};
constexpr unsigned kReachSeconds = 5;
// A server that sends a byte now and then could hold the list for ever.
constexpr seconds kLongest{60};
constexpr seconds kSilence{9};  // somewhat less than what the library waits for a byte

// One query under way. Its thread shares it, so that it may be left behind.
struct Query {
  QueryTarget target;
  std::array<DevInfoItem, 200> items{};
  std::int32_t count = 0;
  std::int32_t done = 0;

  std::vector<DevInfoItem> records() {
    const std::int32_t whole = std::atomic_ref(count).load(std::memory_order_acquire);
    return {items.begin(), items.begin() + std::clamp(whole, 0, 200)};
  }
};

bool isImpossible(const QueryTarget& target) {
  return target.port < 1 || target.port > 65535 || target.host.empty() ||
         target.account.size() > longestAccount(LivePath::Fleet) ||
         target.password.size() > kLongestPassword;
}

// Nothing when it lets in.
std::optional<QueryOutcome> whyNotReached(const QueryTarget& target) {
  const ObjectPtr<GSocketClient> client(g_socket_client_new());
  g_socket_client_set_family(client.get(), G_SOCKET_FAMILY_IPV4);
  g_socket_client_set_enable_proxy(client.get(), FALSE);
  g_socket_client_set_timeout(client.get(), kReachSeconds);
  GError* failed = nullptr;
  const ObjectPtr<GSocketConnectable> place(
      g_network_address_new(target.host.c_str(), static_cast<guint16>(target.port)));
  const ObjectPtr<GSocketConnection> connection(
      g_socket_client_connect(client.get(), place.get(), nullptr, &failed));
  if (connection != nullptr) return std::nullopt;
  const ErrorPtr error(failed);
  if (failed->domain == G_RESOLVER_ERROR) return QueryOutcome::NameNotFound;
  const bool refused = g_error_matches(failed, G_IO_ERROR, G_IO_ERROR_CONNECTION_REFUSED) != 0;
  return refused ? QueryOutcome::Refused : QueryOutcome::Unreachable;
}

// Yields the library's result once the list has ended; throws where there is no thread.
std::future<int> begin(const std::shared_ptr<Query>& query) {
  std::packaged_task<int()> task([query] {
    blockSignals();
    const QueryTarget& target = query->target;
    return ThreadGetListForCar(query->items.data(), &query->count, target.host.c_str(), target.port,
                               0, target.account.c_str(), target.password.c_str(), "",
                               &query->done);
  });
  std::future<int> result = task.get_future();
  std::thread(std::move(task)).detach();
  return result;
}

QueryAnswer answerOf(Query& query, std::future<int>& result) {
  const auto start = steady_clock::now();
  if (result.wait_for(kPatience) != std::future_status::ready && query.records().empty()) {
    if (const auto why = whyNotReached(query.target)) return {*why, {}};
  }
  const bool ended = result.wait_until(start + kLongest) == std::future_status::ready;
  const bool complete = ended && result.get() == 0;
  const auto waited = steady_clock::now() - start;
  QueryAnswer answer{QueryOutcome::Complete, query.records()};
  if (complete) return answer;
  answer.outcome = QueryOutcome::Incomplete;
  if (!answer.records.empty()) return answer;
  const auto otherwise = waited >= kSilence ? QueryOutcome::NoAnswer : QueryOutcome::WrongAnswer;
  answer.outcome = whyNotReached(query.target).value_or(otherwise);
  return answer;
}

}  // namespace

QueryAnswer askForDevices(const QueryTarget& target) {
  blockSignals();
  if (isImpossible(target)) return {QueryOutcome::Impossible, {}};
  const auto query = std::make_shared<Query>();
  query->target = target;
  try {
    std::future<int> result = begin(query);
    return answerOf(*query, result);
  } catch (const std::system_error&) {
    return {QueryOutcome::Unreachable, {}};
  }
}

std::string headlineOf(QueryOutcome outcome) {
  switch (outcome) {
    case QueryOutcome::Complete:
      return "";
    case QueryOutcome::Incomplete:
      return tr("The List Is Incomplete");
    case QueryOutcome::Impossible:
      return tr("This Server Can't Be Asked");
    case QueryOutcome::NameNotFound:
      return tr("Server Not Found");
    case QueryOutcome::Refused:
    case QueryOutcome::Unreachable:
      return tr("Server Not Reached");
    case QueryOutcome::NoAnswer:
      return tr("No Answer");
    case QueryOutcome::WrongAnswer:
      return tr("No Device List");
  }
  return "";
}

std::string sentenceOf(QueryOutcome outcome, const QueryTarget& target) {
  const std::string& host = target.host;
  switch (outcome) {
    case QueryOutcome::Complete:
      return "";
    case QueryOutcome::Incomplete:
      return tr("The list broke off; there may be more devices than are shown.");
    case QueryOutcome::Impossible:
      return tr("Its address, port, account or password is not one that can be sent.");
    case QueryOutcome::NameNotFound:
      return trf("The name {} was not found. Is it right, and is there a network?", host);
    case QueryOutcome::Refused:
      return trf("{} lets nobody in at port {}. Is the port right?", host, target.port);
    case QueryOutcome::Unreachable:
      return trf("{} doesn't answer. Is the address right, and is there a network?", host);
    case QueryOutcome::NoAnswer:
      return trf("{} lets in at port {}, but says nothing.", host, target.port);
    case QueryOutcome::WrongAnswer:
      return trf(
          "{} answered, but with no list. Are account and password right? An account without "
          "devices looks the same.",
          host);
  }
  return "";
}

}  // namespace quorvid::desk
