// fault_views PATH HOST PORT VIEWS: so many live views without a window, until SIGINT, for
// scripts/faults.sh. Each change of a state is a line, the last one tells how many pictures were
// shown, all together. Exit status 1 without any.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "base/Clock.h"
#include "quorvid/live/LiveView.h"
#include "quorvid/view/RunLoop.h"

namespace {

volatile std::sig_atomic_t isStopped = 0;

int play(const quorvid::LiveTarget& target, int count) {
  std::vector<std::shared_ptr<quorvid::LiveView>> views;
  for (int i = 0; i < count; ++i) {
    views.push_back(quorvid::LiveView::initWithFrame({{0, 0}, {160, 120}}));
    if (views.back() == nullptr) return std::fprintf(stderr, "no live view could be made\n"), 2;
    views.back()->setStatusHandler([](const quorvid::LiveStatus& status) {
      std::printf("%s (%s)\n", nameOf(status.state), status.sentence.c_str());
    });
    views.back()->connect(target);
  }
  while (isStopped == 0) {
    quorvid::RunLoop::currentRunLoop()->refresh();
    quorvid::sleepForTimeInterval(0.004);
  }
  unsigned long long shown = 0;
  for (const auto& view : views) shown += view->figures().shown;
  std::printf("received %llu\n", shown);
  return shown > 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) return std::fprintf(stderr, "usage: fault_views PATH HOST PORT VIEWS\n"), 2;
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  std::signal(SIGINT, [](int) { isStopped = 1; });
  quorvid::LiveTarget target;
  target.path = std::strcmp(argv[1], "car") == 0     ? quorvid::LivePath::Car
                : std::strcmp(argv[1], "relay") == 0 ? quorvid::LivePath::Relay
                                                     : quorvid::LivePath::Fleet;
  target.host = argv[2];
  target.port = std::atoi(argv[3]);  // NOLINT(cert-err34-c): 0 is refused
  target.device = "BUS-1";
  return play(target, std::atoi(argv[4]));  // NOLINT(cert-err34-c)
}
