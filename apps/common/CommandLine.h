// CommandLine: what the programs share in reading theirs: values checked in words, help that fits a
// terminal. Main thread.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>
#include <vector>

namespace quorvid::app {

// Takes one of these words only. kind: what they are called.
CLI::Validator oneOf(const std::string& kind, const std::vector<std::string>& words);
// Takes a plain decimal number within bounds only: no sign of its own, blank, or "nan".
CLI::Validator within(double least, double most);
CLI::Validator wholeWithin(std::int64_t least, std::int64_t most);

// Why the command line was not taken. Whatever the refusal is, an unknown command or option goes
// first: what follows it may have been taken for another's value. Its own value is not shown: it
// may be a password.
std::string sentenceOf(const CLI::App& program, const std::exception& refusal);

// Text in lines of so many columns at most; blanks stand before each but the first.
std::string narrow(const std::string& text, std::size_t columns, std::size_t indent = 0);
// For the program and the commands made after it: lines of 80 columns at most.
void useNarrowHelp(CLI::App& program);

}  // namespace quorvid::app
