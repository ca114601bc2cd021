// Probe: `quorvid probe` as a process of its own that ends with this one, and what it finds. Main
// thread; nobody waits.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "apps/desk/diagnosis/ProbeReport.h"
#include "apps/desk/toolkit/Task.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class Probe {
 public:
  Probe() = default;
  // Ends it; nobody is told.
  ~Probe();
  Probe(const Probe&) = delete;
  Probe& operator=(const Probe&) = delete;

  struct Outcome {
    std::optional<ProbeReport> report;
    std::string trouble;  // why there is none
  };
  using Done = std::function<void(const Outcome& outcome)>;
  // One at a time: false where one is under way. The password goes through a pipe. `done` may be
  // called before this returns.
  bool start(const LiveTarget& target, Done done);
  bool isRunning() const { return process_ != nullptr; }
  // `done` is told once it has ended.
  void cancel();

 private:
  void finish(const std::string& output, const std::string& errors);
  std::string troubleOf(const std::string& errors) const;
  void endBecause(const char* why);

  ObjectPtr<GSubprocess> process_;
  Done done_;
  const char* whyEnded_ = nullptr;  // by us
  Source patience_;
  Life life_;
};

}  // namespace quorvid::desk
