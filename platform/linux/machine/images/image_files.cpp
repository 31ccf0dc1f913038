#include "machine/images/image_files.hpp"

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace veltro::host {
namespace {

/// What the loader's signal is to do, and what it tells.
struct Reading {
  ReadOptions options;
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
  if (options.least_side == 0)
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

using Pixbuf = std::unique_ptr<GdkPixbuf, void (*)(void *)>;

/// The component before it was multiplied by `alpha`.
std::uint32_t straight(std::uint32_t value, std::uint32_t alpha) {
  if (alpha == 0 || alpha == 255)
    return alpha == 0 ? 0 : value;
  return std::min((value * 255 + alpha / 2) / alpha, 255U);
}

/// The pixels of `bitmap`, laid on white unless `with_alpha`; null without memory for them.
template <bool with_alpha> Pixbuf pixbuf_of(const Bitmap &bitmap) {
  Pixbuf pixbuf(gdk_pixbuf_new(GDK_COLORSPACE_RGB, with_alpha, 8, static_cast<int>(bitmap.width),
                               static_cast<int>(bitmap.height)),
                g_object_unref);
  if (pixbuf == nullptr)
    return pixbuf;
  const std::uint32_t set = bitmap.opaque ? 0xFF000000 : 0;
  const auto stride = static_cast<std::size_t>(gdk_pixbuf_get_rowstride(pixbuf.get()));
  for (std::size_t y = 0; y < bitmap.height; ++y) {
    guchar *to = gdk_pixbuf_get_pixels(pixbuf.get()) + y * stride;
    for (std::size_t x = 0; x < bitmap.width; ++x) {
      const std::uint32_t word = bitmap.row(y)[x] | set;
      const std::uint32_t alpha = word >> 24;
      for (const int shift : {16, 8, 0}) {
        const std::uint32_t value = word >> shift & 0xFF;
        *to++ = static_cast<guchar>(with_alpha ? straight(value, alpha) : value + 255 - alpha);
      }
      if (with_alpha)
        *to++ = static_cast<guchar>(alpha);
    }
  }
  return pixbuf;
}

std::vector<std::uint8_t> save(const Pixbuf &pixbuf, const char *type, const char *option,
                               const char *value) {
  gchar *bytes = nullptr;
  gsize count = 0;
  if (pixbuf == nullptr || gdk_pixbuf_save_to_buffer(pixbuf.get(), &bytes, &count, type, nullptr,
                                                     option, value, nullptr) == 0)
    return {};
  const std::unique_ptr<gchar, void (*)(void *)> owner(bytes, g_free);
  return {bytes, bytes + count};
}

/// A segment of metadata that holds only the orientation.
constexpr std::array<std::uint8_t, 36> exif(std::uint8_t orientation) {
  return {0xFF, 0xE1, 0, 34, 'E', 'x', 'i', 'f', 0, 0,
          // A TIFF header in big-endian order, whose only directory follows it
          'M', 'M', 0, 42, 0, 0, 0, 8,
          // of one entry: tag 0x0112, one short
          0, 1, 0x01, 0x12, 0, 3, 0, 0, 0, 1, 0, orientation, 0, 0,
          // and no further directory
          0, 0, 0, 0};
}

} // namespace

ImageFile read_image(std::span<const std::uint8_t> file, const ReadOptions &options) {
  Reading reading{options, {}};
  if (file.size() < 2 || file[0] != 0xFF || file[1] != 0xD8)
    reading.options.least_side = 0;
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

std::vector<std::uint8_t> write_png(const Pixels &pixels) {
  // The least effort: the usual one takes four times as long, for a photograph a sixth smaller.
  return pixels.read([](const Bitmap &bitmap) {
    return save(bitmap.opaque ? pixbuf_of<false>(bitmap) : pixbuf_of<true>(bitmap), "png",
                "compression", "1");
  });
}

std::vector<std::uint8_t> write_jpeg(const Pixels &pixels, double quality, int orientation) {
  const double bounded = quality > 0 ? std::fmin(quality, 1) : 0;
  const std::string percent = std::to_string(std::lround(bounded * 100));
  return pixels.read([&](const Bitmap &bitmap) {
    std::vector<std::uint8_t> file =
        save(pixbuf_of<false>(bitmap), "jpeg", "quality", percent.c_str());
    constexpr std::size_t kStartOfImage = 2;
    if (orientation != 1 && file.size() > kStartOfImage) {
      const auto segment = exif(static_cast<std::uint8_t>(orientation));
      file.insert(file.begin() + kStartOfImage, segment.begin(), segment.end());
    }
    return file;
  });
}

} // namespace veltro::host
