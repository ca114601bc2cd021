#include "apps/common/Commands.h"

#include <cstdio>

#include "apps/common/PasswordFile.h"
#include "apps/common/TerminalText.h"

namespace quorvid::app {

namespace {

void addPasswordFile(CLI::App& command, std::string& fileName) {
  command
      .add_option("--password-file", fileName,
                  "file whose first line is the password, open to its owner alone (chmod 600), or "
                  "a pipe: <(pass show truck)")
      ->type_name("FILE");
}

}  // namespace

void TargetOptions::addTo(CLI::App& command) {
  command.add_option("server", server, "the server as HOST:PORT")
      ->required()
      ->type_name("HOST:PORT");
  command.add_option("--device", device, "device identifier, at most 31 bytes (car paths: 63)")
      ->required()
      ->type_name("ID");
  command.add_option("--account", account, "account, at most 31 bytes (car paths: 22)")
      ->type_name("NAME");
  addPasswordFile(command, passwordFile);
  command.add_option("--path", path, "fleet (the default), car, or relay (a lookup server)")
      ->type_name("PATH");
}

StreamTarget TargetOptions::target() const {
  StreamTarget target;
  target.server = parseEndpoint(server);
  target.path = parsePath(path);
  target.device = device;
  target.channel = parseChannels(channels).front();
  target.account = account;
  requireFits(target);
  target.password = readPassword(passwordFile);
  return target;
}

void requireOneChannel(const TargetOptions& options) {
  if (parseChannels(options.channels).size() > 1) {
    throw UsageError("this command takes one channel, not " + options.channels);
  }
}

void AccountOptions::addTo(CLI::App& command) {
  command.add_option("server", server, "the server as HOST:PORT")
      ->required()
      ->type_name("HOST:PORT");
  command.add_option("--account", account, "account, at most 31 bytes")
      ->required()
      ->type_name("NAME");
  addPasswordFile(command, passwordFile);
}

AccountTarget AccountOptions::target() const {
  AccountTarget target{parseEndpoint(server), account, {}};
  requireFits(target);
  target.password = readPassword(passwordFile);
  return target;
}

void note(const std::string& sentence) {
  std::fprintf(stderr, "quorvid: %s\n", visibleText(sentence).c_str());
}

int failed(const std::string& sentence) {
  note(sentence);
  return 1;
}

}  // namespace quorvid::app
