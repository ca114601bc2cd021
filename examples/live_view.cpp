// The least a host does: a window with one live view. Usage: live_view HOST PORT DEVICE
#include <cstdlib>

#include "quorvid/platform/Window.h"
#include "quorvid/session/UIFleetLiveView.h"

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  auto window = quorvid::Window::open({"Live view", 960, 720});
  if (!window) return 1;
  auto view = quorvid::UIFleetLiveView::initWithFrame(window->contentView()->bounds());
  if (!view) return 1;
  view->setConnectionParm(argv[1], std::atoi(argv[2]), 0, "", "", argv[3]);
  window->contentView()->addSubview(view);
  view->playVideo();
  window->run();  // until the window is closed
  view->stopVideo();
}
