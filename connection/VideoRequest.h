// VideoRequest: the records that ask a server for one channel's live stream.
//
// Any thread; nothing is kept. Builders fill len bytes at out, senders use a connected socket once,
// right after connecting. Mind the order: senders take timestamp before carId, builders carId
// first.
#pragma once

#include <cstdint>

namespace quorvid {

constexpr std::int32_t kFleetRequestSize = 81;
constexpr std::int32_t kCarRequestSize = 500;

extern "C" {

// acc, pwd and timestamp have no place in the fleet record. Texts may be null.
void InitRequestStringForFleet(std::uint8_t* out, std::int32_t len, std::int32_t channel,
                               const char* acc, const char* pwd, const char* carId,
                               const char* timestamp);
void InitRequestStringForCar(std::uint8_t* out, std::int32_t len, std::int32_t channel,
                             const char* acc, const char* pwd, const char* carId,
                             const char* timestamp);

// Apply the request profile and send the record with a single write: its count is the result, even
// if it is short. A null acc or pwd empties both. On failure the socket is closed and -1 returned.
std::int32_t SendRequestForFleet(std::int32_t socket, std::int32_t channel, const char* acc,
                                 const char* pwd, const char* timestamp, const char* carId);
std::int32_t SendRequestForCar(std::int32_t socket, std::int32_t channel, const char* acc,
                               const char* pwd, const char* timestamp, const char* carId);

}  // extern "C"

}  // namespace quorvid
