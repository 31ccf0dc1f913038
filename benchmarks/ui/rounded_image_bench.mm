// Rounded images against bare cairo: the same clip, the same scale and the same filter on a surface
// of the same size, without the objects around it.
#import <veltro/veltro.h>

#import <UIKit/UIKit.h>

#include <benchmark/benchmark.h>
#include <cairo.h>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

std::vector<std::uint32_t> noise(std::size_t count) {
  std::vector<std::uint32_t> words(count);
  std::uint32_t state = 1;
  for (std::uint32_t &word : words) {
    state = state * 1664525 + 1013904223;
    word = state | 0xFF000000;
  }
  return words;
}

UIImage *create_image(std::size_t width, std::size_t height) {
  const std::vector<std::uint32_t> words = noise(width * height);
  const CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  NSData *const data = [[NSData alloc] initWithBytes:words.data() length:words.size() * 4];
  const CGDataProviderRef provider = CGDataProviderCreateWithCFData((CFDataRef)data);
  const CGImageRef image =
      CGImageCreate(width, height, 8, 32, width * 4, space,
                    kCGBitmapByteOrder32Little | CGBitmapInfo{kCGImageAlphaPremultipliedFirst},
                    provider, nullptr, true, kCGRenderingIntentDefault);
  UIImage *const result = [[UIImage alloc] initWithCGImage:image];
  CGImageRelease(image);
  CGDataProviderRelease(provider);
  CGColorSpaceRelease(space);
  [data release];
  return result;
}

void rounded_veltro(benchmark::State &state) {
  @autoreleasepool {
    UIImage *const image = create_image(static_cast<std::size_t>(state.range(0)),
                                        static_cast<std::size_t>(state.range(1)));
    const auto side = static_cast<float>(state.range(2));
    for (auto _ : state) {
      @autoreleasepool {
        benchmark::DoNotOptimize([ZLTUtils roundedImage:image width:side height:side]);
      }
    }
    [image release];
  }
}

void rounded_cairo(benchmark::State &state) {
  const auto width = static_cast<int>(state.range(0));
  const auto height = static_cast<int>(state.range(1));
  const auto side = static_cast<double>(state.range(2));
  constexpr int kScale = 2;
  std::vector<std::uint32_t> words =
      noise(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  cairo_surface_t *const source =
      cairo_image_surface_create_for_data(reinterpret_cast<unsigned char *>(words.data()),
                                          CAIRO_FORMAT_ARGB32, width, height, width * 4);
  for (auto _ : state) {
    cairo_surface_t *const target = cairo_image_surface_create(
        CAIRO_FORMAT_ARGB32, static_cast<int>(side) * kScale, static_cast<int>(side) * kScale);
    cairo_t *const cairo = cairo_create(target);
    cairo_set_tolerance(cairo, 0.02); // as smooth a circle
    cairo_scale(cairo, kScale, kScale);
    cairo_arc(cairo, side / 2, side / 2, side / 2, 0, 2 * M_PI);
    cairo_close_path(cairo);
    cairo_clip(cairo);
    cairo_scale(cairo, side / width, side / height);
    cairo_set_source_surface(cairo, source, 0, 0);
    cairo_pattern_set_filter(cairo_get_source(cairo), CAIRO_FILTER_GOOD);
    cairo_pattern_set_extend(cairo_get_source(cairo), CAIRO_EXTEND_PAD);
    cairo_rectangle(cairo, 0, 0, width, height);
    cairo_fill(cairo);
    cairo_destroy(cairo);
    cairo_surface_flush(target);
    benchmark::DoNotOptimize(cairo_image_surface_get_data(target));
    cairo_surface_destroy(target);
  }
  cairo_surface_destroy(source);
}

void sizes(benchmark::internal::Benchmark *benchmark) {
  benchmark->Args({512, 512, 96})
      ->Args({512, 512, 512})
      ->Args({4000, 3000, 96})
      ->Args({4000, 3000, 512});
  benchmark->Unit(benchmark::kMicrosecond);
}

BENCHMARK(rounded_veltro)->Name("rounded/veltro")->Apply(sizes);
BENCHMARK(rounded_cairo)->Name("rounded/cairo")->Apply(sizes);

} // namespace

int main(int argc, char **argv) {
  // The bare drawing beside ours is at this scale.
  setenv("VELTRO_SCREEN_SCALE", "2", 1);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
