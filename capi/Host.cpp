// Hosts of the C interface: quorvid::ViewHost behind a handle.
#include "capi/Host.h"

#include <epoxy/gl.h>

#include <cmath>
#include <cstring>

#include "capi/Guard.h"
#include "port/egl/GlBinding.h"

using namespace quorvid::capi;

namespace {

using GetString = const GLubyte* (*)(GLenum name);

template <class Call>
std::int32_t with(quorvid_host* handle, const Call& call) {
  if (handle == nullptr) return QUORVID_BAD_ARGUMENT;
  if (!isOwnThread(*handle)) return QUORVID_WRONG_THREAD;
  return guarded([&] { return call(*handle); });
}

// Whether the host's loader leads to the GL whose context the library sees. A loader without
// glGetString says nothing.
const char* strangeness(quorvid_get_proc_address getProcAddress) {
  if (getProcAddress == nullptr) return "";
  const auto theirs = reinterpret_cast<GetString>(getProcAddress("glGetString"));
  if (theirs == nullptr || quorvid::GlBinding::current().context == nullptr) return "";
  const auto* const version = reinterpret_cast<const char*>(theirs(GL_VERSION));
  if (version == nullptr) return "no context of the GL that the host's loader leads to is current";
  const auto* const seen = reinterpret_cast<const char*>(glGetString(GL_VERSION));
  return seen != nullptr && std::strcmp(version, seen) == 0
             ? ""
             : "the host's loader leads to another GL than the system's EGL or GLX";
}

}  // namespace

quorvid_host* quorvid_host_create(quorvid_get_proc_address getProcAddress) {
  return guardedPointer([&] {
    auto handle = std::make_unique<quorvid_host>();
    handle->host = quorvid::ViewHost::create();
    handle->getProcAddress = getProcAddress;
    return handle.release();
  });
}

void quorvid_host_free(quorvid_host* host) {
  with(host, [](quorvid_host& it) {
    const std::unique_ptr<quorvid_host> last(&it);
    for (const auto& left : last->views) {
      const auto view = left.lock();
      if (view == nullptr) continue;
      view->stop();
      view->removeFromSuperview();
    }
    return QUORVID_OK;
  });
}

std::int32_t quorvid_host_resize(quorvid_host* host, double width, double height, double scale) {
  return with(host, [=](quorvid_host& it) {
    if (std::isfinite(width) && std::isfinite(height)) it.host->resize(width, height, scale);
    return QUORVID_OK;
  });
}

std::int32_t quorvid_host_set_visible(quorvid_host* host, std::int32_t visible) {
  return with(host,
              [=](quorvid_host& it) { return it.host->setVisible(visible != 0), QUORVID_OK; });
}

std::int32_t quorvid_host_refresh(quorvid_host* host) {
  return with(host, [](quorvid_host& it) {
    it.host->refresh();  // last: a handler may free the host
    return QUORVID_OK;
  });
}

std::int32_t quorvid_host_needs_composite(quorvid_host* host) {
  return with(host, [](quorvid_host& it) { return it.host->needsComposite() ? 1 : 0; }) == 1 ? 1
                                                                                             : 0;
}

std::int32_t quorvid_host_composite(quorvid_host* host, std::int32_t x, std::int32_t y,
                                    std::int32_t width, std::int32_t height) {
  return with(host, [=](quorvid_host& it) {
    it.why = strangeness(it.getProcAddress);
    const bool drawn = it.why.empty() && it.host->composite(x, y, width, height, &it.why);
    return drawn ? QUORVID_OK : QUORVID_NOT_DRAWN;
  });
}

const char* quorvid_host_why(const quorvid_host* host) {
  return host != nullptr && isOwnThread(*host) ? host->why.c_str() : "";
}

std::int32_t quorvid_host_release(quorvid_host* host) {
  return with(host, [](quorvid_host& it) { return it.host->release(), QUORVID_OK; });
}
