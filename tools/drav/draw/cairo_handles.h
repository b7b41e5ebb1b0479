// SPDX-License-Identifier: Apache-2.0
// Owners of cairo's objects.
#ifndef TOOLS_DRAV_DRAW_CAIRO_HANDLES_H_
#define TOOLS_DRAV_DRAW_CAIRO_HANDLES_H_

#include <cairo.h>

#include <memory>
#include <new>

struct CairoDestroy {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_t* context) const { cairo_destroy(context); }
};
using CairoSurface = std::unique_ptr<cairo_surface_t, CairoDestroy>;
using CairoContext = std::unique_ptr<cairo_t, CairoDestroy>;

// A picture in memory. Throws std::bad_alloc.
inline CairoSurface makeImageSurface(cairo_format_t format, int width, int height) {
  CairoSurface surface(cairo_image_surface_create(format, width, height));
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) throw std::bad_alloc();
  return surface;
}

inline CairoContext makeContext(const CairoSurface& surface) {
  return CairoContext(cairo_create(surface.get()));
}

#endif  // TOOLS_DRAV_DRAW_CAIRO_HANDLES_H_
