// A live view in a window of its own: live_view HOST PORT DEVICE CHANNEL
#include <cstdlib>
#include <iostream>

#include "quorvid/live/LiveView.h"
#include "quorvid/view/Window.h"

int main(int argc, char** argv) {
  if (argc != 5) return std::cerr << "usage: live_view HOST PORT DEVICE CHANNEL\n", 2;
  std::string error;
  const auto window = quorvid::Window::open({"Live view", 960, 720}, &error);
  if (!window) return std::cerr << error << '\n', 1;
  const auto view = quorvid::LiveView::initWithFrame(window->contentView()->bounds());
  if (!view) return std::cerr << "no live view could be made\n", 1;
  window->contentView()->addSubview(view);
  window->setEventHandler(
      [&](const quorvid::WindowEvent&) { view->setFrame(window->contentView()->bounds()); });
  view->setStatusHandler([](const quorvid::LiveStatus& status) {
    std::cerr << nameOf(status.state) << ' ' << status.sentence << '\n';
  });
  quorvid::LiveTarget target;
  target.host = argv[1];
  target.port = std::atoi(argv[2]);
  target.device = argv[3];
  target.channel = std::atoi(argv[4]);
  view->connect(target);
  window->run();
}
