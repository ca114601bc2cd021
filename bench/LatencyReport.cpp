#include "bench/LatencyReport.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace quorvid::bench {
namespace {

double milliseconds(double seconds) {
  return 1e3 * seconds;
}

double secondsBetween(MonotonicTime from, MonotonicTime to) {
  return std::chrono::duration<double>(to - from).count();
}

}  // namespace

SentPictures SentPictures::readFrom(const std::string& file) {
  std::ifstream in(file);
  if (!in) throw std::runtime_error(file + " can't be read");
  SentPictures sent;
  std::string ours;
  for (std::string line; std::getline(in, line);) {
    long long ns = 0;
    std::string what, client;
    std::size_t number = 0;
    std::istringstream words(line);
    words >> ns >> what >> client >> number;
    const MonotonicTime time{std::chrono::nanoseconds(ns)};
    if (what == "accepted") {
      sent = {time, {}};
      ours = client;
    } else if (what == "picture" && client == ours) {
      sent.pictures.push_back({time, number});
    }
  }
  return sent;
}

nlohmann::ordered_json spread(std::vector<double> seconds) {
  if (seconds.empty()) return {};
  std::sort(seconds.begin(), seconds.end());
  const auto at = [&seconds](double share) {
    const auto last = static_cast<double>(seconds.size() - 1);
    return milliseconds(seconds[static_cast<std::size_t>(std::lround(share * last))]);
  };
  return {{"median", at(.5)}, {"p95", at(.95)}, {"p99", at(.99)}, {"max", at(1)}};
}

// A picture's number comes again with each turn of the loop: what is seen is the last that left.
nlohmann::ordered_json latencies(const SentPictures& sent, const Looks& looks, MonotonicTime from,
                                 MonotonicTime to) {
  std::vector<double> seconds;
  std::size_t pictures = 0;
  auto seen = looks.sightings.begin();
  for (const Sighting& picture : sent.pictures) {
    if (picture.time < from || picture.time > to) continue;
    ++pictures;
    constexpr double kLongest = 1;  // shorter than any loop
    while (seen != looks.sightings.end() && seen->time < picture.time) ++seen;
    for (auto it = seen; it != looks.sightings.end(); ++it) {
      const double late = secondsBetween(picture.time, it->time);
      if (late > kLongest) break;
      if (it->number != picture.number) continue;
      seconds.push_back(late);
      break;
    }
  }
  const std::size_t unseen = pictures - seconds.size();
  return {{"sent", pictures}, {"neverSeen", unseen}, {"latencyMs", spread(std::move(seconds))}};
}

}  // namespace quorvid::bench
