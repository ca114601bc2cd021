// bad_link: a link between two network namespaces that delays, loses, reorders and cuts; see
// Link.h. scripts/bad-network.sh runs it.
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <iostream>

#include "bench/link/Link.h"

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr
        << "usage: bad_link SERVER_NAMESPACE CLIENT_NAMESPACE SEED\n"
           "  joins two namespaces (/proc/PID/ns/net) by devices named quorvid0; orders come\n"
           "  as lines on standard input, and it ends with them\n";
    return 2;
  }
  try {
    quorvid::bench::Link link(argv[1], argv[2], std::strtoull(argv[3], nullptr, 10));
    std::cout << "ready" << std::endl;
    link.run(STDIN_FILENO);
  } catch (const std::exception& error) {
    std::cerr << "bad_link: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
