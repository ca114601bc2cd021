// QueryRequest: the records that ask a server for the device list or for a device's relay.
//
// Any thread; nothing is kept. Builders fill len bytes at out, senders use a connected socket once,
// right after connecting. Mind the order: the relay sender takes timestamp before carId, its
// builder carId first.
#pragma once

#include <cstdint>

namespace quorvid {

constexpr int32_t kQueryRequestSize = 500;

extern "C" {

// Each null text leaves its own field zero.
void InitRequestStringGetListForCar(uint8_t* out, int32_t len, const char* acc, const char* pwd,
                                    const char* text3);
// carId is placed only beside a timestamp that is not null.
void InitRequestStringGetRelayForCar(uint8_t* out, int32_t len, int32_t channel, const char* acc,
                                     const char* pwd, const char* carId, const char* timestamp);

// Apply the request profile and send the whole record: 500, or -1 with the socket closed.
int32_t SendRequestGetListForCar(int32_t socket, const char* acc, const char* pwd,
                                 const char* text3);
int32_t SendRequestGetRelayForCar(int32_t socket, int32_t channel, const char* acc, const char* pwd,
                                  const char* timestamp, const char* carId);

}  // extern "C"

}  // namespace quorvid
