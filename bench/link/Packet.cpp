#include "bench/link/Packet.h"

#include <algorithm>

namespace quorvid::bench {
namespace {

constexpr std::size_t kIpHeader = 20, kTcpHeader = 20, kIcmpHeader = 8;
constexpr std::uint8_t kIcmp = 1, kTcp = 6;
constexpr std::uint8_t kFin = 1, kSyn = 2, kReset = 4, kAcknowledge = 16;
constexpr std::uint8_t kDontFragment = 0x40;

std::uint16_t get16(const Packet& packet, std::size_t at) {
  return static_cast<std::uint16_t>(packet[at] << 8 | packet[at + 1]);
}

std::uint32_t get32(const Packet& packet, std::size_t at) {
  return static_cast<std::uint32_t>(get16(packet, at)) << 16 | get16(packet, at + 2);
}

void put16(Packet& packet, std::size_t at, std::size_t value) {
  packet[at] = static_cast<std::uint8_t>(value >> 8);
  packet[at + 1] = static_cast<std::uint8_t>(value);
}

void put32(Packet& packet, std::size_t at, std::uint32_t value) {
  put16(packet, at, value >> 16);
  put16(packet, at + 2, value & 0xFFFF);
}

// The Internet checksum of the bytes from `begin` on, behind a sum that was begun elsewhere.
std::uint16_t checksum(const Packet& packet, std::size_t begin, std::size_t end,
                       std::uint32_t sum = 0) {
  for (std::size_t at = begin; at + 1 < end; at += 2) sum += get16(packet, at);
  if ((end - begin) % 2 != 0) sum += static_cast<std::uint32_t>(packet[end - 1]) << 8;
  while (sum > 0xFFFF) sum = (sum & 0xFFFF) + (sum >> 16);
  return static_cast<std::uint16_t>(~sum);
}

Packet ipPacket(std::uint8_t protocol, std::uint32_t from, std::uint32_t to, std::size_t size) {
  Packet packet(kIpHeader + size);
  packet[0] = 0x45;
  put16(packet, 2, packet.size());
  packet[8] = 64;
  packet[9] = protocol;
  put32(packet, 12, from);
  put32(packet, 16, to);
  put16(packet, 10, checksum(packet, 0, kIpHeader));
  return packet;
}

Packet reset(const Segment& from, std::uint32_t sequence, std::uint32_t acknowledged) {
  Packet packet = ipPacket(kTcp, from.from, from.to, kTcpHeader);
  put16(packet, kIpHeader, from.fromPort);
  put16(packet, kIpHeader + 2, from.toPort);
  put32(packet, kIpHeader + 4, sequence);
  put32(packet, kIpHeader + 8, acknowledged);
  packet[kIpHeader + 12] = kTcpHeader / 4 << 4;
  packet[kIpHeader + 13] = kReset | kAcknowledge;
  std::uint32_t pseudo = kTcp + kTcpHeader;
  for (std::size_t at = 12; at < kIpHeader; at += 2) pseudo += get16(packet, at);
  put16(packet, kIpHeader + 16, checksum(packet, kIpHeader, packet.size(), pseudo));
  return packet;
}

}  // namespace

std::optional<Segment> segmentOf(const Packet& packet) {
  if (packet.size() < kIpHeader || packet[0] >> 4 != 4 || packet[9] != kTcp) return std::nullopt;
  const std::size_t ip = std::size_t{4} * (packet[0] & 0xF);
  if (ip < kIpHeader || packet.size() < ip + kTcpHeader) return std::nullopt;
  const std::size_t headers = ip + std::size_t{4} * (packet[ip + 12] >> 4);
  if (headers > packet.size()) return std::nullopt;
  const std::uint8_t flags = packet[ip + 13];
  Segment segment;
  segment.from = get32(packet, 12);
  segment.to = get32(packet, 16);
  segment.fromPort = get16(packet, ip);
  segment.toPort = get16(packet, ip + 2);
  segment.next = get32(packet, ip + 4) + static_cast<std::uint32_t>(packet.size() - headers) +
                 ((flags & kFin) != 0 ? 1 : 0);
  segment.acknowledged = get32(packet, ip + 8);
  segment.isFirst = (flags & kSyn) != 0;
  segment.isOfConnection = (flags & (kSyn | kReset)) == 0 && (flags & kAcknowledge) != 0;
  return segment;
}

Packet resetFor(const Segment& segment) {
  Segment back = segment;
  std::swap(back.from, back.to);
  std::swap(back.fromPort, back.toPort);
  return reset(back, segment.acknowledged, segment.next);
}

Packet resetBehind(const Segment& segment) {
  return reset(segment, segment.next, segment.acknowledged);
}

bool isWhole(const Packet& packet) {
  return packet.size() >= kIpHeader && (packet[6] & kDontFragment) != 0;
}

Packet tooLong(const Packet& packet, std::size_t mtu) {
  const std::size_t quoted = std::min(packet.size(), kIpHeader + 8);
  Packet answer = ipPacket(kIcmp, get32(packet, 16), get32(packet, 12), kIcmpHeader + quoted);
  answer[kIpHeader] = 3;      // unreachable
  answer[kIpHeader + 1] = 4;  // because it is too long
  put16(answer, kIpHeader + 6, mtu);
  std::copy_n(packet.begin(), quoted,
              answer.begin() + static_cast<std::ptrdiff_t>(kIpHeader + kIcmpHeader));
  put16(answer, kIpHeader + 2, checksum(answer, kIpHeader, answer.size()));
  return answer;
}

}  // namespace quorvid::bench
