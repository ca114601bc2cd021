// The commands of `quorvid`. Each adds itself and its options to the program; the one that the user
// names puts what is to be done into `chosen`.
#pragma once

#include <functional>
#include <memory>

#include "apps/common/Options.h"

namespace quorvid::app {

// Yields the exit status: 0 done, 1 not what was asked for. What can't be done at all is a Failure.
using ChosenCommand = std::function<int()>;

// What all of them do: Options declare themselves by addTo(), are checked by complete(), and given
// to `run` once the whole command line was understood.
template <typename Options>
void addCommand(CLI::App& program, ChosenCommand& chosen, const char* name, const char* purpose,
                int (*run)(const Options&)) {
  CLI::App* const command = program.add_subcommand(name, purpose);
  const auto options = std::make_shared<Options>();
  options->addTo(*command);
  command->set_version_flag("--version", "quorvid " QUORVID_APP_VERSION);
  command->callback([options, run, &chosen] {
    options->complete();
    chosen = [options, run] { return run(*options); };
  });
}

void addViewCommand(CLI::App& program, ChosenCommand& chosen);
void addListCommand(CLI::App& program, ChosenCommand& chosen);
void addGpsCommand(CLI::App& program, ChosenCommand& chosen);
void addRecordCommand(CLI::App& program, ChosenCommand& chosen);
void addProbeCommand(CLI::App& program, ChosenCommand& chosen);

}  // namespace quorvid::app
