#include <csignal>
#include <iostream>

#include "sim/Error.h"
#include "sim/Options.h"
#include "sim/Simulator.h"

namespace {

// The media libraries write on standard error what the sentences of this program already say.
void quietMedia() {
  av_log_set_level(AV_LOG_QUIET);
}

void serve(const quorvid::sim::Options& options) {
  quorvid::sim::Simulator simulator(options);
  std::cout << simulator.portLines() << std::flush;
  simulator.run();
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  quietMedia();
  try {
    const auto options = quorvid::sim::parseOptions(argc, argv);
    if (options) serve(*options);
    return 0;
  } catch (const quorvid::sim::UsageError& error) {
    std::cerr << "quorvid-sim: " << error.what() << "\n";
    return 2;
  } catch (const std::exception& error) {
    std::cerr << "quorvid-sim: " << error.what() << "\n";
    return 1;
  }
}
