// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/draw/drawing_file.h"

#include <cairo-pdf.h>

#include <cerrno>
#include <cstring>

#include "tools/drav/draw/cairo_handles.h"
#include "tools/drav/io/text.h"

namespace {

cairo_status_t writeBytes(void* stream, const unsigned char* bytes, unsigned int size) {
  return std::fwrite(bytes, 1, size, static_cast<std::FILE*>(stream)) == size
             ? CAIRO_STATUS_SUCCESS
             : CAIRO_STATUS_WRITE_ERROR;
}

bool succeeded(cairo_status_t status, const std::string& path, std::string& error) {
  if (status == CAIRO_STATUS_SUCCESS) return true;
  const bool isSystem = status == CAIRO_STATUS_WRITE_ERROR && errno != 0;
  error = printablePath(path) + ": " +
          (isSystem ? std::strerror(errno) : cairo_status_to_string(status));
  return false;
}

}  // namespace

bool writePngDrawing(OutputFile& file, const std::string& path, const Drawing& drawing,
                     std::string& error) {
  if (!file.open(path, error)) return false;
  const CairoSurface surface = makeImageSurface(CAIRO_FORMAT_RGB24, drawing.width, drawing.height);
  cairo_status_t status = CAIRO_STATUS_SUCCESS;
  {
    const CairoContext context = makeContext(surface);
    cairo_set_source_rgb(context.get(), 1, 1, 1);
    cairo_paint(context.get());
    drawing.draw(context.get());
    status = cairo_status(context.get());
  }
  errno = 0;
  if (status == CAIRO_STATUS_SUCCESS)
    status = cairo_surface_write_to_png_stream(surface.get(), writeBytes, file.stream());
  return succeeded(status, path, error) && file.complete(error);
}

bool writePdfDrawings(OutputFile& file, const std::string& path, const std::vector<Drawing>& pages,
                      double pointsPerUnit, const std::string& title, std::string& error) {
  if (!file.open(path, error)) return false;
  const CairoSurface surface(
      cairo_pdf_surface_create_for_stream(writeBytes, file.stream(), 72, 72));
  cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_TITLE, title.c_str());
  cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_CREATOR, "drav " DRAV_VERSION);
  cairo_status_t status = cairo_surface_status(surface.get());
  errno = 0;
  for (const Drawing& page : pages) {
    cairo_pdf_surface_set_size(surface.get(), page.width * pointsPerUnit,
                               page.height * pointsPerUnit);
    const CairoContext context = makeContext(surface);
    cairo_scale(context.get(), pointsPerUnit, pointsPerUnit);
    page.draw(context.get());
    cairo_show_page(context.get());
    if (status == CAIRO_STATUS_SUCCESS) status = cairo_status(context.get());
  }
  cairo_surface_finish(surface.get());
  if (status == CAIRO_STATUS_SUCCESS) status = cairo_surface_status(surface.get());
  return succeeded(status, path, error) && file.complete(error);
}
