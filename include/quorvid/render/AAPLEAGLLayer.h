// AAPLEAGLLayer: a layer that shows one Y'CbCr picture at a time, upright, aspect-fitted on black.
//
// Main thread. The live view makes one and hands it every decoded picture; a host that decodes by
// itself can do the same. A picture given to setPixelBuffer() is drawn before the call returns.
//
// GL state it touches: that of its own context. initWithFrame(), setPixelBuffer(),
// displayPixelBuffer(), resetRenderBuffer(), renewContent() and the destructor put a host's context
// back when one was current. Otherwise they leave the layer's current, but for a thread that has
// made a ViewHost and a process that has loaded GLX, where none is left; the other operations leave
// it current. They do nothing when the layer's context can't be made current.
//
// Side effects on the process: what GL has to say about shaders and programs goes to standard
// output (a faultless driver says nothing); the first layer initialises an EGL display, which is
// never terminated.
#pragma once

#include <cstdint>
#include <memory>

#include "quorvid/base/Export.h"
#include "quorvid/base/Geometry.h"
#include "quorvid/base/PixelBuffer.h"
#include "quorvid/base/Text.h"
#include "quorvid/render/ShaderProgram.h"
#include "quorvid/view/EAGLLayer.h"

namespace quorvid {

class CVOpenGLESTexture;
class CVOpenGLESTextureCache;
class EAGLContext;

class QUORVID_API AAPLEAGLLayer : public CAEAGLLayer {
 public:
  // frame: in the superlayer's points; the pixels per point are those of the main screen now. Null
  // when no OpenGL ES 2 context can be had.
  static std::shared_ptr<AAPLEAGLLayer> initWithFrame(CGRect frame);
  ~AAPLEAGLLayer() override;

  // Takes a reference of its own to the picture, in place of the one to the picture before, and
  // draws it. The former reference goes first: to set the present picture again, hold one of your
  // own. The picture must carry a Y'CbCr matrix attachment: ITU-R 601 selects that matrix, anything
  // else ITU-R 709. Null shows nothing new.
  void setPixelBuffer(CVPixelBufferRef pixelBuffer);
  // The picture set last; the caller gets no reference of its own.
  CVPixelBufferRef pixelBuffer() const { return _pixelBuffer; }
  // Draws the top left width x height pixels of the picture, in that shape, and keeps no reference.
  // A picture with luma only is drawn with the chroma of whatever was bound before.
  void displayPixelBuffer(CVPixelBufferRef pixelBuffer, std::uint32_t width, std::uint32_t height);
  // To be called after the layer's frame or scale has changed: makes the renderbuffer anew in the
  // layer's size. It shows nothing until the next picture is drawn; renewContent() does both, with
  // the picture set last.
  void resetRenderBuffer();

  // The steps of making and tearing down; for subclasses and diagnostics.
  void setupGL();
  void setupBuffers();
  void createBuffers();
  void releaseBuffers();
  void cleanUpTextures();

  // The shader program; 0 when it could not be made.
  std::uint32_t program() const { return _program; }
  void setProgram(std::uint32_t program) { _program = program; }
  // Makes the program and fills `uniforms`. False, with a line in the log, when GL refuses a shader
  // (the program object stays) or the program (which is deleted).
  bool loadShaders();
  // type: GL_VERTEX_SHADER or GL_FRAGMENT_SHADER. GL's own messages go to standard output. False,
  // with the shader deleted, when it does not compile.
  bool compileShaderString(std::uint32_t* shader, std::uint32_t type, const char* shaderString);
  // The same with the text of a file (UTF-8). URL: "file://" and a path, percent-encoded. False,
  // with a line in the log, when it can't be read.
  bool compileShader(std::uint32_t* shader, std::uint32_t type, const Text& URL);
  bool linkProgram(std::uint32_t prog);
  bool validateProgram(std::uint32_t prog);

 protected:
  AAPLEAGLLayer() = default;

 private:
  QUORVID_LOCAL bool makeCurrent() const;
  QUORVID_LOCAL void renew();
  QUORVID_LOCAL void loadTexture(const std::shared_ptr<CVOpenGLESTextureCache>& cache,
                                 CVPixelBufferRef pixelBuffer, std::size_t plane,
                                 std::uint32_t width, std::uint32_t height,
                                 std::shared_ptr<CVOpenGLESTexture>& texture);
  QUORVID_LOCAL void drawQuad(std::uint32_t width, std::uint32_t height);

  std::int32_t _backingWidth = 0;
  std::int32_t _backingHeight = 0;
  std::shared_ptr<EAGLContext> _context;
  std::shared_ptr<CVOpenGLESTexture> _lumaTexture;
  std::shared_ptr<CVOpenGLESTexture> _chromaTexture;
  std::uint32_t _frameBufferHandle = 0;
  std::uint32_t _colorBufferHandle = 0;
  const float* _preferredConversion = nullptr;
  std::uint32_t _program = 0;
  CVPixelBufferRef _pixelBuffer = nullptr;
};

}  // namespace quorvid
