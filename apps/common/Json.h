// Json: what the reports of the commands share. docs/tools.md lists their fields, which only ever
// become more.
#pragma once

#include <ctime>
#include <nlohmann/json.hpp>
#include <string>

#include "apps/common/Target.h"

namespace quorvid::app {

using Json = nlohmann::ordered_json;

double rounded(double value);  // to thousandths
Json sizeJson(PixelSize size);
// "2026-01-31T23:59:59Z"
std::string utcText(std::time_t time);
// "server", "path", "device", "channel" of one stream.
Json targetJson(const StreamTarget& target);
// With a line end; in one line, or several that are indented. Bytes that are no UTF-8, which a
// device identifier may hold, are replaced.
std::string textOf(const Json& json, bool inOneLine);

}  // namespace quorvid::app
