#include "bench/link/Tun.h"

#include <fcntl.h>
#include <linux/if.h>
#include <linux/if_tun.h>
#include <sched.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <cstring>

namespace quorvid::bench {

// A device belongs to the namespace in which its descriptor was opened, whoever holds that later.
Descriptor makeTun(const std::string& space) {
  const Descriptor there(::open(space.c_str(), O_RDONLY | O_CLOEXEC), space.c_str());
  if (::setns(there.get(), CLONE_NEWNET) != 0) {
    throw std::system_error(errno, std::generic_category(), "entering " + space);
  }
  Descriptor tun(::open("/dev/net/tun", O_RDWR | O_NONBLOCK | O_CLOEXEC), "/dev/net/tun");
  ifreq request{};
  std::strncpy(request.ifr_name, "quorvid0", IFNAMSIZ - 1);
  request.ifr_flags = IFF_TUN | IFF_NO_PI;
  if (::ioctl(tun.get(), TUNSETIFF, &request) != 0) {
    throw std::system_error(errno, std::generic_category(), "making a TUN device");
  }
  return tun;
}

}  // namespace quorvid::bench
