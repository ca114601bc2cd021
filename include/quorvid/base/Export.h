// Marks what libquorvid.so offers to a host; everything else in the library is hidden.
#pragma once

#define QUORVID_API __attribute__((visibility("default")))
// Members of an offered class that are the library's own.
#define QUORVID_LOCAL __attribute__((visibility("hidden")))
