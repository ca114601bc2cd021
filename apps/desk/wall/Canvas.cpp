#include "apps/desk/wall/Canvas.h"

#include "apps/desk/wall/GlCanvas.h"
#include "apps/desk/wall/MemoryCanvas.h"

namespace quorvid::desk {

std::unique_ptr<Canvas> Canvas::make(Calls calls) {
  const char* const renderer = g_getenv("GSK_RENDERER");
  if (renderer != nullptr && std::string(renderer) == "cairo") {
    return std::make_unique<MemoryCanvas>(std::move(calls));
  }
  return std::make_unique<GlCanvas>(std::move(calls));
}

}  // namespace quorvid::desk
