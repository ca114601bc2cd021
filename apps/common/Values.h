// Values: what the options take, as it is written on a command line. What can't be taken is a
// Failure with its sentence. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "apps/common/Target.h"

namespace quorvid::app {

// "HOST:PORT": a name or dotted IPv4 address and a port of 1 to 65535.
Endpoint parseEndpoint(const std::string& text);
// "N[,N...]": channels of 0 to 7, each once.
std::vector<int> parseChannels(const std::string& text);
// "WxH": 16 to 8192 pixels each.
PixelSize parseSize(const std::string& text);
// "stream": 0, "fill": -1, "W:H": their ratio, from 0.1 to 10.
double parseAspect(const std::string& text);
// "N", "NK", "NM", "NG": bytes, the letters standing for powers of 1024; 64K to 1048576G. 0 for an
// empty text.
std::int64_t parseFileLimit(const std::string& text);

// Refuses a text of more than `most` bytes; `what` names it in the sentence.
void requireFits(const char* what, const std::string& text, std::size_t most);
// Refuses a file that could not be written: a folder, a missing folder, no permission.
void requireWritable(const std::string& fileName);
// Refuses a folder that is none or that no file can be made in.
void requireFolder(const std::string& folder);
// Refuses a name that does not end so; `what` names it in the sentence.
void requireEnding(const char* what, const std::string& fileName,
                   const std::vector<std::string>& endings);

}  // namespace quorvid::app
