// Four live views in an OpenGL window of SDL 2: embed_sdl HOST PORT DEVICE [SECONDS]
//
// Shows channels 0 to 3 of the device, each with its state written over it. With SECONDS it ends by
// itself, with status 0 if every view showed a picture.
#include <SDL.h>
#include <cairo.h>
#include <epoxy/gl.h>

#include <utility>

#include "four_views.h"

namespace {

// A bar with text over the top of a tile, in a window `windowHeight` pixels high.
void drawText(const FourViews::Tile& tile, double scale, int windowHeight) {
  const int left = static_cast<int>(tile.place.origin.x * scale);
  const int top = windowHeight - static_cast<int>(tile.place.origin.y * scale);  // from the bottom
  const int width = static_cast<int>(tile.place.size.width * scale);
  const int height = static_cast<int>(22 * scale);
  cairo_surface_t* bar = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
  cairo_t* cairo = cairo_create(bar);
  cairo_scale(cairo, scale, scale);
  cairo_set_source_rgb(cairo, 1, 1, 1);
  cairo_set_font_size(cairo, 13);
  cairo_move_to(cairo, 6, 15.5);
  cairo_show_text(cairo, tile.text.c_str());
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
  glBlitFramebuffer(0, 0, width, height, left, top, left + width, top - height, GL_COLOR_BUFFER_BIT,
                    GL_NEAREST);
  glDeleteFramebuffers(1, &framebuffer);
  glDeleteTextures(1, &texture);
}

bool draw(SDL_Window* window, FourViews& views) {
  int width = 0, height = 0, pixelWidth = 0, pixelHeight = 0;
  SDL_GetWindowSize(window, &width, &height);
  SDL_GL_GetDrawableSize(window, &pixelWidth, &pixelHeight);
  const double scale = static_cast<double>(pixelWidth) / width;
  views.place(width, height, scale);
  glClearColor(0.1F, 0.2F, 0.35F, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  std::string why;
  const bool drawn = views.host->composite(0, 0, pixelWidth, pixelHeight, &why);
  if (!drawn) std::fprintf(stderr, "Nothing can be drawn: %s\n", why.c_str());
  for (const FourViews::Tile& tile : views.tiles) drawText(tile, scale, pixelHeight);
  SDL_GL_SwapWindow(window);
  return drawn;
}

void run(SDL_Window* window, FourViews& views, const Arguments& arguments) {
  bool changed = true, running = views.play(arguments.target, [&](int) { changed = true; });
  const Uint32 wakeEvent = SDL_RegisterEvents(1);
  for (const FourViews::Tile& tile : views.tiles) {
    if (tile.view == nullptr) continue;
    tile.view->setWakeHandler([wakeEvent] {  // on any thread
      SDL_Event event{};
      event.type = wakeEvent;
      SDL_PushEvent(&event);
    });
  }
  const Uint64 begin = SDL_GetTicks64(), most = arguments.seconds * 1000U;
  while (running) {
    SDL_Event event{};
    SDL_WaitEventTimeout(&event, 250);  // a stream that went silent wakes nobody
    do {
      running = running && event.type != SDL_QUIT;
      changed = changed || event.type == SDL_WINDOWEVENT;
    } while (SDL_PollEvent(&event) != 0);
    constexpr Uint32 kUnseen = SDL_WINDOW_HIDDEN | SDL_WINDOW_MINIMIZED;
    views.host->setVisible((SDL_GetWindowFlags(window) & kUnseen) == 0);
    views.host->refresh();
    const bool draws = std::exchange(changed, false) || views.host->needsComposite();
    if (draws && views.host->isVisible()) running = draw(window, views) && running;
    running = running && (most == 0 || SDL_GetTicks64() - begin < most);
  }
  views.stop();
}

}  // namespace

int main(int argc, char** argv) {
  Arguments arguments;
  if (!parse(argc, argv, arguments)) return 2;
  if (SDL_Init(SDL_INIT_VIDEO) != 0) return std::fprintf(stderr, "%s\n", SDL_GetError()), 1;
  constexpr Uint32 kFlags = SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI;
  constexpr int kAnywhere = SDL_WINDOWPOS_UNDEFINED;
  SDL_Window* window = SDL_CreateWindow("Four live views", kAnywhere, kAnywhere, 652, 492, kFlags);
  SDL_GLContext context = window == nullptr ? nullptr : SDL_GL_CreateContext(window);
  int status = 1;
  if (context != nullptr) {
    FourViews views;  // goes before the context
    run(window, views, arguments);
    status = views.status();
  } else {
    std::fprintf(stderr, "No window: %s\n", SDL_GetError());
  }
  SDL_GL_DeleteContext(context);
  SDL_DestroyWindow(window);
  SDL_Quit();
  return status;
}
