#include "apps/desk/toolkit/Locale.h"

#include <clocale>
#include <filesystem>
#include <system_error>

#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

void useLanguage() {
  setlocale(LC_ALL, "");
  std::error_code failed;
  const auto folder = std::filesystem::read_symlink("/proc/self/exe", failed).parent_path();
  auto texts = folder / QUORVID_DESK_BUILD_TEXTS;
  // From the program's folder, so that an installed tree can be moved; an absolute one stays.
  if (!std::filesystem::is_directory(texts, failed)) texts = folder / QUORVID_LOCALE_FOLDER;
  bindtextdomain(kTextDomain, texts.lexically_normal().c_str());
  bind_textdomain_codeset(kTextDomain, "UTF-8");
}

}  // namespace quorvid::desk
