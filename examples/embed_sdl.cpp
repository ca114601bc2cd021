// A host that owns its window and its GL context, and shows two live views inside its own drawing.
//
//   embed_sdl HOST:PORT DEVICE [--headless] [--seconds N] [--snapshot FILE.bmp]
//
// The window shows channels 0 and 1 of the device side by side over a background with a moving bar,
// which the host draws. --headless runs without a display, --seconds ends by itself, --snapshot
// writes the last picture of the window.
#include <SDL.h>
#include <SDL_opengles2.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "quorvid/live/LiveView.h"
#include "quorvid/view/ViewHost.h"

namespace {

struct Options {
  std::string host, device, snapshot;
  int port = 0;
  bool headless = false;
  double seconds = 0;  // 0: until the window is closed
};

struct Size {
  int width, height;
};

constexpr int kGap = 20;       // points around the views
constexpr Uint32 kFrame = 16;  // ms

bool parse(int argc, char** argv, Options& options) {
  const std::string server = argc > 2 ? argv[1] : "";
  const std::size_t colon = server.rfind(':');
  if (colon == std::string::npos) return false;
  options.host = server.substr(0, colon);
  options.port = std::atoi(server.c_str() + colon + 1);  // NOLINT(cert-err34-c): 0 is refused
  options.device = argv[2];
  for (int i = 3; i < argc; ++i) {
    if (std::strcmp(argv[i], "--headless") == 0) {
      options.headless = true;
    } else if (std::strcmp(argv[i], "--seconds") == 0 && i + 1 < argc) {
      options.seconds = std::atof(argv[++i]);  // NOLINT(cert-err34-c)
    } else if (std::strcmp(argv[i], "--snapshot") == 0 && i + 1 < argc) {
      options.snapshot = argv[++i];
    } else {
      return false;
    }
  }
  return true;
}

// EGL on X11 too: views and window then share what they draw, without a copy through memory.
SDL_Window* openWindow(bool headless) {
  SDL_SetHint(SDL_HINT_VIDEO_X11_FORCE_EGL, "1");
  if (headless) SDL_SetHint(SDL_HINT_VIDEODRIVER, "offscreen");
  if (SDL_Init(SDL_INIT_VIDEO) != 0) return nullptr;
  SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_ES);
  SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, 3);
  SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, 0);
  return SDL_CreateWindow("A host of two views", SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED,
                          860, 360,
                          SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI);
}

std::shared_ptr<quorvid::LiveView> addView(quorvid::ViewHost& views, const Options& options,
                                           int channel, Size window) {
  const double width = (window.width - 3.0 * kGap) / 2;
  const double height = window.height - 2.0 * kGap;
  auto view = quorvid::LiveView::initWithFrame(
      quorvid::CGRectMake(kGap + channel * (width + kGap), kGap, width, height));
  if (view == nullptr) return nullptr;
  views.contentView()->addSubview(view);
  view->setStatusHandler([channel](const quorvid::LiveStatus& status) {
    std::fprintf(stderr, "Channel %d: %s %s\n", channel, nameOf(status.state),
                 status.sentence.c_str());
  });
  quorvid::LiveTarget target;
  target.host = options.host;
  target.port = options.port;
  target.device = options.device;
  target.channel = channel;
  view->connect(target);
  return view;
}

// What the host draws by itself: a background and a bar that moves along the lower edge.
void drawBackground(Size pixels, double seconds) {
  glViewport(0, 0, pixels.width, pixels.height);
  glClearColor(0.10F, 0.20F, 0.35F, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  const double turns = seconds / 4 - static_cast<int>(seconds / 4);
  glEnable(GL_SCISSOR_TEST);
  glScissor(static_cast<int>(turns * pixels.width), 0, pixels.width / 8, kGap / 2);
  glClearColor(0.95F, 0.60F, 0.10F, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  glDisable(GL_SCISSOR_TEST);
}

bool save(const std::string& path, Size size) {
  std::vector<Uint32> pixels(static_cast<std::size_t>(size.width) *
                             static_cast<std::size_t>(size.height));
  glReadPixels(0, 0, size.width, size.height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
  SDL_Surface* surface =
      SDL_CreateRGBSurfaceWithFormat(0, size.width, size.height, 32, SDL_PIXELFORMAT_RGBA32);
  if (surface == nullptr) return false;
  for (int row = 0; row < size.height; ++row) {  // OpenGL counts rows from the bottom
    std::memcpy(static_cast<char*>(surface->pixels) + row * surface->pitch,
                pixels.data() + static_cast<std::size_t>(size.height - 1 - row) *
                                    static_cast<std::size_t>(size.width),
                static_cast<std::size_t>(size.width) * 4);
  }
  const bool saved = SDL_SaveBMP(surface, path.c_str()) == 0;
  SDL_FreeSurface(surface);
  return saved;
}

bool wantsToQuit() {
  SDL_Event event;
  bool quit = false;
  while (SDL_PollEvent(&event) != 0) {
    quit = quit || event.type == SDL_QUIT;
  }
  return quit;
}

int show(SDL_Window* window, const Options& options) {
  auto views = quorvid::ViewHost::create();
  Size points{}, pixels{};
  SDL_GetWindowSize(window, &points.width, &points.height);
  SDL_GL_GetDrawableSize(window, &pixels.width, &pixels.height);
  views->resize(points.width, points.height, static_cast<double>(pixels.width) / points.width);
  std::vector<std::shared_ptr<quorvid::LiveView>> live;
  for (const int channel : {0, 1}) {
    live.push_back(addView(*views, options, channel, points));
    if (live.back() == nullptr) {
      std::fprintf(stderr, "A view can't be made.\n");
      return 1;
    }
  }

  const Uint64 begin = SDL_GetTicks64();
  bool running = true;
  while (running) {
    SDL_Delay(kFrame);
    views->refresh();
    const double seconds = static_cast<double>(SDL_GetTicks64() - begin) / 1000;
    running = !wantsToQuit() && (options.seconds <= 0 || seconds < options.seconds);
    SDL_GL_GetDrawableSize(window, &pixels.width, &pixels.height);
    drawBackground(pixels, seconds);
    running = views->composite(0, 0, pixels.width, pixels.height) && running;
    if (!running && !options.snapshot.empty() && !save(options.snapshot, pixels)) {
      std::fprintf(stderr, "%s can't be written: %s\n", options.snapshot.c_str(), SDL_GetError());
    }
    SDL_GL_SwapWindow(window);
  }

  bool allShown = true;
  for (const auto& view : live) {
    allShown = allShown && view->figures().shown > 0;
  }
  views->release();
  std::fprintf(stderr, "%s\n", allShown ? "Both views showed pictures." : "A view stayed empty.");
  return allShown ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parse(argc, argv, options)) {
    std::fprintf(stderr,
                 "Usage: %s HOST:PORT DEVICE [--headless] [--seconds N] [--snapshot FILE.bmp]\n",
                 argv[0]);
    return 2;
  }
  SDL_Window* window = openWindow(options.headless);
  SDL_GLContext context = window == nullptr ? nullptr : SDL_GL_CreateContext(window);
  int status = 1;
  if (context == nullptr) {
    std::fprintf(stderr, "No window: %s\n", SDL_GetError());
  } else {
    status = show(window, options);
    SDL_GL_DeleteContext(context);
  }
  SDL_DestroyWindow(window);
  SDL_Quit();
  return status;
}
