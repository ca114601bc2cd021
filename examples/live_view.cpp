// A live view in a window of its own: live_view HOST PORT DEVICE CHANNEL
#include <cstdlib>
#include <iostream>

#include "quorvid/session/UIFleetLiveView.h"
#include "quorvid/view/Window.h"

int main(int argc, char** argv) {
  if (argc != 5) return std::cerr << "usage: live_view HOST PORT DEVICE CHANNEL\n", 2;
  std::string error;
  const auto window = quorvid::Window::open({"Live view", 960, 720}, &error);
  if (!window) return std::cerr << error << '\n', 1;
  const auto view = quorvid::UIFleetLiveView::initWithFrame(window->contentView()->bounds());
  if (!view) return std::cerr << "no live view could be made\n", 1;
  window->contentView()->addSubview(view);
  view->setConnectionParm(argv[1], std::atoi(argv[2]), std::atoi(argv[4]), "", "", argv[3]);
  view->playVideo();
  window->run();
  view->stopVideo();
}
