// ProbeReport: what `quorvid probe --json` found, as the rows and the text that show it. Plain
// values; the texts in it may come from a server.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quorvid/live/LiveStatus.h"

namespace quorvid::desk {

struct ProbeReport {
  enum class Verdict { Ok, Problem, Failed, None };
  struct Step {
    double seconds = 0;  // since the start
    std::string title;   // what was done
    std::string text;    // what came of it
    bool isGood = true;
  };
  struct Figure {
    std::string title;
    std::string text;
  };
  Verdict verdict = Verdict::None;    // it did not come to its end
  std::vector<std::string> problems;  // a sentence each
  std::vector<Step> steps;
  std::vector<Figure> figures;  // none where no frame came
  std::string time;             // UTC
  std::string version;          // of the program
};

// Nothing when that is no such report; what is missing in one, or of a wrong type, is left out.
std::optional<ProbeReport> parseProbeReport(const std::string& json);

// A short headline: "The picture is fine".
std::string headlineOf(ProbeReport::Verdict verdict);

// For people elsewhere, who read it later; without the password.
std::string ticketOf(const LiveTarget& target, const ProbeReport& report);

// Valid text without control characters, of so many characters at most.
std::string visible(const std::string& text, std::size_t most = 500);

}  // namespace quorvid::desk
