// Window: a window on screen, or the same without a display, that shows a tree of views. It is in
// libquorvid-window.so (-lquorvid-window -lquorvid), which needs SDL.
//
// Main thread; the thread that opens a window runs it. The window is the source of display
// refreshes for the thread's run loop, and draws the content view's tree after each refresh that
// changed something. Without a display (headless) the refresh clock is a 60 Hz timer and the
// picture is drawn by the same code into an off-screen surface.
//
// Side effects on the process: open() sets SDL's hints NO_SIGNAL_HANDLERS and VIDEO_X11_FORCE_EGL
// to 1, and overrides VIDEODRIVER (headless: "offscreen") or resets it; it resets SDL's GL
// attributes; it sets the main screen's scale (quorvid/view/Screen.h), and so does each change of
// size. SDL's video subsystem goes with the window, but stays up behind it while views live on its
// EGL display.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "quorvid/base/Export.h"
#include "quorvid/base/Geometry.h"
#include "quorvid/view/View.h"

namespace quorvid {

struct WindowOptions {
  std::string title = "Quorvid";
  // Size of the content in points; 1 to 8192.
  int width = 1280;
  int height = 960;
  bool headless = false;
};

enum class WindowEventKind : std::uint8_t {
  Key,    // `key` or `functionKey`: once for each time that it is pressed, however long it is held
  Click,  // `x`, `y`, `clicks`: the left button was pressed
  Resized,  // contentView() already has its new frame; the host lays out its views
  Hidden,   // nobody can see the window: minimised, covered, elsewhere, as far as the system tells
  Shown,    // it can be seen again
  Close,  // the user closed the window, or the process was asked to quit; run() is about to return
};

struct WindowEvent {
  WindowEventKind kind;
  // The printable ASCII character that the user's layout gives, letters in lower case, or 27 for
  // Escape; 0 for a function key. Combinations with Ctrl, the left Alt or the logo key are no keys.
  char key = 0;
  int functionKey = 0;  // 1 to 12 for F1 to F12
  double x = 0, y = 0;  // in points from the content's upper left
  int clicks = 0;       // 1; 2 for the second click of a double click
};

// Pixels from the top row down, 3 bytes each (red, green, blue), rows without padding.
struct WindowPicture {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> rgb;
};

class QUORVID_API Window {
 public:
  // Null when no window or no OpenGL ES context can be had, or one is open already; `error`, when
  // not null, then says why. The window's GL context is current on the thread afterwards.
  static std::unique_ptr<Window> open(const WindowOptions& options, std::string* error = nullptr);
  virtual ~Window();

  // The root of the tree, as large as the window; black at first.
  virtual const std::shared_ptr<UIView>& contentView() const = 0;
  // Pixels per point.
  virtual double scale() const = 0;
  virtual void setTitle(const std::string& title) = 0;
  virtual void setFullScreen(bool on) = 0;
  virtual bool isFullScreen() const = 0;
  // False while nobody can see the window: it draws nothing then, and its live views neither decode
  // nor draw. Turns go on as before.
  virtual bool isVisible() const = 0;
  // Called by runTurn() on the main thread.
  virtual void setEventHandler(std::function<void(const WindowEvent&)> handler) = 0;

  // One turn: sleeps until the next refresh is due, delivers events, refreshes the run loop, draws.
  // False once the window was closed.
  virtual bool runTurn() = 0;
  // Turns until the window is closed.
  void run();
  // Ends run() after the present turn.
  virtual void close() = 0;

  // Draws the tree now and reads it back. False when the context is lost.
  virtual bool snapshot(WindowPicture& picture) = 0;
};

}  // namespace quorvid
