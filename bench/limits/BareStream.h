// BareStream: one fleet stream off one connection, with as few calls as it takes. It trusts its
// server: a stream that breaks or isn't one ends it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace quorvid::bench {

class BareStream {
 public:
  // Connects to this machine and asks. @throws std::runtime_error with a sentence
  BareStream(int port, const std::string& device, int channel);
  ~BareStream();
  BareStream(const BareStream&) = delete;
  BareStream& operator=(const BareStream&) = delete;

  // The next unit of video, read in place, with `padding` zeros behind its `size` bytes. False at
  // the stream's end.
  bool next(std::size_t padding);
  std::uint8_t* bytes() { return unit_.data(); }
  std::size_t size() const { return size_; }
  bool hasMore() const;  // of the next unit, part at least
  void shutDown();       // any thread; next() ends

 private:
  bool read(void* to, std::size_t size);

  const int socket_;
  std::vector<std::uint8_t> unit_;
  std::size_t size_ = 0;
};

}  // namespace quorvid::bench
