#include "render/TextFile.h"

#include <utf8.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

namespace quorvid {
namespace {

constexpr std::size_t kSizeLimit = 1 << 20;

int hexDigit(char digit) {
  const std::string_view digits = "0123456789abcdef";
  const char lower = digit >= 'A' && digit <= 'F' ? static_cast<char>(digit + ('a' - 'A')) : digit;
  const std::size_t value = digits.find(lower);
  return value == std::string_view::npos ? -1 : static_cast<int>(value);
}

std::string pathOf(std::string_view url) {
  constexpr std::string_view kScheme = "file://";
  if (url.substr(0, kScheme.size()) != kScheme) return std::string(url);
  const std::size_t begin = url.find('/', kScheme.size());  // behind the host, empty or "localhost"
  std::string path;
  for (std::size_t at = begin; at < url.size(); ++at) {
    const bool encoded = url[at] == '%' && at + 2 < url.size() && hexDigit(url[at + 1]) >= 0 &&
                         hexDigit(url[at + 2]) >= 0;
    path +=
        encoded ? static_cast<char>(hexDigit(url[at + 1]) * 16 + hexDigit(url[at + 2])) : url[at];
    at += encoded ? 2 : 0;
  }
  return path;
}

}  // namespace

std::string readTextFile(const Text& url, std::string& text) {
  if (url.isMissing()) return "no file was named";
  const std::string path = pathOf(url.c_str());
  struct Close {
    void operator()(std::FILE* open) const { std::fclose(open); }
  };
  const std::unique_ptr<std::FILE, Close> file(std::fopen(path.c_str(), "rbe"));
  if (file == nullptr) {
    return path + ": " + std::strerror(errno);
  }
  text.resize(kSizeLimit + 1);
  text.resize(std::fread(text.data(), 1, text.size(), file.get()));
  if (std::ferror(file.get()) != 0) return path + ": it can't be read";
  if (text.size() > kSizeLimit) return path + ": it is too large for a shader";
  return utf8::is_valid(text.begin(), text.end()) ? "" : path + ": it is not UTF-8 text";
}

}  // namespace quorvid
