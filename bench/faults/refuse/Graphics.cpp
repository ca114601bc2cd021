// The functions of EGL and GL that are made to fail, each as it fails by itself.
#define EGL_EGLEXT_PROTOTYPES
#define GL_GLEXT_PROTOTYPES
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl3.h>
// After gl3.h, whose words it uses.
#include <GLES2/gl2ext.h>

#include <atomic>

#include "faults/refuse/Refuse.h"

namespace {

std::atomic<long> eglObjects = 0;
std::atomic<bool> isOutOfMemory = false;  // as GL tells it at the next question

// Found where libepoxy found it, or else in what the program was linked with.
template <class Function>
Function realOf(void*& found, const char* name) {
  if (found == nullptr) found = refuse::systemSymbol(reinterpret_cast<void*>(-1), name);
  return reinterpret_cast<Function>(found);
}

void setNone(GLsizei count, GLuint* names) {
  for (GLsizei i = 0; i < count; ++i) names[i] = 0;
}

}  // namespace

// NOLINTBEGIN(bugprone-macro-parentheses): types and names can't have them
#define REFUSED(kind, name) refuse::isRefused(refuse::Kind::kind, #name, REFUSE_CALLER)
#define REAL(name) realOf<decltype(&::name)>(real_##name, #name)
#define REFUSE_REAL(name)      \
  namespace {                  \
  void* real_##name = nullptr; \
  }
#define REFUSE_CALL(kind, result, name, parameters, arguments, failed) \
  REFUSE_REAL(name)                                                    \
  REFUSE_SHOWN result name parameters {                                \
    if (REFUSED(kind, name)) return failed;                            \
    return REAL(name) arguments;                                       \
  }
// Makes an object, or takes one back; those of the program's own are no concern.
#define REFUSE_MAKE(result, name, parameters, arguments)                             \
  REFUSE_REAL(name)                                                                  \
  REFUSE_SHOWN result name parameters {                                              \
    if (REFUSED(Egl, name)) return nullptr;                                          \
    result made = REAL(name) arguments;                                              \
    if (made != nullptr && refuse::ownPlace(REFUSE_CALLER) != nullptr) ++eglObjects; \
    return made;                                                                     \
  }
#define REFUSE_FREE(name, type)                                   \
  REFUSE_REAL(name)                                               \
  REFUSE_SHOWN EGLBoolean name(EGLDisplay a, type b) {            \
    if (refuse::ownPlace(REFUSE_CALLER) != nullptr) --eglObjects; \
    return REAL(name)(a, b);                                      \
  }
// Has no effect, and glGetError() says why.
#define REFUSE_DO(name, parameters, arguments) \
  REFUSE_REAL(name)                            \
  REFUSE_SHOWN void name parameters {          \
    if (REFUSED(Gl, name)) {                   \
      isOutOfMemory = true;                    \
    } else {                                   \
      REAL(name) arguments;                    \
    }                                          \
  }
#define REFUSE_NAMES(name)                       \
  REFUSE_REAL(name)                              \
  REFUSE_SHOWN void name(GLsizei a, GLuint* b) { \
    if (REFUSED(Gl, name)) {                     \
      setNone(a, b);                             \
    } else {                                     \
      REAL(name)(a, b);                          \
    }                                            \
  }
#define REFUSE_STATE(name, state)                         \
  REFUSE_REAL(name)                                       \
  REFUSE_SHOWN void name(GLuint a, GLenum b, GLint* c) {  \
    REAL(name)(a, b, c);                                  \
    if (b == (state) && REFUSED(Gl, name)) *c = GL_FALSE; \
  }

// NOLINTEND(bugprone-macro-parentheses)

// EGL.
REFUSE_CALL(Egl, EGLDisplay, eglGetDisplay, (EGLNativeDisplayType a), (a), nullptr)
REFUSE_CALL(Egl, EGLDisplay, eglGetPlatformDisplayEXT, (EGLenum a, void* b, const EGLint* c),
            (a, b, c), nullptr)
REFUSE_CALL(Egl, EGLBoolean, eglInitialize, (EGLDisplay a, EGLint* b, EGLint* c), (a, b, c), 0)
REFUSE_CALL(Egl, EGLBoolean, eglChooseConfig,
            (EGLDisplay a, const EGLint* b, EGLConfig* c, EGLint d, EGLint* e), (a, b, c, d, e), 0)
REFUSE_CALL(Egl, EGLBoolean, eglBindAPI, (EGLenum a), (a), 0)
REFUSE_CALL(Egl, EGLBoolean, eglMakeCurrent,
            (EGLDisplay a, EGLSurface b, EGLSurface c, EGLContext d), (a, b, c, d), 0)
REFUSE_CALL(Egl, EGLBoolean, eglQueryContext, (EGLDisplay a, EGLContext b, EGLint c, EGLint* d),
            (a, b, c, d), 0)
REFUSE_CALL(Egl, EGLint, eglClientWaitSyncKHR, (EGLDisplay a, EGLSyncKHR b, EGLint c, EGLTimeKHR d),
            (a, b, c, d), 0)
REFUSE_CALL(Egl, EGLint, eglWaitSyncKHR, (EGLDisplay a, EGLSyncKHR b, EGLint c), (a, b, c), 0)
REFUSE_CALL(Egl, const char*, eglQueryString, (EGLDisplay a, EGLint b), (a, b), nullptr)
REFUSE_MAKE(EGLContext, eglCreateContext,
            (EGLDisplay a, EGLConfig b, EGLContext c, const EGLint* d), (a, b, c, d))
REFUSE_MAKE(EGLImageKHR, eglCreateImageKHR,
            (EGLDisplay a, EGLContext b, EGLenum c, EGLClientBuffer d, const EGLint* e),
            (a, b, c, d, e))
REFUSE_MAKE(EGLSyncKHR, eglCreateSyncKHR, (EGLDisplay a, EGLenum b, const EGLint* c), (a, b, c))
REFUSE_FREE(eglDestroyContext, EGLContext)
REFUSE_FREE(eglDestroyImageKHR, EGLImageKHR)
REFUSE_FREE(eglDestroySyncKHR, EGLSyncKHR)

// GL.
REFUSE_NAMES(glGenTextures)
REFUSE_NAMES(glGenFramebuffers)
REFUSE_NAMES(glGenRenderbuffers)
REFUSE_CALL(Gl, GLuint, glCreateShader, (GLenum a), (a), 0)
REFUSE_CALL(Gl, GLuint, glCreateProgram, (), (), 0)
REFUSE_STATE(glGetShaderiv, GL_COMPILE_STATUS)
REFUSE_STATE(glGetProgramiv, GL_LINK_STATUS)
REFUSE_CALL(Gl, GLenum, glCheckFramebufferStatus, (GLenum a), (a), 0)
REFUSE_CALL(Gl, const GLubyte*, glGetString, (GLenum a), (a), nullptr)
REFUSE_DO(glTexImage2D,
          (GLenum a, GLint b, GLint c, GLsizei d, GLsizei e, GLint f, GLenum g, GLenum h,
           const void* i),
          (a, b, c, d, e, f, g, h, i))
REFUSE_DO(glTexSubImage2D,
          (GLenum a, GLint b, GLint c, GLint d, GLsizei e, GLsizei f, GLenum g, GLenum h,
           const void* i),
          (a, b, c, d, e, f, g, h, i))
REFUSE_DO(glRenderbufferStorage, (GLenum a, GLenum b, GLsizei c, GLsizei d), (a, b, c, d))
REFUSE_DO(glEGLImageTargetRenderbufferStorageOES, (GLenum a, GLeglImageOES b), (a, b))
REFUSE_DO(glFramebufferRenderbuffer, (GLenum a, GLenum b, GLenum c, GLuint d), (a, b, c, d))
REFUSE_DO(glDrawArrays, (GLenum a, GLint b, GLsizei c), (a, b, c))
REFUSE_DO(glReadPixels, (GLint a, GLint b, GLsizei c, GLsizei d, GLenum e, GLenum f, void* g),
          (a, b, c, d, e, f, g))
REFUSE_DO(glBlitFramebuffer,
          (GLint a, GLint b, GLint c, GLint d, GLint e, GLint f, GLint g, GLint h, GLbitfield i,
           GLenum j),
          (a, b, c, d, e, f, g, h, i, j))

REFUSE_REAL(glGetError)
REFUSE_SHOWN GLenum glGetError() {
  if (REFUSED(Gl, glGetError) || isOutOfMemory.exchange(false)) return GL_OUT_OF_MEMORY;
  return REAL(glGetError)();
}

REFUSE_REAL(eglGetProcAddress)
REFUSE_SHOWN __eglMustCastToProperFunctionPointerType eglGetProcAddress(const char* name) {
  const auto found = REAL(eglGetProcAddress)(name);
  if (found == nullptr || refuse::ownPlace(REFUSE_CALLER) == nullptr) return found;
  void* const place = refuse::standIn(name, reinterpret_cast<void*>(found));
  return reinterpret_cast<__eglMustCastToProperFunctionPointerType>(place);
}

namespace {

#define REFUSE_ROW(name) \
  { #name, reinterpret_cast < void*>(&::name), real_##name }
refuse::StandIn standIns[] = {REFUSE_ROW(eglGetDisplay),
                              REFUSE_ROW(eglGetPlatformDisplayEXT),
                              REFUSE_ROW(eglInitialize),
                              REFUSE_ROW(eglChooseConfig),
                              REFUSE_ROW(eglBindAPI),
                              REFUSE_ROW(eglMakeCurrent),
                              REFUSE_ROW(eglQueryContext),
                              REFUSE_ROW(eglClientWaitSyncKHR),
                              REFUSE_ROW(eglWaitSyncKHR),
                              REFUSE_ROW(eglQueryString),
                              REFUSE_ROW(eglCreateContext),
                              REFUSE_ROW(eglCreateImageKHR),
                              REFUSE_ROW(eglCreateSyncKHR),
                              REFUSE_ROW(eglDestroyContext),
                              REFUSE_ROW(eglDestroyImageKHR),
                              REFUSE_ROW(eglDestroySyncKHR),
                              REFUSE_ROW(eglGetProcAddress),
                              REFUSE_ROW(glGenTextures),
                              REFUSE_ROW(glGenFramebuffers),
                              REFUSE_ROW(glGenRenderbuffers),
                              REFUSE_ROW(glCreateShader),
                              REFUSE_ROW(glCreateProgram),
                              REFUSE_ROW(glGetShaderiv),
                              REFUSE_ROW(glGetProgramiv),

                              REFUSE_ROW(glCheckFramebufferStatus),
                              REFUSE_ROW(glGetString),
                              REFUSE_ROW(glTexImage2D),
                              REFUSE_ROW(glTexSubImage2D),
                              REFUSE_ROW(glRenderbufferStorage),
                              REFUSE_ROW(glEGLImageTargetRenderbufferStorageOES),
                              REFUSE_ROW(glFramebufferRenderbuffer),
                              REFUSE_ROW(glDrawArrays),
                              REFUSE_ROW(glReadPixels),
                              REFUSE_ROW(glBlitFramebuffer),
                              REFUSE_ROW(glGetError)};

}  // namespace

std::span<refuse::StandIn> refuse::ofGraphics() {
  return standIns;
}

long refuse::objectsLeft() {
  return eglObjects;
}
