// quorvid: shows, lists, records and examines live streams of vehicle cameras.
#include <iostream>

#include "apps/common/CommandLine.h"
#include "apps/common/Commands.h"
#include "apps/common/Failure.h"
#include "apps/common/Output.h"
#include "apps/common/Process.h"
#include "apps/common/Terminal.h"

namespace quorvid::app {
namespace {

constexpr int kWrongArguments = 2;  // exit status

int run(int argc, char** argv) {
  CLI::App program("Live H.264 video from vehicle cameras.", "quorvid");
  program.footer(
      "`quorvid COMMAND --help` lists a command's options.\n"
      "Example: quorvid view 192.0.2.7:5000 --device TRUCK-7\n"
      "Exit status: 0 done, 1 not what was asked for, 2 wrong arguments; a command's help has "
      "more.");
  useNarrowHelp(program);
  program.require_subcommand(1);
  program.set_version_flag("--version", "quorvid " QUORVID_APP_VERSION);
  ChosenCommand chosen;
  addViewCommand(program, chosen);
  addListCommand(program, chosen);
  addGpsCommand(program, chosen);
  addRecordCommand(program, chosen);
  addProbeCommand(program, chosen);
  try {
    program.parse(argc, argv);
  } catch (const CLI::Success& wish) {  // help or version
    program.exit(wish);
    if (!std::cout.flush()) throw Failure("can't write to standard output");
    return 0;
  } catch (const std::exception& refusal) {
    throw Failure(sentenceOf(program, refusal), kWrongArguments);
  }
  catchStopSignals();
  return chosen();
}

}  // namespace
}  // namespace quorvid::app

int main(int argc, char** argv) {
  using namespace quorvid::app;
  int status = 1;
  try {
    openStandardDescriptors();
    status = run(argc, argv);
  } catch (const OutputClosed&) {
    endByClosedPipe();
  } catch (const Failure& failure) {
    note(failure.what());
    status = failure.status();
  } catch (const std::exception& error) {
    note(error.what());
  }
  return endProcess(status);
}
