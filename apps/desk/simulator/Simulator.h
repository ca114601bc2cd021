// Simulator: the bundled server with its drawn vehicles, a process of its own that ends with the
// program, however that ends. Main thread; nobody waits.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "apps/desk/model/Server.h"
#include "apps/desk/toolkit/Task.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

// The program of that name beside this one, or else its bare name, to be found in the search path.
std::string programBeside(const std::string& name);
// A launcher whose processes are asked to end when this one has gone.
ObjectPtr<GSubprocessLauncher> launcherOfCompanions(GSubprocessFlags flags);

class Simulator {
 public:
  // extra: further options of its command line.
  explicit Simulator(std::vector<std::string> extra = {}) : extra_(std::move(extra)) {}
  // Ends it.
  ~Simulator();
  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;

  // Starts it if it doesn't run, or no longer, and tells the ports that it has, or the sentence why
  // there are none. Each one who asks is told once, maybe before this returns.
  struct Ports {
    int list = 0;
    int fleet = 0;
  };
  using Started = std::function<void(const Ports& ports, const std::string& trouble)>;
  void start(Started started);

 private:
  void takeLine(const std::string& line);
  void tell(const Ports& ports, const std::string& trouble);
  void forget();

  std::vector<std::string> extra_;
  std::vector<Started> waiting_;
  Ports ports_;
  ObjectPtr<GSubprocess> process_;
  ObjectPtr<GDataInputStream> output_;
  Life life_;  // of the process
};

}  // namespace quorvid::desk
