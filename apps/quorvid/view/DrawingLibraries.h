// cairo, loaded when the first text is drawn, and libpng, with the first file that is written
// (base/LateLibrary.h). A package must name both: no program of ours does.
#pragma once

#include <cairo.h>
#include <png.h>

#include "base/LateLibrary.h"

namespace quorvid::app {

inline constinit LateLibrary cairoLibrary("libcairo.so.2");

QUORVID_LATE(cairoLibrary, cairo_create);
QUORVID_LATE(cairoLibrary, cairo_destroy);
QUORVID_LATE(cairoLibrary, cairo_image_surface_create);
QUORVID_LATE(cairoLibrary, cairo_image_surface_get_data);
QUORVID_LATE(cairoLibrary, cairo_image_surface_get_stride);
QUORVID_LATE(cairoLibrary, cairo_move_to);
QUORVID_LATE(cairoLibrary, cairo_paint);
QUORVID_LATE(cairoLibrary, cairo_scale);
QUORVID_LATE(cairoLibrary, cairo_select_font_face);
QUORVID_LATE(cairoLibrary, cairo_set_font_size);
QUORVID_LATE(cairoLibrary, cairo_set_operator);
QUORVID_LATE(cairoLibrary, cairo_set_source_rgba);
QUORVID_LATE(cairoLibrary, cairo_show_text);
QUORVID_LATE(cairoLibrary, cairo_surface_destroy);
QUORVID_LATE(cairoLibrary, cairo_surface_flush);
QUORVID_LATE(cairoLibrary, cairo_text_extents);

#define QUORVID_PNG_NAME(number) "libpng" #number ".so." #number
#define QUORVID_PNG_NAME_OF(number) QUORVID_PNG_NAME(number)
inline constinit LateLibrary pngLibrary(QUORVID_PNG_NAME_OF(PNG_LIBPNG_VER_SONUM));
#undef QUORVID_PNG_NAME_OF
#undef QUORVID_PNG_NAME

QUORVID_LATE(pngLibrary, png_image_write_to_stdio);

}  // namespace quorvid::app
