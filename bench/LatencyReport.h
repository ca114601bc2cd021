// LatencyReport: from what the simulator wrote down and what was seen on the screen to figures.
#pragma once

#include <chrono>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace quorvid::bench {

using MonotonicTime = std::chrono::steady_clock::time_point;

// A picture that was on the screen at this time, and not at the look before.
struct Sighting {
  MonotonicTime time;
  std::size_t number = 0;
};

// Lines of quorvid-sim --send-log, of the last client in it.
struct SentPictures {
  // @throws std::runtime_error when the file can't be read
  static SentPictures readFrom(const std::string& file);
  MonotonicTime accepted;
  std::vector<Sighting> pictures;
};

struct Looks {
  std::vector<Sighting> sightings;
  std::vector<double> gaps;  // seconds from one look to the next
};

// Median, p95, p99 and most, in milliseconds.
nlohmann::ordered_json spread(std::vector<double> seconds);
// Of the pictures that left between the two moments.
nlohmann::ordered_json latencies(const SentPictures& sent, const Looks& looks, MonotonicTime from,
                                 MonotonicTime to);

}  // namespace quorvid::bench
