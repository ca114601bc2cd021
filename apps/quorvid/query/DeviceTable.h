// DeviceTable: device records as text for people and as JSON. Plain logic.
//
// The fields go by the names they have in DevInfoItem: what they mean is between the server and
// whoever reads them. Blocks are shown as text up to their first zero byte, with a dot for each
// byte of what visibleText() would replace (a server must not be able to steer the terminal).
#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "quorvid/connection/VehicleConnection.h"

namespace quorvid::app {

std::string printableText(const std::uint8_t* block, std::size_t size);

// A heading and one line for each device; `raw` adds the bytes of each block below it.
std::string deviceTable(const std::vector<DevInfoItem>& devices, bool raw);

// An array of objects; `raw` adds the blocks as hexadecimal text.
nlohmann::ordered_json deviceJson(const std::vector<DevInfoItem>& devices, bool raw);

}  // namespace quorvid::app
