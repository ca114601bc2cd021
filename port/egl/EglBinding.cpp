#include "port/egl/EglBinding.h"

#include <cstring>
#include <string_view>

namespace quorvid {

EglBinding EglBinding::current() {
  EglBinding binding;
  binding.context = eglGetCurrentContext();
  if (binding.context != EGL_NO_CONTEXT) {
    binding.display = eglGetCurrentDisplay();
    binding.draw = eglGetCurrentSurface(EGL_DRAW);
    binding.read = eglGetCurrentSurface(EGL_READ);
  }
  return binding;
}

void EglBinding::restore() const {
  const EglBinding now = current();
  if (now.context == context && now.draw == draw && now.read == read) return;
  if (context != EGL_NO_CONTEXT) {
    eglMakeCurrent(display, draw, read, context);
  } else {
    eglMakeCurrent(now.display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
  }
}

bool namesExtension(const char* list, const char* extension) {
  if (list == nullptr) return false;
  const std::string_view names = list;
  const std::size_t length = std::strlen(extension);
  for (std::size_t at = names.find(extension); at != std::string_view::npos;
       at = names.find(extension, at + length)) {
    const bool begins = at == 0 || names[at - 1] == ' ';
    const bool ends = at + length == names.size() || names[at + length] == ' ';
    if (begins && ends) return true;
  }
  return false;
}

}  // namespace quorvid
