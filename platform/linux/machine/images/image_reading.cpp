#include "machine/images/image_reading.hpp"

#include "machine/images/image_truncation.hpp"
#include "machine/images/pixel_format.hpp"

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <algorithm>
#include <cstdlib>

namespace veltro::host {
namespace {

/// What the loader's signal is to do, and what it tells.
struct Reading {
  ReadOptions options;
  bool is_jpeg;
  ImageFile image;
};

void size_is_known(GdkPixbufLoader *loader, int width, int height, Reading *reading) {
  const ReadOptions &options = reading->options;
  ImageFile &image = reading->image;
  image.width = static_cast<std::size_t>(width);
  image.height = static_cast<std::size_t>(height);
  if (image.width > kMaxSide || image.height > kMaxSide ||
      image.width * image.height > options.max_pixels)
    image.problem =
        "its " + std::to_string(width) + " x " + std::to_string(height) + " pixels are too many";
  if (options.size_only || !image.problem.empty()) {
    // Tells the loader to go no further.
    gdk_pixbuf_loader_set_size(loader, 0, 0);
    return;
  }
  if (options.least_side == 0 || !reading->is_jpeg)
    return;
  for (const int divisor : {8, 4, 2}) {
    const int less_wide = (width + divisor - 1) / divisor;
    const int less_high = (height + divisor - 1) / divisor;
    if (std::cmp_greater_equal(std::min(less_wide, less_high), options.least_side)) {
      gdk_pixbuf_loader_set_size(loader, less_wide, less_high);
      return;
    }
  }
}

int orientation_of(GdkPixbuf *pixbuf) {
  const char *const option = gdk_pixbuf_get_option(pixbuf, "orientation");
  const int value = option != nullptr ? std::atoi(option) : 1;
  return value >= 1 && value <= 8 ? value : 1;
}

std::shared_ptr<Pixels> pixels_of(GdkPixbuf *pixbuf) {
  return convert(static_cast<std::size_t>(gdk_pixbuf_get_width(pixbuf)),
                 static_cast<std::size_t>(gdk_pixbuf_get_height(pixbuf)),
                 gdk_pixbuf_read_pixels(pixbuf),
                 static_cast<std::size_t>(gdk_pixbuf_get_rowstride(pixbuf)),
                 gdk_pixbuf_get_has_alpha(pixbuf) != 0 ? kRgbaBytes : kRgbBytes);
}

} // namespace

ImageFile read_image(std::span<const std::uint8_t> file, const ReadOptions &options) {
  const bool is_jpeg = file.size() >= 2 && file[0] == 0xFF && file[1] == 0xD8;
  Reading reading{options, is_jpeg, {}};
  ImageFile &image = reading.image;
  if (file.empty()) {
    image.problem = "it is empty";
    return image;
  }
  const std::unique_ptr<GdkPixbufLoader, void (*)(void *)> loader(gdk_pixbuf_loader_new(),
                                                                  g_object_unref);
  g_signal_connect(loader.get(), "size-prepared", G_CALLBACK(size_is_known), &reading);
  GError *error = nullptr;
  gdk_pixbuf_loader_write(loader.get(), file.data(), file.size(), &error);
  // A loader must be closed in any case; what went wrong first is what is told.
  gdk_pixbuf_loader_close(loader.get(), error == nullptr ? &error : nullptr);
  const std::unique_ptr<GError, void (*)(GError *)> complaint(error, g_error_free);
  // Told to go no further, a loader complains; that is no problem of the file's.
  if (!image.problem.empty() || (options.size_only && image.width > 0 && image.height > 0))
    return image;
  if (is_truncated(file)) {
    image.problem = "it is truncated";
  } else if (error != nullptr) {
    image.problem = error->message;
  } else if (GdkPixbuf *const pixbuf = gdk_pixbuf_loader_get_pixbuf(loader.get())) {
    image.orientation = orientation_of(pixbuf);
    image.pixels = pixels_of(pixbuf);
  }
  if (image.pixels == nullptr && image.problem.empty())
    image.problem = "it has no pixels";
  return image;
}

} // namespace veltro::host
