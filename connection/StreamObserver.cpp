#include "connection/StreamObserver.h"

#include <netdb.h>

#include <cerrno>
#include <cstring>

namespace quorvid {
namespace {

std::string withError(const std::string& what, int error) {
  return error == 0 ? what : what + ": " + std::strerror(error);
}

}  // namespace

std::string sentenceOf(StreamEvent event, std::int32_t detail, const std::string& peer,
                       const std::string& host, const std::string& device) {
  switch (event) {
    case StreamEvent::Unresolved:
      return "the name " + host + " is not found (" + hstrerror(detail) + ")";
    case StreamEvent::Unreachable:
      if (detail == ECONNREFUSED) return "nothing listens at " + peer;
      return withError("no connection to " + peer, detail);
    case StreamEvent::NoRelay:
      return peer + " named no relay for device " + device;
    case StreamEvent::Unsent:
      return withError("the request to " + peer + " was not sent", detail);
    case StreamEvent::Refused:
      return peer + " refused the stream with status " + std::to_string(detail);
    case StreamEvent::Closed:
      return peer + " closed the connection";
    case StreamEvent::Reset:
      return withError("the connection to " + peer + " is lost", detail);
    case StreamEvent::Silent:
      return peer + " sent nothing for 10 s";
    case StreamEvent::UnknownKind:
      return peer + " sent a packet of unknown kind " + std::to_string(detail);
    case StreamEvent::WrongLength:
      return peer + " sent an impossible length, " + std::to_string(detail);
    default:
      return {};
  }
}

}  // namespace quorvid
