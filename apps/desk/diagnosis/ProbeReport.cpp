#include "apps/desk/diagnosis/ProbeReport.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

namespace {

using Json = nlohmann::json;

constexpr std::size_t kMostSteps = 100;
constexpr std::size_t kMostProblems = 50;

std::string textIn(const Json& object, const char* key) {
  const auto found = object.find(key);
  return found != object.end() && found->is_string() ? visible(found->get<std::string>()) : "";
}

std::optional<double> numberIn(const Json& object, const char* key) {
  const auto found = object.find(key);
  if (found == object.end() || !found->is_number()) return std::nullopt;
  return found->get<double>();
}

std::string titleOf(const std::string& step) {
  static constexpr const char* kTitles[][2] = {{"resolved", N_("Server Name Looked Up")},
                                               {"connected", N_("Connected")},
                                               {"request", N_("Camera Asked For")},
                                               {"answer", N_("Server Answered")},
                                               {"frame", N_("First Frame Came")},
                                               {"key frame", N_("First Key Frame Came")},
                                               {"failed", N_("Failed")}};
  for (const auto& [name, title] : kTitles) {
    if (step == name) return tr(title);
  }
  return step;
}

std::vector<ProbeReport::Step> stepsIn(const Json& json) {
  std::vector<ProbeReport::Step> steps;
  const auto list = json.find("steps");
  if (list == json.end() || !list->is_array()) return steps;
  for (const Json& step : *list) {
    if (!step.is_object() || steps.size() == kMostSteps) continue;
    const std::string name = textIn(step, "step");
    steps.push_back({numberIn(step, "seconds").value_or(0), titleOf(name), textIn(step, "text"),
                     name != "failed"});
  }
  return steps;
}

std::vector<ProbeReport::Figure> figuresIn(const Json& json) {
  std::vector<ProbeReport::Figure> rows;
  const auto figures = json.find("figures");
  if (figures == json.end() || !figures->is_object()) return rows;
  const auto add = [&](const char* key, const char* title, const char* text, double unit = 1) {
    if (const auto value = numberIn(*figures, key)) {
      rows.push_back({tr(title), trf(text, *value / unit)});
    }
  };
  const auto size = figures->find("stream_size");
  if (size != figures->end() && size->is_object()) {
    rows.push_back(
        {tr(N_("Picture Size")), fmt::format("{}×{}", numberIn(*size, "width").value_or(0),
                                             numberIn(*size, "height").value_or(0))});
  }
  add("frames", N_("Frames"), N_("{:.0f}"));
  add("measured_seconds", N_("Measured For"), N_("{:.1f} s"));
  add("frames_per_second", N_("Frame Rate"), N_("{:.1f} frames/s"));
  add("bits_per_second", N_("Bit Rate"), N_("{:.2f} Mbit/s"), 1e6);
  add("key_frames", N_("Key Frames"), N_("{:.0f}"));
  add("key_frame_interval_seconds", N_("Between Key Frames"), N_("{:.1f} s"));
  add("longest_pause_seconds", N_("Longest Pause"), N_("{:.2f} s"));
  add("largest_frame_bytes", N_("Largest Frame"), N_("{:.1f} kB"), 1e3);
  // Those that are only worth a row when there were any.
  const auto addAny = [&](const char* key, const char* title) {
    if (numberIn(*figures, key).value_or(0) > 0) add(key, title, N_("{:.0f}"));
  };
  addAny("frames_out_of_sequence", N_("Frames Out of Sequence"));
  addAny("frames_without_start_code", N_("Frames Without a Start Code"));
  addAny("size_changes", N_("Changes of Size"));
  addAny("stray_bytes", N_("Stray Bytes"));
  addAny("audio_packets", N_("Audio Packets"));
  return rows;
}

}  // namespace

std::string visible(const std::string& text, std::size_t most) {
  const std::size_t bytes = std::min(text.size(), 4 * most);
  const std::string valid = taken(g_utf8_make_valid(text.c_str(), static_cast<gssize>(bytes)));
  std::string shown;
  std::size_t count = 0;
  for (const char* sign = valid.c_str(); *sign != '\0' && count < most; ++count) {
    const char* const next = g_utf8_next_char(sign);
    const bool shows = g_unichar_isprint(g_utf8_get_char(sign)) != 0;
    shown += shows ? std::string(sign, static_cast<std::size_t>(next - sign)) : " ";
    sign = next;
  }
  return shown;
}

std::optional<ProbeReport> parseProbeReport(const std::string& text) {
  const Json json = Json::parse(text, nullptr, false);
  if (!json.is_object()) return std::nullopt;
  ProbeReport report;
  const std::string verdict = textIn(json, "verdict");
  if (verdict.empty()) return std::nullopt;
  report.verdict = verdict == "OK"        ? ProbeReport::Verdict::Ok
                   : verdict == "PROBLEM" ? ProbeReport::Verdict::Problem
                                          : ProbeReport::Verdict::Failed;
  const auto problems = json.find("problems");
  if (problems != json.end() && problems->is_array()) {
    for (const Json& problem : *problems) {
      if (!problem.is_string() || report.problems.size() == kMostProblems) continue;
      report.problems.push_back(visible(problem.get<std::string>()));
    }
  }
  report.steps = stepsIn(json);
  report.figures = figuresIn(json);
  report.time = textIn(json, "time");
  report.version = textIn(json, "version");
  return report;
}

std::string headlineOf(ProbeReport::Verdict verdict) {
  switch (verdict) {
    case ProbeReport::Verdict::Ok:
      return tr("OK: The Stream Is Fine");
    case ProbeReport::Verdict::Problem:
      return tr("Problem: The Stream Comes, With Trouble");
    case ProbeReport::Verdict::Failed:
      return tr("Failed: No Picture Comes");
    default:
      return tr("No Result: The Examination Did Not Finish");
  }
}

std::string ticketOf(const LiveTarget& target, const ProbeReport& report) {
  static constexpr const char* kPaths[] = {"fleet", "car", "relay"};
  std::string text = tr("Examination of a camera");
  const auto add = [&text](const char* title, const std::string& value) {
    text += fmt::format("\n{}: {}", tr(title), value);
  };
  add(N_("Date"), report.time);
  add(N_("Server"), fmt::format("{}:{}", visible(target.host), target.port));
  add(N_("Path"), kPaths[static_cast<int>(target.path) % 3]);
  add(N_("Device"), visible(target.device));
  add(N_("Channel"), trf("{} (camera {})", target.channel, target.channel + 1));
  add(N_("Verdict"), headlineOf(report.verdict));
  for (const std::string& problem : report.problems) text += "\n  - " + problem;
  if (!report.steps.empty()) add(N_("Steps"), "");
  for (const ProbeReport::Step& step : report.steps) {
    text += fmt::format("\n  {:7.3f} s  {}: {}", step.seconds, step.title, step.text);
  }
  if (!report.figures.empty()) add(N_("Figures"), "");
  for (const auto& [title, value] : report.figures) text += fmt::format("\n  {}: {}", title, value);
  if (!report.version.empty()) add(N_("Program"), "quorvid " + report.version);
  return text + "\n";
}

}  // namespace quorvid::desk
