// Locale: where the texts in the user's language are. Main thread, before any text is asked for.
#pragma once

namespace quorvid::desk {

// Takes the user's language: of the build's own texts beside a program that is not installed, else
// of the tree that it is installed in.
void useLanguage();

}  // namespace quorvid::desk
