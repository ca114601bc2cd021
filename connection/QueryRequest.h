// QueryRequest: the records that ask a server for the device list or for a device's relay.
//
// Any thread; nothing is kept. Builders fill len bytes at out, senders use a connected socket once,
// right after connecting. Mind the order: the relay sender takes timestamp before carId, its
// builder carId first.
#pragma once

#include <cstdint>

namespace quorvid {

constexpr std::int32_t kQueryRequestSize = 500;

extern "C" {

// Each null text leaves its own field zero.
void InitRequestStringGetListForCar(std::uint8_t* out, std::int32_t len, const char* acc,
                                    const char* pwd, const char* text3);
// carId is placed only beside a timestamp that is not null.
void InitRequestStringGetRelayForCar(std::uint8_t* out, std::int32_t len, std::int32_t channel,
                                     const char* acc, const char* pwd, const char* carId,
                                     const char* timestamp);

// Apply the request profile and send the whole record: 500, or -1 with the socket closed.
std::int32_t SendRequestGetListForCar(std::int32_t socket, const char* acc, const char* pwd,
                                      const char* text3);
std::int32_t SendRequestGetRelayForCar(std::int32_t socket, std::int32_t channel, const char* acc,
                                       const char* pwd, const char* timestamp, const char* carId);

}  // extern "C"

}  // namespace quorvid
