#include "connection/PrintedLine.h"

#include <pthread.h>

#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>

#include "quorvid/connection/VehicleConnection.h"

namespace quorvid {
namespace {

using Printer = void (*)(const char* line, void* context);

// Plain data: all libraries that define it, of whatever compilers, agree on it.
struct LinePrinter {
  pthread_mutex_t lock;  // guards what follows; not held while a line is written
  Printer printer;       // null: standard output
  void* context;
  std::int32_t isOff;
};

}  // namespace
}  // namespace quorvid

// One of the process, as the table of DeviceTable.cpp is: what a library of ours prints by itself
// goes to where the host has told the one that its call reached.
extern "C" {
#if defined(__linux__) && defined(__ELF__)
extern QUORVID_CONNECTION_API quorvid::LinePrinter quorvidLinePrinter;
#pragma GCC visibility push(hidden)
__attribute__((used))
quorvid::LinePrinter quorvidOwnLinePrinter = {PTHREAD_MUTEX_INITIALIZER, nullptr, nullptr, 0};
#pragma GCC visibility pop
__asm__(
    ".globl quorvidLinePrinter\n"
    ".type quorvidLinePrinter, %gnu_unique_object\n"
    ".set quorvidLinePrinter, quorvidOwnLinePrinter\n");
#else
static quorvid::LinePrinter quorvidLinePrinter = {PTHREAD_MUTEX_INITIALIZER, nullptr, nullptr, 0};
#endif
}

namespace quorvid {
namespace {

LinePrinter present() {
  pthread_mutex_lock(&quorvidLinePrinter.lock);
  const LinePrinter copy{
      {}, quorvidLinePrinter.printer, quorvidLinePrinter.context, quorvidLinePrinter.isOff};
  pthread_mutex_unlock(&quorvidLinePrinter.lock);
  return copy;
}

void replace(Printer printer, void* context, bool isOff) {
  pthread_mutex_lock(&quorvidLinePrinter.lock);
  quorvidLinePrinter.printer = printer;
  quorvidLinePrinter.context = context;
  quorvidLinePrinter.isOff = isOff ? 1 : 0;
  pthread_mutex_unlock(&quorvidLinePrinter.lock);
}

}  // namespace

bool areLinesWanted() {
  return present().isOff == 0;
}

void printLine(const char* format, ...) {
  const LinePrinter to = present();
  if (to.isOff != 0) return;
  va_list arguments;
  va_start(arguments, format);
  if (to.printer == nullptr) {
    // The analyzer does not follow va_start.
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
    vprintf(format, arguments);
  } else {
    std::array<char, 2048> line;  // a name that the resolver takes has 1025 characters at most
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
    const int length = vsnprintf(line.data(), line.size(), format, arguments);
    const bool isWhole = length > 0 && static_cast<std::size_t>(length) < line.size();
    if (isWhole) line[static_cast<std::size_t>(length) - 1] = '\0';
    if (length > 0) to.printer(line.data(), to.context);
  }
  va_end(arguments);
}

}  // namespace quorvid

void SetConnectionPrinter(void (*printer)(const char* line, void* context), void* context) {
  quorvid::replace(printer, context, false);
}

void SilenceConnectionPrinter(void) {
  quorvid::replace(nullptr, nullptr, true);
}
