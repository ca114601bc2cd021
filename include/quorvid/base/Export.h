// Marks what the shared libraries offer to a host; everything else in them is hidden.
#pragma once

#define QUORVID_API __attribute__((visibility("default")))
// Members of an offered class that are the library's own.
#define QUORVID_LOCAL __attribute__((visibility("hidden")))
