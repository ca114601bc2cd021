// ViewHost: shows the library's views inside a window that the host owns.
//
// The thread that makes a ViewHost makes every call (any other is refused, with one line in the
// log), and its run loop drives the views. The host's frame clock calls refresh(), its drawing code
// calls composite(). A host that would rather sleep watches LiveView::descriptor() and asks
// needsComposite() after refresh():
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
// A host with several windows has a ViewHost for each: they share nothing but the thread's ticks.
//
// The host's context must be one of OpenGL ES 3 or OpenGL 3 (or later), made with EGL or GLX. Views
// may be made before or after it. When a context on the same EGL display was current as the first
// view was made, or useCurrentDisplay() chose that display, pictures pass without a copy (SDL on
// X11 needs SDL_HINT_VIDEO_X11_FORCE_EGL for that), and the views end with that display, should the
// host terminate it (SDL does when its last GL window closes): make new ones then. Otherwise they
// live on a display of the library's own and pass through memory, from which GLX hosts always get
// them.
//
// Side effects: an EGL display that views live on is initialised and never terminated. No call
// changes the host's current context for longer than it lasts. composite() and release() touch and
// put back, in the current context: scissor test and box, clear colour, colour masks, rasterizer
// discard, sRGB conversion, the read framebuffer, the bound renderbuffer, the 2D texture of the
// active unit and the pixel unpack settings.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "quorvid/base/Export.h"
#include "quorvid/view/View.h"

namespace quorvid {

class QUORVID_API ViewHost {
 public:
  // Never null. Its content view is empty and has no background.
  static std::unique_ptr<ViewHost> create();
  // Releases what it holds in a GL context if that is current; otherwise it goes with the context.
  // A view that plays on without a window gets a line in the log.
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
  // width, height: of the content view, in points; scale: pixels per point, which composite() gives
  // to every layer that it shows: one made with another (a layer begins with the main screen's) is
  // drawn anew. Values that are not above 0 are ignored.
  void resize(double width, double height, double scale);
  // visible: whether anybody can see the host's window (minimised, covered, another workspace: no).
  // Live views in the tree of a hidden one go on receiving, and neither decode nor draw, whatever
  // their own setVisible() was told. True at first.
  void setVisible(bool visible);
  bool isVisible() const;
  // Lets the views decode and draw what is due, as often a second as they would at 60 refreshes,
  // whether the host calls it 40 or 200 times: it measures the time itself. Several hosts of one
  // thread don't tick its views twice. A view ticks at most once a call; a LiveView does at every
  // call, so that a host that its descriptor() woke draws at once. No GL context need be current.
  void refresh();
  // The same for the one host of the thread that counts for itself: `refreshes` of its display have
  // gone by since the last call.
  void refresh(std::uint32_t refreshes);
  // Whether composite() would draw something else than it did last.
  bool needsComposite() const;
  // Draws the tree into a rectangle of the framebuffer bound in the current context, stretched to
  // fit. In pixels from the framebuffer's lower left, as for glViewport. False, with the reason in
  // `why` (unless that is null) and once in the log, when no context is current, it is unfit or, in
  // OpenGL ES, the framebuffer has several samples a pixel. `why` is empty otherwise.
  bool composite(int x, int y, int width, int height, std::string* why = nullptr);
  // Deletes what composite() made in the GL context, which is current; the views stay, and
  // composite() may be called again, in another context too.
  void release();

 private:
  ViewHost();
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace quorvid
