#include "sim/Options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <limits>
#include <sstream>

#include "apps/common/CommandLine.h"
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

template <typename Number>
CLI::Option* addNumber(CLI::App& app, const char* name, Number& number, std::int64_t least,
                       std::int64_t most, const std::string& purpose) {
  CLI::Option* const option = app.add_option(name, number, purpose);
  return option->check(app::wholeWithin(least, most))->type_name("N");
}

void addSeconds(CLI::App& app, const char* name, std::optional<double>& seconds, double least,
                double most, const char* purpose) {
  app.add_option(name, seconds, purpose)->check(app::within(least, most))->type_name("S");
}

void addSource(CLI::App& app, Options& options) {
  app.option_defaults()->group("Picture");
  app.add_option("--input", options.input,
                 "play this file (anything FFmpeg reads) instead of the drawn scene")
      ->type_name("FILE");
  app.add_option_function<std::string>(
         "--size",
         [&options](const std::string& text) { takeSize("--size", text, options.encoder); },
         "picture size, multiples of 16 from 96 to 2048 (640x480)")
      ->type_name("WxH");
  app.add_option_function<std::string>(
         "--resize",
         [&options](const std::string& text) { takeSize("--resize", text, options.later); },
         "size of the second half of the drawn loop (the same)")
      ->type_name("WxH");
  app.add_option_function<std::string>(
         "--sar", [&options](const std::string& text) { takeSampleShape(text, options.encoder); },
         "shape of a pixel where the picture is shown, each from 1 to 1000 (1:1). With another one "
         "the key frames are longer than the layout that clients cut at fixed places")
      ->type_name("W:H");
  app.add_option_function<double>(
         "--fps", [&options](double rate) { options.rate = av_d2q(rate, 1001000); },
         "frames a second, from 1 to 120 (25; a file keeps its own)")
      ->check(app::within(1, 120))
      ->type_name("RATE");
  addNumber(app, "--gop", options.encoder.gop, 1, 1000,
            "frames from one key frame to the next (25)");
  addNumber(app, "--bitrate", options.encoder.bitrate, 50'000, 100'000'000,
            "bits a second, from 50000 to 100000000 (one that suits size and rate)")
      ->type_name("BITS");
  addSeconds(app, "--seconds", options.loopSeconds, 0.04, 600,
             "length of the loop at most, up to 600 (drawn scene 4, file 10)");
  app.add_option("--cache", options.cache,
                 "keep encoded drawn scenes in this folder, and take them from there")
      ->type_name("FOLDER");
  app.add_flag("--sei", options.encoder.sei, "put a SEI unit into the key frames");
  app.add_flag("--audio", options.audio, "put audio packets between the fleet stream's frames");
  app.add_flag("--live", options.live,
               "play by the clock: every client sees the frame of this moment, and starts at the "
               "next key frame (else: at the loop's first)");
}

void addService(CLI::App& app, Options& options) {
  app.option_defaults()->group("Service");
  app.add_option("--bind", options.bind, "IPv4 address to listen on (127.0.0.1)")
      ->type_name("ADDRESS");
  const auto addPort = [&app](const char* name, int& port, const char* what) {
    addNumber(app, name, port, 0, 65535, fmt::format("port of the {} (0: any free one)", what))
        ->type_name("PORT");
  };
  addPort("--port", options.fleetPort, "fleet streams");
  addPort("--list-port", options.listPort, "device list");
  addPort("--relay-port", options.relayPort, "relay lookup");
  addPort("--car-port", options.carPort, "car streams");
  app.add_flag("--json", options.json, "print the ports as one JSON object instead of lines");
  app.add_option("--send-log", options.sendLog,
                 "write down here when clients came and pictures left")
      ->type_name("FILE");
  app.add_option_function<std::string>(
         "--devices", [&options](const std::string& text) { takeDevices(text, options); },
         "how many devices to announce, any being served (3), or a comma list: only these are "
         "served")
      ->type_name("N|ID,ID...");
  addNumber(app, "--channels", options.channels, 1, 100,
            "channels 0 to N-1 are served, at most 100 (8)");
}

void addReplies(CLI::App& app, Options& options) {
  app.option_defaults()->group("Replies");
  app.add_option("--reply-tag", options.replyTag,
                 "tag of the replies: 3GAPV103, 3GAPV104 or 3GAPV105 (3GAPV104)")
      ->check(app::oneOf("tag", {"3GAPV103", "3GAPV104", "3GAPV105"}))
      ->type_name("TAG");
  addNumber(app, "--garbage", options.garbage, 0, 1'000'000,
            "random bytes before the tag of a reply, at most 1000000 (0)");
  addNumber(app, "--items", options.items, 0, 100'000,
            "records in the list reply, at most 100000 (one for each device)");
  addNumber(app, "--item-len", options.itemLength, 280, 100'000,
            "bytes of a record, from 280 to 100000; what exceeds 280 is filled up (280)");
  addNumber(app, "--relay-extra", options.relayExtra, 0, 100'000,
            "bytes before the address in the relay reply, at most 100000 (0)");
  addNumber(app, "--gap", options.gap, 0, 1'000'000,
            "leave out every Nth frame of the car stream, key frames never (0: none)");
}

void addTrouble(CLI::App& app, Options& options) {
  app.option_defaults()->group("Trouble");
  app.add_option_function<std::string>(
         "--close",
         [&options](const std::string& how) {
           options.close = how == "reset" ? CloseStyle::Reset : CloseStyle::Order;
         },
         "how connections end: order or reset (order)")
      ->check(app::oneOf("end", {"order", "reset"}))
      ->type_name("HOW");
  addSeconds(app, "--drop-after", options.dropAfter, 0, 1e6,
             "end each stream after so many seconds (never)");
  addSeconds(app, "--stall-after", options.stallAfter, 0, 1e6,
             "fall silent in each stream after so many seconds (never)");
  app.add_option_function<std::vector<std::string>>(
         "--fault",
         [&options](const std::vector<std::string>& faults) {
           for (const std::string& fault : faults) options.faults.add(fault);
         },
         "make something go wrong (nothing), see below; may be given several times")
      ->allow_extra_args(false)
      ->type_name("FAULT");
  addNumber(app, "--fault-times", options.faults.times, 0, 1'000'000,
            "faults hit only the first N connections of a service (0: all)");
  addNumber(app, "--fault-sweep", options.faults.sweep, 0, 1'000'000,
            "close, reset and stall come a byte later with each connection of a service, at N "
            "places in turn (0: always at the same)");
  addNumber(app, "--seed", options.faults.seed, 0, std::numeric_limits<std::int64_t>::max(),
            "where the random bytes start (1): the same seed, the same bytes");
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
  app::useNarrowHelp(app);
  app.set_version_flag("--version", "quorvid-sim " QUORVID_SIM_VERSION);
  addSource(app, options);
  addService(app, options);
  addReplies(app, options);
  addTrouble(app, options);
  app.footer(faultHelp() +
             "\nIn brackets: what holds without the option, or without N.\n"
             "It serves until SIGINT or SIGTERM; a second one ends it at once.\n"
             "Example: quorvid-sim --port 5000 --devices TRUCK-7,BUS-2 --fault reset:fleet\n"
             "Exit status: 0 ended by a signal, 1 no port, file or encoder, 2 wrong arguments.");
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& wish) {
    app.exit(wish);
    return std::nullopt;
  } catch (const std::exception& refusal) {
    throw UsageError(app::sentenceOf(app, refusal));
  }
  return options;
}

}  // namespace quorvid::sim
