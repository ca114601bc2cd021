// quorvid: shows, lists, records and examines live streams of vehicle cameras.
#include "apps/common/Commands.h"
#include "apps/common/Failure.h"
#include "apps/common/Process.h"
#include "apps/common/Terminal.h"

namespace quorvid::app {
namespace {

constexpr int kWrongArguments = 2;  // exit status

// What was not expected, without the value that came with it: it may be a password.
std::string unexpected(const std::vector<std::string>& arguments) {
  for (const std::string& argument : arguments) {
    if (argument.starts_with("--") && argument.size() > 2) {
      return "there is no option " + argument.substr(0, argument.find('='));
    }
  }
  for (const std::string& argument : arguments) {
    if (argument.starts_with("-") && argument.size() > 1) {
      return "there is no option " + argument.substr(0, 2);
    }
  }
  return "an argument too many: only the server stands without an option";
}

int run(int argc, char** argv) {
  CLI::App program("Live H.264 video from vehicle cameras.", "quorvid");
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
    return program.exit(wish);
  } catch (const CLI::RequiredError& error) {
    throw Failure(error.what(), kWrongArguments);
  } catch (const std::exception& refusal) {
    // An unknown option goes first: what follows it may have been taken for another's value.
    const std::vector<std::string> extras = program.remaining(true);
    throw Failure(extras.empty() ? refusal.what() : unexpected(extras), kWrongArguments);
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
  } catch (const Failure& failure) {
    note(failure.what());
    status = failure.status();
  } catch (const std::exception& error) {
    note(error.what());
  }
  return endProcess(status);
}
