#include "sim/Options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <sstream>

#include "sim/Error.h"

namespace quorvid::sim {
namespace {

void takeSize(const char* option, const std::string& text, EncoderSettings& encoder) {
  char x = 0;
  int width = 0;
  int height = 0;
  std::istringstream in(text);
  in >> width >> x >> height;
  if (!in || !in.eof() || x != 'x' || width <= 0 || height <= 0) {
    throw UsageError(fmt::format("{}: '{}' is not of the form WIDTHxHEIGHT", option, text));
  }
  if (width % 16 != 0 || height % 16 != 0) {
    throw UsageError(fmt::format("{}: {}: width and height must be multiples of 16", option, text));
  }
  if (width < 96 || height < 96 || width > 2048 || height > 2048) {
    throw UsageError(fmt::format("{}: {}: width and height must be from 96 to 2048", option, text));
  }
  encoder.width = width;
  encoder.height = height;
}

void takeSampleShape(const std::string& text, EncoderSettings& encoder) {
  char colon = 0;
  AVRational& shape = encoder.sampleShape;
  std::istringstream in(text);
  in >> shape.num >> colon >> shape.den;
  if (!in || !in.eof() || colon != ':' || shape.num < 1 || shape.den < 1 || shape.num > 1000 ||
      shape.den > 1000) {
    throw UsageError(
        fmt::format("--sar: '{}' is not of the form W:H with numbers from 1 to 1000", text));
  }
}

// A number, or a comma list of names.
void takeDevices(const std::string& text, Options& options) {
  options.devices.clear();
  const bool number = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
  options.onlyTheseDevices = !number || text.size() > 5;
  if (!options.onlyTheseDevices) {
    const std::size_t count = std::stoul(text);
    for (std::size_t i = 0; i < count; ++i) options.devices.push_back(simulatedDevice(i));
    return;
  }
  std::istringstream in(text);
  for (std::string name; std::getline(in, name, ',');) {
    if (name.empty() || name.size() > 63) {
      throw UsageError("--devices: an identifier has 1 to 63 characters");
    }
    options.devices.push_back(name);
  }
  if (options.devices.empty()) throw UsageError("--devices: no identifier given");
}

void addSource(CLI::App& app, Options& options) {
  app.option_defaults()->group("Picture");
  app.add_option("--input", options.input,
                 "Play this file (anything FFmpeg reads) instead of the drawn scene");
  app.add_option_function<std::string>(
      "--size", [&options](const std::string& text) { takeSize("--size", text, options.encoder); },
      "Picture size WxH, multiples of 16 (640x480)");
  app.add_option_function<std::string>(
      "--resize",
      [&options](const std::string& text) { takeSize("--resize", text, options.later); },
      "Size of the second half of the drawn loop (the same)");
  app.add_option_function<std::string>(
      "--sar", [&options](const std::string& text) { takeSampleShape(text, options.encoder); },
      "Shape of a pixel W:H where the picture is shown (1:1). With another one the key frames are "
      "longer than the layout that clients cut at fixed places");
  app.add_option_function<double>(
         "--fps", [&options](double rate) { options.rate = av_d2q(rate, 1001000); },
         "Frames a second (25; a file keeps its own)")
      ->check(CLI::Range(1.0, 120.0));
  app.add_option("--gop", options.encoder.gop, "Frames from one key frame to the next (25)")
      ->check(CLI::Range(1, 1000));
  app.add_option("--bitrate", options.encoder.bitrate,
                 "Bits a second (one that suits size and rate)")
      ->check(CLI::Range(50'000, 100'000'000));
  app.add_option("--seconds", options.loopSeconds,
                 "Length of the loop at most (drawn scene 4, file 10)")
      ->check(CLI::Range(0.04, 600.0));
  app.add_flag("--sei", options.encoder.sei, "Put a SEI unit into the key frames");
  app.add_flag("--audio", options.audio, "Put audio packets between the fleet stream's frames");
  app.add_flag("--live", options.live,
               "Play by the clock: every client sees the frame of this moment, and starts at the "
               "next key frame");
}

void addService(CLI::App& app, Options& options) {
  app.option_defaults()->group("Service");
  const CLI::Range port(0, 65535);
  app.add_option("--bind", options.bind, "IPv4 address to listen on (127.0.0.1)");
  app.add_option("--port", options.fleetPort, "Port of the fleet streams (0: any free one)")
      ->check(port);
  app.add_option("--list-port", options.listPort, "Port of the device list (0: any free one)")
      ->check(port);
  app.add_option("--relay-port", options.relayPort, "Port of the relay lookup (0: any free one)")
      ->check(port);
  app.add_option("--car-port", options.carPort, "Port of the car streams (0: any free one)")
      ->check(port);
  app.add_flag("--json", options.json, "Print the ports as one JSON object instead of lines");
  app.add_option_function<std::string>(
      "--devices", [&options](const std::string& text) { takeDevices(text, options); },
      "How many devices to announce, any being served (3), or a comma list: only these "
      "are served");
  app.add_option("--channels", options.channels, "Channels 0 to N-1 are served (8)")
      ->check(CLI::Range(1, 100));
}

void addReplies(CLI::App& app, Options& options) {
  app.option_defaults()->group("Replies");
  app.add_option("--reply-tag", options.replyTag, "Tag of the replies (3GAPV104)")
      ->check(CLI::IsMember({"3GAPV103", "3GAPV104", "3GAPV105"}));
  app.add_option("--garbage", options.garbage, "Random bytes before the tag of a reply (0)")
      ->check(CLI::Range(0, 1'000'000));
  app.add_option("--items", options.items, "Records in the list reply (one for each device)")
      ->check(CLI::Range(0, 100'000));
  app.add_option("--item-len", options.itemLength,
                 "Length of a record; what exceeds 280 is filled up (280)")
      ->check(CLI::Range(280, 100'000));
  app.add_option("--relay-extra", options.relayExtra,
                 "Bytes before the address in the relay reply (0)")
      ->check(CLI::Range(0, 100'000));
  app.add_option("--gap", options.gap,
                 "Leave out every Nth frame of the car stream, key frames never (0: none)")
      ->check(CLI::Range(0, 1'000'000));
}

void addTrouble(CLI::App& app, Options& options) {
  app.option_defaults()->group("Trouble");
  app.add_option_function<std::string>(
         "--close",
         [&options](const std::string& how) {
           options.close = how == "reset" ? CloseStyle::Reset : CloseStyle::Order;
         },
         "How connections end: order or reset (order)")
      ->check(CLI::IsMember({"order", "reset"}));
  app.add_option("--drop-after", options.dropAfter, "End each stream after so many seconds")
      ->check(CLI::Range(0.0, 1e6));
  app.add_option("--stall-after", options.stallAfter,
                 "Fall silent in each stream after so many seconds")
      ->check(CLI::Range(0.0, 1e6));
  app.add_option_function<std::vector<std::string>>(
         "--fault",
         [&options](const std::vector<std::string>& faults) {
           for (const std::string& fault : faults) options.faults.add(fault);
         },
         "Make something go wrong, see below; may be given several times")
      ->allow_extra_args(false);
  app.add_option("--fault-times", options.faults.times,
                 "Faults hit only the first N connections of a service (0: all)")
      ->check(CLI::Range(0, 1'000'000));
  app.add_option("--seed", options.faults.seed,
                 "Where the random bytes start (1): the same seed, the same bytes");
}

}  // namespace

std::string simulatedDevice(std::size_t index) {
  return fmt::format("SIM{:04}", index + 1);
}

std::optional<Options> parseOptions(int argc, const char* const* argv) {
  Options options;
  options.later.width = options.later.height = 0;
  takeDevices("3", options);
  CLI::App app("A server to develop against: streams and replies of cameras in vehicles.",
               "quorvid-sim");
  app.set_version_flag("--version", "quorvid-sim 1.0.0");
  addSource(app, options);
  addService(app, options);
  addReplies(app, options);
  addTrouble(app, options);
  app.footer(faultHelp());
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& wish) {
    app.exit(wish);
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    throw UsageError(error.what());
  }
  return options;
}

}  // namespace quorvid::sim
