// quorvid: shows, lists, records and examines live streams of vehicle cameras.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "apps/common/Commands.h"

namespace {

// A process started without standard descriptors would otherwise get its sockets there.
void openStandardDescriptors() {
  int fd = 0;
  do {
    fd = open("/dev/null", O_RDWR);
  } while (fd >= 0 && fd <= STDERR_FILENO);
  if (fd >= 0) close(fd);
}

int usage(const std::string& sentence) {
  quorvid::app::note(sentence);
  return 2;
}

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
  using namespace quorvid::app;
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
    return chosen();
  } catch (const CLI::Success& wish) {  // help or version
    return program.exit(wish);
  } catch (const CLI::ExtrasError&) {
    return usage(unexpected(program.remaining(true)));
  } catch (const CLI::ParseError& error) {
    return usage(error.what());
  } catch (const UsageError& error) {
    return usage(error.what());
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    openStandardDescriptors();
    return run(argc, argv);
  } catch (const std::exception& error) {
    quorvid::app::note(error.what());
  } catch (...) {
    std::fputs("quorvid: an error of unknown kind\n", stderr);
  }
  return 1;
}
