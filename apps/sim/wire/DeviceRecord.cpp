#include "sim/wire/DeviceRecord.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <numbers>

namespace quorvid::sim {
namespace {

/* Record, 280 bytes:
     0    4  length of the record
     4   64  device
    68   32  vehicle
   100   32  depot
   132    4  longitude, millionths of a degree
   136    4  latitude
   140    1  1: on line
   141    1  number of channels
   142    1  kilometres an hour
   143    9  time of day
   152  128  what the vehicle is doing */

std::string deviceName(const Options& options, std::size_t index) {
  if (index < options.devices.size()) return options.devices[index];
  std::array<char, 24> name{};
  std::snprintf(name.data(), name.size(), "SIM%04zu", index + 1);
  return name.data();
}

std::string timeOfDay(unsigned poll) {
  const unsigned seconds = (8 * 3600 + poll * 5) % 86400;
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%02u:%02u:%02u", seconds / 3600, seconds / 60 % 60,
                seconds % 60);
  return text.data();
}

struct Trip {
  double longitude, latitude;  // millionths of a degree
  int speed;
  const char* heading;
};

// Every vehicle drives round in a circle of its own, somewhat further with each poll.
Trip tripOf(std::size_t index, unsigned poll) {
  constexpr std::array<const char*, 8> headings{"north", "north-west", "west", "south-west",
                                                "south", "south-east", "east", "north-east"};
  const auto i = static_cast<double>(index);
  const double angle = 0.7 * i + 0.05 * poll;
  const double radius = 9000 + 700 * std::fmod(i, 11);
  const double turns = angle / (2 * std::numbers::pi);
  const auto eighth =
      static_cast<std::size_t>(std::lround((turns - std::floor(turns)) * 8)) % headings.size();
  return {10'000'000 + 30'000 * std::fmod(i, 16) + radius * std::cos(angle),
          50'000'000 + 20'000 * std::floor(i / 16) + radius * std::sin(angle),
          30 + static_cast<int>((index * 7 + poll * 3) % 50), headings[eighth]};
}

}  // namespace

void appendDeviceRecord(Bytes& out, const Options& options, std::size_t index, unsigned poll) {
  const Trip trip = tripOf(index, poll);
  const std::string number = std::to_string(index + 1);
  appendInt32(out, options.itemLength);
  appendText(out, deviceName(options, index), 64);
  appendText(out, "Truck " + number, 32);
  appendText(out, "Depot " + std::to_string(index / 10 + 1), 32);
  appendInt32(out, std::lround(trip.longitude));
  appendInt32(out, std::lround(trip.latitude));
  out.push_back(1);
  out.push_back(static_cast<std::uint8_t>(options.channels));
  out.push_back(static_cast<std::uint8_t>(trip.speed));
  appendText(out, timeOfDay(poll), 9);
  appendText(out,
             std::string("driving ") + trip.heading + " at " + std::to_string(trip.speed) + " km/h",
             128);
}

}  // namespace quorvid::sim
