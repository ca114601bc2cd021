// Four live views in an OpenGL window of SDL 2: embed_sdl HOST PORT DEVICE [SECONDS]
//
// Shows channels 0 to 3 of the device, each with its state written over it. With SECONDS it ends by
// itself, with status 0 if every view showed a picture.
#include <SDL.h>
#include <cairo.h>
#include <epoxy/gl.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include "quorvid/live/LiveView.h"
#include "quorvid/view/ViewHost.h"

namespace {

constexpr int kGap = 4;  // points around each picture

struct Tile {
  std::shared_ptr<quorvid::LiveView> view;
  std::string text;
};

struct Player {
  SDL_Window* window = nullptr;
  std::unique_ptr<quorvid::ViewHost> host = quorvid::ViewHost::create();
  std::array<Tile, 4> tiles;  // by channel
  bool changed = true;
};

bool addView(Player& player, const quorvid::LiveTarget& target, Uint32 wakeEvent) {
  Tile& tile = player.tiles[target.channel];
  tile.view = quorvid::LiveView::initWithFrame(quorvid::CGRectMake(0, 0, 320, 240));
  if (tile.view == nullptr) return false;
  player.host->contentView()->addSubview(tile.view);
  tile.view->setStatusHandler([&, channel = target.channel](const quorvid::LiveStatus& status) {
    tile.text = "Channel " + std::to_string(channel) + ": " + nameOf(status.state);
    if (!status.sentence.empty()) tile.text += ", " + status.sentence;
    player.changed = true;
  });
  tile.view->setWakeHandler([wakeEvent] {
    SDL_Event event{};
    event.type = wakeEvent;
    SDL_PushEvent(&event);
  });
  tile.view->connect(target);
  return true;
}

// A bar with text, its top left corner at x and y pixels from that of the framebuffer.
void drawText(const std::string& text, int x, int y, int width, double scale, int windowHeight) {
  const int height = static_cast<int>(22 * scale);
  cairo_surface_t* bar = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
  cairo_t* cairo = cairo_create(bar);
  cairo_scale(cairo, scale, scale);
  cairo_set_source_rgb(cairo, 1, 1, 1);
  cairo_set_font_size(cairo, 13);
  cairo_move_to(cairo, 6, 15.5);
  cairo_show_text(cairo, text.c_str());
  cairo_destroy(cairo);
  cairo_surface_flush(bar);
  GLuint texture = 0, framebuffer = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, width, height, 0, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV,
               cairo_image_surface_get_data(bar));
  cairo_surface_destroy(bar);
  glGenFramebuffers(1, &framebuffer);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer);
  glFramebufferTexture2D(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
  const int top = windowHeight - y;  // OpenGL counts rows from the bottom, cairo from the top
  glBlitFramebuffer(0, 0, width, height, x, top, x + width, top - height, GL_COLOR_BUFFER_BIT,
                    GL_NEAREST);
  glDeleteFramebuffers(1, &framebuffer);
  glDeleteTextures(1, &texture);
}

// The size is asked for each time: it and the pixels per point may have changed.
bool draw(Player& player) {
  int width = 0, height = 0, pixelWidth = 0, pixelHeight = 0;
  SDL_GetWindowSize(player.window, &width, &height);
  SDL_GL_GetDrawableSize(player.window, &pixelWidth, &pixelHeight);
  const double scale = static_cast<double>(pixelWidth) / width;
  const double across = (width - 3 * kGap) / 2.0, down = (height - 3 * kGap) / 2.0;
  player.host->resize(width, height, scale);
  std::array<quorvid::CGRect, 4> places;
  for (int channel = 0; channel < 4; ++channel) {
    const double x = kGap + (channel % 2) * (across + kGap);
    const double y = kGap + (channel > 1 ? down + kGap : 0);
    player.tiles[channel].view->setFrame(places[channel] = quorvid::CGRectMake(x, y, across, down));
  }
  player.host->refresh();  // with the frames above
  glClearColor(0.1F, 0.2F, 0.35F, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  std::string why;
  const bool drawn = player.host->composite(0, 0, pixelWidth, pixelHeight, &why);
  if (!drawn) std::fprintf(stderr, "Nothing can be drawn: %s\n", why.c_str());
  for (int channel = 0; channel < 4; ++channel) {
    const quorvid::CGRect& at = places[channel];
    drawText(player.tiles[channel].text, static_cast<int>(at.origin.x * scale),
             static_cast<int>(at.origin.y * scale), static_cast<int>(across * scale), scale,
             pixelHeight);
  }
  SDL_GL_SwapWindow(player.window);
  return drawn;
}

int run(Player& player, quorvid::LiveTarget target, double seconds) {
  const Uint32 wakeEvent = SDL_RegisterEvents(1);
  player.host->useCurrentDisplay();  // views and window may share what they draw
  for (target.channel = 0; target.channel < 4; ++target.channel) {
    if (!addView(player, target, wakeEvent)) return std::fputs("No live view.\n", stderr), 1;
  }
  const Uint64 begin = SDL_GetTicks64();
  bool running = true;
  while (running) {
    SDL_Event event{};
    SDL_WaitEventTimeout(&event, 250);  // a stream that went silent wakes nobody
    do {
      running = running && event.type != SDL_QUIT;
      player.changed = player.changed || event.type == SDL_WINDOWEVENT;
    } while (SDL_PollEvent(&event) != 0);
    player.host->refresh();
    if (std::exchange(player.changed, false) || player.host->needsComposite()) {
      running = draw(player) && running;
    }
    running = running && (seconds <= 0 || SDL_GetTicks64() - begin < seconds * 1000);
  }
  int status = 0;
  for (const Tile& tile : player.tiles) status |= tile.view->figures().shown > 0 ? 0 : 1;
  player.host->release();
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) return std::fputs("usage: embed_sdl HOST PORT DEVICE [SECONDS]\n", stderr), 2;
  quorvid::LiveTarget target;
  target.host = argv[1];
  target.port = std::atoi(argv[2]);
  target.device = argv[3];
  if (SDL_Init(SDL_INIT_VIDEO) != 0) return std::fprintf(stderr, "%s\n", SDL_GetError()), 1;
  constexpr Uint32 kFlags = SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI;
  SDL_Window* window = SDL_CreateWindow("Four live views", SDL_WINDOWPOS_UNDEFINED,
                                        SDL_WINDOWPOS_UNDEFINED, 652, 492, kFlags);
  SDL_GLContext context = window == nullptr ? nullptr : SDL_GL_CreateContext(window);
  int status = 1;
  if (context == nullptr) {
    std::fprintf(stderr, "No window: %s\n", SDL_GetError());
  } else {
    Player player;  // goes before the context
    player.window = window;
    status = run(player, target, argc > 4 ? std::atof(argv[4]) : 0);
  }
  SDL_GL_DeleteContext(context);
  SDL_DestroyWindow(window);
  SDL_Quit();
  return status;
}
