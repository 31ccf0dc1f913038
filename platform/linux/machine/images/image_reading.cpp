#include "machine/images/image_reading.hpp"

#include "machine/images/image_truncation.hpp"
#include "machine/images/pixel_format.hpp"

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace veltro::host {
namespace {

constexpr const char *kTruncated = "it is truncated";

struct Release {
  void operator()(void *object) const { g_object_unref(object); }
};
using Loader = std::unique_ptr<GdkPixbufLoader, Release>;

/// What the loader's signal tells, and what it is to do about it.
struct Reading {
  ReadOptions options;
  bool size_only = false;
  std::size_t width = 0;
  std::size_t height = 0;
  bool refused = false;
};

bool is_jpeg(GdkPixbufLoader *loader) {
  GdkPixbufFormat *const format = gdk_pixbuf_loader_get_format(loader);
  gchar *const name = format != nullptr ? gdk_pixbuf_format_get_name(format) : nullptr;
  const bool jpeg = name != nullptr && std::string_view(name) == "jpeg";
  g_free(name);
  return jpeg;
}

void size_is_known(GdkPixbufLoader *loader, int width, int height, Reading *reading) {
  reading->width = static_cast<std::size_t>(std::max(width, 0));
  reading->height = static_cast<std::size_t>(std::max(height, 0));
  reading->refused = reading->width > kMaxSide || reading->height > kMaxSide ||
                     reading->width * reading->height > reading->options.max_pixels;
  if (reading->refused || reading->size_only) {
    // Tells the loader to go no further.
    gdk_pixbuf_loader_set_size(loader, 0, 0);
    return;
  }
  const std::size_t least = reading->options.least_side;
  if (least == 0 || !is_jpeg(loader))
    return;
  for (const std::size_t divisor : {8U, 4U, 2U}) {
    const std::size_t less_wide = (reading->width + divisor - 1) / divisor;
    const std::size_t less_high = (reading->height + divisor - 1) / divisor;
    if (less_wide >= least && less_high >= least) {
      gdk_pixbuf_loader_set_size(loader, static_cast<int>(less_wide), static_cast<int>(less_high));
      return;
    }
  }
}

std::string text_and_free(GError *error) {
  std::string text = error != nullptr ? error->message : "it is no image";
  g_clear_error(&error);
  return text;
}

/// Puts the file through a loader; the problem, if there is one.
std::string load(GdkPixbufLoader *loader, std::span<const std::uint8_t> file, Reading &reading) {
  g_signal_connect(loader, "size-prepared", G_CALLBACK(size_is_known), &reading);
  GError *error = nullptr;
  const bool written = gdk_pixbuf_loader_write(loader, file.data(), file.size(), &error) != 0;
  // A loader must be closed in any case; what went wrong first is what is told.
  GError *late = nullptr;
  const bool closed = gdk_pixbuf_loader_close(loader, written ? &late : nullptr) != 0;
  if (reading.refused) {
    g_clear_error(&error);
    g_clear_error(&late);
    return "its " + std::to_string(reading.width) + " x " + std::to_string(reading.height) +
           " pixels are too many";
  }
  if (written && closed)
    return "";
  const std::string text = text_and_free(written ? late : error);
  return is_truncated(file) ? kTruncated : text;
}

int orientation_of(GdkPixbuf *pixbuf) {
  const char *const option = gdk_pixbuf_get_option(pixbuf, "orientation");
  const int value = option != nullptr ? std::atoi(option) : 1;
  return value >= 1 && value <= 8 ? value : 1;
}

std::shared_ptr<Pixels> pixels_of(GdkPixbuf *pixbuf) {
  const bool has_alpha = gdk_pixbuf_get_has_alpha(pixbuf) != 0;
  std::shared_ptr<Bitmap> bitmap =
      Bitmap::create(static_cast<std::size_t>(gdk_pixbuf_get_width(pixbuf)),
                     static_cast<std::size_t>(gdk_pixbuf_get_height(pixbuf)), !has_alpha);
  if (bitmap == nullptr)
    return nullptr;
  convert(*bitmap, gdk_pixbuf_read_pixels(pixbuf),
          static_cast<std::size_t>(gdk_pixbuf_get_rowstride(pixbuf)),
          has_alpha ? kRgbaBytes : kRgbBytes);
  return std::make_shared<Pixels>(std::move(bitmap));
}

} // namespace

ImageFile read_image(std::span<const std::uint8_t> file, const ReadOptions &options) {
  ImageFile result;
  if (file.empty()) {
    result.problem = "it is empty";
    return result;
  }
  const Loader loader(gdk_pixbuf_loader_new());
  Reading reading{.options = options};
  result.problem = load(loader.get(), file, reading);
  if (!result.problem.empty())
    return result;
  if (is_truncated(file)) {
    result.problem = kTruncated;
    return result;
  }
  GdkPixbuf *const pixbuf = gdk_pixbuf_loader_get_pixbuf(loader.get());
  if (pixbuf != nullptr) {
    result.orientation = orientation_of(pixbuf);
    result.pixels = pixels_of(pixbuf);
  }
  if (result.pixels == nullptr)
    result.problem = "it has no pixels";
  return result;
}

ImageSize read_image_size(std::span<const std::uint8_t> file) {
  if (file.empty())
    return {0, 0, "it is empty"};
  const Loader loader(gdk_pixbuf_loader_new());
  Reading reading{.options = {}, .size_only = true};
  const std::string problem = load(loader.get(), file, reading);
  // Told to go no further, a loader complains; that is no problem of the file's.
  const bool known = reading.width > 0 && reading.height > 0;
  return {reading.width, reading.height, known && !reading.refused ? "" : problem};
}

} // namespace veltro::host
