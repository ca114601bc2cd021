// EAGLContext: an OpenGL ES 2 drawing context that can be current without a surface.
//
// A context is current on one thread at a time; every thread keeps its current context alive. All
// contexts of the library share textures, programs and renderbuffers with one another.
//
// Side effects: setCurrentContext() replaces whatever GL context the calling thread had, the host's
// too; HostContext (port/HostContext.h) puts the host's back. The display that the first context is
// made on is initialised and never terminated, because the host may be using it too.
#pragma once

#include <cstdint>
#include <memory>

namespace quorvid {

class CAEAGLLayer;

enum class EAGLRenderingAPI : std::uint8_t { OpenGLES2 = 2 };
inline constexpr EAGLRenderingAPI kEAGLRenderingAPIOpenGLES2 = EAGLRenderingAPI::OpenGLES2;

class EAGLContext : public std::enable_shared_from_this<EAGLContext> {
 public:
  // Null, with a line in the log, when no OpenGL ES 2 context can be had. The context is made on
  // the display of the GL context that is current at the time, when there is one and it is an EGL
  // one, and on a display of the library's own otherwise.
  static std::shared_ptr<EAGLContext> initWithAPI(EAGLRenderingAPI api);
  ~EAGLContext();
  EAGLContext(const EAGLContext&) = delete;
  EAGLContext& operator=(const EAGLContext&) = delete;

  // Makes the context current on the calling thread; null makes none current. False, with nothing
  // changed, when it can't be (it is current on another thread, or its display has gone).
  static bool setCurrentContext(const std::shared_ptr<EAGLContext>& context);
  // Null when the thread's current GL context is not one of the library's.
  static std::shared_ptr<EAGLContext> currentContext();

  // Gives the renderbuffer that is bound to `target` (GL_RENDERBUFFER) a storage of the layer's
  // size in pixels: bounds times contentsScale, rounded. The layer owns the storage from then on:
  // it deletes the renderbuffer together with itself. A null layer takes the storage from its
  // layer. False when the context is not current or nothing is bound; a layer without an area, or
  // one larger than GL allows, gets a storage without any.
  bool renderbufferStorage(std::uint32_t target, CAEAGLLayer* layer);
  // Shows what has been drawn into the renderbuffer that is bound to `target`: the next composition
  // takes it. False when no layer owns that renderbuffer.
  bool presentRenderbuffer(std::uint32_t target);

  // The port's own side of the context.
  struct Native;
  Native& native() { return *native_; }

 private:
  explicit EAGLContext(std::unique_ptr<Native> native);

  std::unique_ptr<Native> native_;
};

// Whether GL refused what the layer would be drawn into, or with: nothing of it is seen then.
void setStorageRefused(CAEAGLLayer& layer, bool refused);
bool isStorageRefused(CAEAGLLayer& layer);

}  // namespace quorvid
