// Names as the library resolves them, with a name service of the test's own.
#include "apps/common/Reachability.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netdb.h>

#include <cstring>

namespace {

// The answer's place in the caller's buffer.
struct Answer {
  in_addr addresses[2];
  char* list[3];
};

}  // namespace

// Stands before the C library's: "two" has two addresses, "none" none, any other name gets no
// answer.
extern "C" int gethostbyname_r(const char* name, hostent* entry, char* buffer, size_t size,
                               hostent** result, int* error) {
  *result = nullptr;
  *error = std::strcmp(name, "none") == 0 ? HOST_NOT_FOUND : TRY_AGAIN;
  if (std::strcmp(name, "two") != 0) return *error == TRY_AGAIN ? EAGAIN : 0;
  if (size < sizeof(Answer)) return ERANGE;
  auto* answer = reinterpret_cast<Answer*>(buffer);
  inet_pton(AF_INET, "192.0.2.7", &answer->addresses[0]);
  inet_pton(AF_INET, "127.0.0.1", &answer->addresses[1]);
  for (int i : {0, 1}) answer->list[i] = reinterpret_cast<char*>(&answer->addresses[i]);
  answer->list[2] = nullptr;
  *entry = {const_cast<char*>(name), nullptr, AF_INET, sizeof(in_addr), answer->list};
  *result = entry;
  return 0;
}

namespace quorvid::app {
namespace {

TEST(Reachability, TakesTheFirstAddressOfANameAsTheLibraryDoes) {
  EXPECT_EQ(resolveServer({"two", 1}, 5).address, "192.0.2.7");
  EXPECT_NE(resolveServer({"none", 1}, 5).sentence.find("none can't be resolved: no such name"),
            std::string::npos);
  EXPECT_NE(resolveServer({"busy", 1}, 5).sentence.find("no answer from the name service"),
            std::string::npos);
}

}  // namespace
}  // namespace quorvid::app
