#include "apps/desk/recording/FileNames.h"

#include <glib.h>

#include <algorithm>
#include <cctype>

#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

namespace {

constexpr glong kMostCharacters = 63;
constexpr std::size_t kMostBytes = 70;
constexpr std::size_t kStampLength = 16;  // 20260131T235959Z

// Signs that a folder's entry can't have, that other systems refuse, or that don't show.
bool isUnfit(gunichar sign) {
  static const std::string unfit = "/\\:*?\"<>|";
  return g_unichar_isprint(sign) == 0 || (sign < 128 && unfit.find(char(sign)) != unfit.npos);
}

}  // namespace

std::string fileStem(const Camera& camera) {
  const std::string text = taken(
      g_utf8_make_valid(camera.device.c_str(),
                        static_cast<gssize>(std::min<std::size_t>(camera.device.size(), 256))));
  std::string stem;
  const char* sign = text.c_str();
  for (glong n = 0; *sign != '\0' && n < kMostCharacters; ++n, sign = g_utf8_next_char(sign)) {
    char bytes[6];
    const gunichar one = g_utf8_get_char(sign);
    const int length = g_unichar_to_utf8(isUnfit(one) ? '_' : one, bytes);
    if (stem.size() + static_cast<std::size_t>(length) > kMostBytes) break;
    stem.append(bytes, static_cast<std::size_t>(length));
  }
  // A leading dot would hide the file, a hyphen make an option of it.
  if (stem.empty() || stem.front() == '.' || stem.front() == '-') stem.insert(0, "_");
  return stem + "-ch" + std::to_string(camera.channel + 1);  // as people count them
}

std::optional<std::time_t> timeInName(const std::string& name) {
  if (!name.ends_with(".mp4") && !name.ends_with(".png")) return std::nullopt;
  std::string stem = name.substr(0, name.size() - 4);
  // -2, -3...: of several that began in one second.
  if (stem.empty() || stem.back() != 'Z') stem.resize(std::min(stem.rfind('-'), stem.size()));
  const std::size_t channel = stem.rfind("-ch");
  if (channel == std::string::npos || stem.size() < channel + 4 + kStampLength) return std::nullopt;
  std::tm time{};
  const char* const stamp = stem.c_str() + stem.size() - kStampLength;
  if (stamp[-1] != '-') return std::nullopt;
  const char* const end = strptime(stamp, "%Y%m%dT%H%M%SZ", &time);
  if (end == nullptr || *end != '\0') return std::nullopt;
  return timegm(&time);
}

}  // namespace quorvid::desk
