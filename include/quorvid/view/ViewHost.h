// ViewHost: shows the library's views inside a window that the host owns.
//
// The thread that makes a ViewHost makes every call, and its run loop drives the views. The host's
// frame clock calls refresh(), its drawing code calls composite():
//
//   auto views = quorvid::ViewHost::create();
//   views->resize(width, height, pixelsPerPoint);
//   views->contentView()->addSubview(liveView);
//   ... each frame, with the host's GL context current:
//   views->refresh();
//   drawOwnThings();
//   views->composite(0, 0, framebufferWidth, framebufferHeight);
//   ... before the GL context goes:
//   views->release();
//
// The host's context must be one of OpenGL ES 3 or OpenGL 3 (or later), made with EGL (SDL:
// SDL_HINT_VIDEO_X11_FORCE_EGL). Views may be made before or after it. When a context on the same
// EGL display was current as the first view was made, or useCurrentDisplay() chose that display,
// pictures pass without a copy, and the views end with that display, should the host terminate it
// (SDL does when its last GL window closes): make new ones then. Otherwise they live on a display
// of the library's own and pass through memory.
//
// Side effects: no call changes the host's current context. composite() and release() touch and
// put back, in the current context: scissor test and box, clear colour, colour masks, rasterizer
// discard, sRGB conversion, the read framebuffer, the bound renderbuffer, the 2D texture of the
// active unit and the pixel unpack settings. resize() sets the main screen's scale.
#pragma once

#include <cstdint>
#include <memory>

#include "quorvid/base/Export.h"
#include "quorvid/view/View.h"

namespace quorvid {

class QUORVID_API ViewHost {
 public:
  // Never null. Its content view is empty and has no background.
  static std::unique_ptr<ViewHost> create();
  // Releases what it holds in a GL context if that is current; otherwise it goes with the context.
  ~ViewHost();
  ViewHost(const ViewHost&) = delete;
  ViewHost& operator=(const ViewHost&) = delete;

  // Makes the EGL display of the current context the one that views live on, whatever is current
  // when they are made, for as long as this object lives. False when views live on another display
  // already, or when this one can't serve: they work nevertheless, see above.
  bool useCurrentDisplay();
  // Whether a view, or a ViewHost by useCurrentDisplay(), lives on that EGL display: a host that
  // terminates it then ends them. Any thread; lets go of the library's GL context that a view drew
  // with last on the thread.
  static bool displayInUse(void* eglDisplay);

  // The root of the tree; the host adds its views to it.
  const std::shared_ptr<UIView>& contentView() const;
  // width, height: of the content view, in points; scale: pixels per point, for layers made from
  // now on. Values that are not above 0 are ignored.
  void resize(double width, double height, double scale);
  // Tells that `refreshes` display refreshes have gone by since the last call: more than 1 when
  // some were missed. Views decode and draw their pictures inside this call.
  void refresh(std::uint32_t refreshes = 1);
  // Whether composite() would draw something else than it did last.
  bool needsComposite() const;
  // Draws the tree into a rectangle of the framebuffer bound in the current context, stretched to
  // fit. In pixels from the framebuffer's lower left, as for glViewport. False, with a line in the
  // log the first time, when the context is unfit or, in OpenGL ES, the framebuffer has several
  // samples a pixel.
  bool composite(int x, int y, int width, int height);
  // Deletes what composite() made in the GL context, which is current; the views stay, and
  // composite() may be called again, in another context too.
  void release();

 private:
  ViewHost();
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace quorvid
