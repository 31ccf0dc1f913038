#include "machine/images/image_writing.hpp"

#include "machine/images/pixel_format.hpp"

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <array>
#include <cmath>
#include <memory>
#include <string>

namespace veltro::host {
namespace {

struct Release {
  void operator()(void *object) const { g_object_unref(object); }
};
using Pixbuf = std::unique_ptr<GdkPixbuf, Release>;

gboolean append(const gchar *bytes, gsize count, GError ** /*error*/, void *file) {
  auto *const to = static_cast<std::vector<std::uint8_t> *>(file);
  to->insert(to->end(), bytes, bytes + count);
  return TRUE;
}

using Write = void (*)(std::uint32_t word, guchar *to);

/// The pixels of `bitmap`, each written by `write`; null without memory for them.
template <Write write, bool alpha> Pixbuf pixbuf_of(const Bitmap &bitmap) {
  Pixbuf pixbuf(gdk_pixbuf_new(GDK_COLORSPACE_RGB, alpha, 8, static_cast<int>(bitmap.width()),
                               static_cast<int>(bitmap.height())));
  if (pixbuf == nullptr)
    return nullptr;
  constexpr std::size_t kStep = alpha ? 4 : 3;
  guchar *const bytes = gdk_pixbuf_get_pixels(pixbuf.get());
  const auto stride = static_cast<std::size_t>(gdk_pixbuf_get_rowstride(pixbuf.get()));
  for (std::size_t y = 0; y < bitmap.height(); ++y) {
    const auto *const row = reinterpret_cast<const std::uint32_t *>(bitmap.row(y));
    for (std::size_t x = 0; x < bitmap.width(); ++x)
      write(row[x], bytes + y * stride + x * kStep);
  }
  return pixbuf;
}

constexpr std::uint8_t part(std::uint32_t word, int shift) {
  return static_cast<std::uint8_t>(word >> shift);
}

void write_solid(std::uint32_t word, guchar *to) {
  to[0] = part(word, 16);
  to[1] = part(word, 8);
  to[2] = part(word, 0);
}

void write_on_white(std::uint32_t word, guchar *to) {
  const std::uint32_t white = 255 - (word >> 24);
  for (const int place : {0, 1, 2})
    to[place] = static_cast<guchar>(part(word, 16 - 8 * place) + white);
}

void write_straight(std::uint32_t word, guchar *to) {
  const std::uint32_t alpha = word >> 24;
  to[3] = static_cast<guchar>(alpha);
  if (alpha == 255) {
    write_solid(word, to);
    return;
  }
  for (const int place : {0, 1, 2})
    to[place] =
        alpha == 0 ? 0 : static_cast<guchar>(unpremultiplied(part(word, 16 - 8 * place), alpha));
}

std::vector<std::uint8_t> save(const Pixbuf &pixbuf, const char *type, const char *option,
                               const char *value) {
  std::vector<std::uint8_t> file;
  if (pixbuf == nullptr)
    return file;
  const char *names[] = {option, nullptr};
  const char *values[] = {value, nullptr};
  if (gdk_pixbuf_save_to_callbackv(pixbuf.get(), append, &file, type, const_cast<char **>(names),
                                   const_cast<char **>(values), nullptr) == 0)
    file.clear();
  return file;
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

std::vector<std::uint8_t> write_png(const Pixels &pixels) {
  // The least effort: the usual one takes four times as long, for a photograph a sixth smaller.
  return pixels.read([](const Bitmap &bitmap) {
    return save(bitmap.opaque() ? pixbuf_of<write_solid, false>(bitmap)
                                : pixbuf_of<write_straight, true>(bitmap),
                "png", "compression", "1");
  });
}

std::vector<std::uint8_t> write_jpeg(const Pixels &pixels, double quality, int orientation) {
  const double bounded = quality > 0 ? std::fmin(quality, 1) : 0;
  const std::string percent = std::to_string(std::lround(bounded * 100));
  return pixels.read([&](const Bitmap &bitmap) {
    std::vector<std::uint8_t> file =
        save(bitmap.opaque() ? pixbuf_of<write_solid, false>(bitmap)
                             : pixbuf_of<write_on_white, false>(bitmap),
             "jpeg", "quality", percent.c_str());
    constexpr std::size_t kStartOfImage = 2;
    if (orientation != 1 && file.size() > kStartOfImage) {
      const auto segment = exif(static_cast<std::uint8_t>(orientation));
      file.insert(file.begin() + kStartOfImage, segment.begin(), segment.end());
    }
    return file;
  });
}

} // namespace veltro::host
