// DiagnosisPane: what an examination of a camera's stream finds, step by step, to be copied into a
// ticket. Main thread; `quorvid probe` is a process of its own.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/desk/diagnosis/Probe.h"
#include "apps/desk/model/Desk.h"
#include "apps/desk/toolkit/Task.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class DiagnosisPane {
 public:
  explicit DiagnosisPane(Desk& desk);
  GtkWidget* widget() const { return ui_.get("pane"); }

 private:
  void listDevices();
  void listCameras();
  void choose(const Camera& camera);
  std::optional<Camera> chosen() const;
  void examine(const Camera& camera);
  void take(const Probe::Outcome& outcome);
  void show(const ProbeReport& report);
  void showVerdict(const std::string& title, const std::string& text, const char* icon,
                   const char* style);
  void addRow(const char* list, GtkWidget* row);
  void clear();
  void showButtons();

  Desk& desk_;
  Ui ui_{"DiagnosisPane"};
  std::vector<std::string> ids_;     // of the devices as they are listed
  std::string extra_;                // a device that was asked for and that no list names
  std::optional<Camera> next_;       // to be examined when the one under way has ended
  LiveTarget target_;                // of the last examination
  std::optional<ProbeReport> told_;  // what the ticket says
  Probe probe_;
};

}  // namespace quorvid::desk
