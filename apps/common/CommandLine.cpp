#include "apps/common/CommandLine.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <sstream>

#include "apps/common/Words.h"

namespace quorvid::app {

namespace {

using Words = std::vector<std::string>;

constexpr std::size_t kNameColumns = 28;
constexpr std::size_t kTextColumns = 52;

template <typename Number>
CLI::Validator numberWithin(Number least, Number most, const char* kind) {
  const auto refuse = [=](const std::string& text) -> std::string {
    Number value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error == std::errc() && stop == end && value >= least && value <= most) return {};
    return fmt::format("{} from {} to {} is needed, not '{}'", kind, least, most, text);
  };
  return {refuse, ""};
}

Words optionsOf(const CLI::App& command) {
  Words names;
  for (const CLI::Option* const option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

Words commandsOf(const CLI::App& program) {
  Words names;
  for (const CLI::App* const command : program.get_subcommands({})) {
    names.push_back(command->get_name());
  }
  return names;
}

// The first argument that nothing took, as far as it may be shown.
std::optional<std::string> unknownOption(const Words& extras, const Words& options) {
  for (const std::string& extra : extras) {
    if (!extra.starts_with('-') || extra.size() < 2) continue;
    const bool isLong = extra.starts_with("--") && extra.size() > 2;
    const std::string name = isLong ? extra.substr(0, extra.find('=')) : extra.substr(0, 2);
    const bool lacksHyphen =
        std::find(options.begin(), options.end(), "-" + extra) != options.end();
    const std::string meant = lacksHyphen ? "-" + extra : isLong ? nearestWord(name, options) : "";
    return fmt::format("unknown option '{}'{}", name,
                       meant.empty() ? "" : fmt::format(": did you mean '{}'?", meant));
  }
  return std::nullopt;
}

std::string unexpected(const CLI::App& program, const Words& extras) {
  const auto chosen = program.get_subcommands();
  const CLI::App& command = chosen.empty() ? program : *chosen.front();
  const Words commands = commandsOf(command);
  const Words options = optionsOf(command);
  if (!commands.empty() && !extras.front().starts_with('-')) {
    const std::string asOption = nearestWord(extras.front(), options);
    const bool isNear = !nearestWord(extras.front(), commands).empty() || asOption.empty();
    return unknownWord("command", extras.front(), isNear ? commands : options);
  }
  if (const auto sentence = unknownOption(extras, options)) return *sentence;
  const auto known = command.get_options();
  const bool hasPlain = std::any_of(known.begin(), known.end(),
                                    [](const auto* option) { return option->get_positional(); });
  return hasPlain ? "an argument too many: only the server stands without an option"
                  : "an argument too many: everything is told by options";
}

// "--device ID", or "the server (HOST:PORT)" for what stands without an option.
std::string shownName(const CLI::App& program, const std::string& name) {
  const auto chosen = program.get_subcommands();
  const CLI::App& command = chosen.empty() ? program : *chosen.front();
  const CLI::Option* const option = command.get_option_no_throw(name);
  if (option == nullptr) return name;
  const std::string type = option->get_type_name();
  return option->get_positional() ? fmt::format("the {} ({})", name, type) : name + " " + type;
}

class NarrowFormatter : public CLI::Formatter {
 public:
  NarrowFormatter() { column_width(kNameColumns); }
  std::string make_option_desc(const CLI::Option* option) const override {
    return narrow(Formatter::make_option_desc(option), kTextColumns);
  }
};

}  // namespace

CLI::Validator oneOf(const std::string& kind, const Words& words) {
  const auto refuse = [kind, words](const std::string& text) {
    const bool isThere = std::find(words.begin(), words.end(), text) != words.end();
    return isThere ? std::string() : unknownWord(kind, text, words);
  };
  return {refuse, ""};
}

CLI::Validator within(double least, double most) {
  return numberWithin(least, most, "a number");
}

CLI::Validator wholeWithin(std::int64_t least, std::int64_t most) {
  return numberWithin(least, most, "a whole number");
}

std::string sentenceOf(const CLI::App& program, const std::exception& refusal) {
  const Words extras = program.remaining(true);
  if (!extras.empty()) return unexpected(program, extras);
  std::string text = refusal.what();
  const std::string name = text.substr(0, text.find_first_of(": "));
  if (dynamic_cast<const CLI::RequiredError*>(&refusal) != nullptr) {
    const Words commands = commandsOf(program);
    const bool needsCommand = !commands.empty() && program.get_subcommands().empty();
    if (needsCommand) return fmt::format("a command is needed: {}", fmt::join(commands, ", "));
    return shownName(program, name) + " is needed";
  }
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&refusal) != nullptr) {
    const bool isMany = text.find("At Most") != std::string::npos;
    return isMany ? name + " can be given once only"
                  : name + " needs its value: " + shownName(program, name);
  }
  return text;
}

std::string narrow(const std::string& text, std::size_t columns, std::size_t indent) {
  std::istringstream words(text);
  std::string lines;
  std::size_t length = 0;
  for (std::string word; words >> word; length += word.size()) {
    const bool breaks = length > 0 && length + 1 + word.size() > columns;
    if (breaks) lines += "\n" + std::string(indent, ' ');
    if (length > 0 && !breaks) lines += ' ';
    length = breaks ? 0 : length + (length > 0 ? 1 : 0);
    lines += word;
  }
  return lines;
}

void useNarrowHelp(CLI::App& program) {
  program.formatter(std::make_shared<NarrowFormatter>());
}

}  // namespace quorvid::app
