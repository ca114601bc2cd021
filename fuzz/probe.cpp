// Feeds any bytes to what `quorvid probe` reads, and what it says of them.
//
// Input (Records.h): head: which path, and whether there is time; the records: Server.h.
#include <string>
#include <utility>

#include "apps/quorvid/probe/ProbeDialect.h"
#include "apps/quorvid/probe/StreamFigures.h"
#include "fuzz/Server.h"
#include "quorvid/connection/VehicleConnection.h"

namespace {

using namespace quorvid::app;
using quorvid::fuzz::require;

void lookUp(const StreamTarget& target, double timeout) {
  ProbeSocket socket("127.0.0.1", 1, timeout);
  socket.send(relayRequest(target, "token"));
  socket.beginStep();
  const RelayAnswer relay = readRelayAnswer(socket);
  require(relay.address.size() >= 7 && relay.address.size() <= 15);
}

void measure(ProbeDialect& dialect, double timeout, StreamFigures& figures) {
  ProbeSocket socket("127.0.0.1", 1, timeout);
  socket.beginStep();
  socket.send(dialect.request());
  socket.beginStep();
  require(!dialect.readAnswer(socket).empty());
  for (unsigned count = 0;; ++count) {
    const double now = count / 25.0;
    socket.beginStep();
    const ProbeFrame frame = dialect.nextFrame(socket);
    require(frame.bytes.size() <= QUORVID_FRAME_CAPACITY);
    figures.addGarbage(frame.garbage);
    if (frame.isAudio) {
      figures.addAudio();
    } else if (frame.isLeftOut) {
      figures.addLeftOut(now);
    } else {
      figures.add(frame.bytes, now);
    }
  }
}

void report(const StreamFigures& figures) {
  require(!figures.json().dump().empty() && figures.lines().size() >= 7);
  require(figures.frames() > 0 || !figures.problems().empty());
  require(figures.keyFrames() <= figures.frames());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  quorvid::fuzz::mend = quorvid::fuzz::mendWire;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quorvid::fuzz::Input input(data, size);
  for (auto& record : input.records) {  // silence is waited for here
    if (record.kind % 16 == quorvid::fuzz::kSilent) record.kind = quorvid::fuzz::kReset;
  }
  quorvid::fuzz::server.serve(std::move(input.records));
  const double timeout = (input.head & 4) != 0 ? 0 : 5;
  const StreamTarget target;
  StreamFigures figures;
  try {
    if ((input.head & 2) != 0) lookUp(target, timeout);
    const auto dialect = (input.head & 3) == 0 ? fleetDialect(target) : carDialect(target, "token");
    measure(*dialect, timeout, figures);
  } catch (const ProbeFailure& failure) {
    require(failure.what()[0] != '\0');
  }
  report(figures);
  quorvid::fuzz::server.finish();
  return 0;
}
