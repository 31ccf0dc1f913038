// veltro round: pictures stretched to a size and clipped to a circle.

#include "commands.hpp"
#include "io/exit.hpp"
#include "io/parallel_for.hpp"
#include "io/picture_name.hpp"
#include "io/progress_bar.hpp"
#include "io/whole_file.hpp"

#import <VeltroHost/VHImageReading.h>
#import <veltro/veltro.h>

#import <UIKit/UIKit.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <malloc.h>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace veltro::tool {
namespace {

struct RoundOptions {
  std::vector<std::string> files;
  std::string size;
  int scale = 0;
  std::string out_dir;
  std::size_t max_pixels = 64'000'000;
};

struct Target {
  float width = 0;
  float height = 0;
  /// The greater side, in pixels.
  std::size_t side = 0;
  std::size_t pixels = 0;
};

struct Job {
  std::string in;
  std::string out;
};

/// "96x64" or "96.5x64"; false for anything else and for what is not greater than 0.
bool parse_size(const std::string &text, Target &target) {
  const char *const end = text.data() + text.size();
  const auto [after_width, width_error] = std::from_chars(text.data(), end, target.width);
  if (width_error != std::errc{} || after_width == end || *after_width != 'x')
    return false;
  const auto [after_height, height_error] = std::from_chars(after_width + 1, end, target.height);
  return height_error == std::errc{} && after_height == end && std::isfinite(target.width) &&
         std::isfinite(target.height) && target.width > 0 && target.height > 0;
}

/// The size in pixels; false where the screen has no image of it or `max_pixels` are too few.
bool measure(Target &target, std::size_t max_pixels) {
  const double scale = [[UIScreen mainScreen] scale];
  const double width = std::ceil(target.width * scale);
  const double height = std::ceil(target.height * scale);
  if (width * height > static_cast<double>(max_pixels) || std::max(width, height) > 32767)
    return false;
  target.side = static_cast<std::size_t>(std::max(width, height));
  target.pixels = static_cast<std::size_t>(width * height);
  return true;
}

std::string text_of(NSString *string) {
  return string != nil ? [string UTF8String] : "it cannot be read";
}

/// How long a file of so many pixels may be: no format takes more than 8 bytes for one, and little
/// else.
std::size_t longest_file(std::size_t pixels) {
  return pixels * 8 + (1 << 20);
}

/// Does one picture; the problem, if there is one.
std::string round_picture(const Job &job, const Target &target, std::size_t max_pixels,
                          Stock &stock) {
  // One thread at a time reads, until it has its share: files that wait would be held beyond it.
  static std::mutex reading;
  std::unique_lock lock(reading);
  std::vector<std::uint8_t> bytes;
  if (std::string problem = read_whole_file(
          job.in, {longest_file(max_pixels), "it is longer than a picture of --max-pixels can be"},
          bytes);
      !problem.empty())
    return job.in + ": " + problem;

  NSData *const data = [NSData dataWithBytesNoCopy:bytes.data()
                                            length:bytes.size()
                                      freeWhenDone:NO];
  NSString *problem = nil;
  const CGSize size = VHImageSize(data, &problem);
  if (problem != nil)
    return job.in + ": " + text_of(problem);
  const double pixels = size.width * size.height;
  if (pixels + static_cast<double>(target.pixels) > static_cast<double>(max_pixels))
    return job.in + ": its " + std::to_string(std::lround(size.width)) + " x " +
           std::to_string(std::lround(size.height)) + " pixels are too many (--max-pixels)";
  if (bytes.size() > longest_file(static_cast<std::size_t>(pixels)))
    return job.in + ": it is longer than a picture of its size can be";

  const Stock::Share share(stock, static_cast<std::size_t>(pixels) + target.pixels);
  lock.unlock();
  // Twice the target's resolution is more than its pixels can show.
  UIImage *const image = VHReadImage(data, max_pixels, 2 * target.side, &problem);
  if (image == nil)
    return job.in + ": " + text_of(problem);
  UIImage *const rounded = [ZLTUtils roundedImage:image width:target.width height:target.height];
  NSData *const png = UIImagePNGRepresentation(rounded);
  if (png == nil)
    return job.in + ": there is no memory for the result";
  const std::string write_problem =
      write_whole_file(job.out, {static_cast<const std::uint8_t *>([png bytes]), [png length]});
  return write_problem.empty() ? "" : job.out + ": " + write_problem;
}

/// Whether the file lies in that folder, whatever way leads there.
bool is_folder_of(const std::string &folder, const std::string &file) {
  namespace fs = std::filesystem;
  const fs::path parent = fs::path(file).parent_path();
  std::error_code error;
  return fs::equivalent(parent.empty() ? "." : parent, folder, error) && !error;
}

/// Where each picture goes; false, and the reason in `problem`, where that makes no sense.
bool plan(const RoundOptions &options, std::vector<Job> &jobs, std::string &problem) {
  if (options.out_dir.empty()) {
    if (options.files.size() != 2) {
      problem = "round: IN and OUT, or --out-dir and any number of pictures, are needed";
      return false;
    }
    jobs.push_back({options.files[0], options.files[1]});
    if (names_another_format(options.files[1])) {
      problem = "round: " + options.files[1] + ": the result is PNG, and its name says otherwise";
      return false;
    }
    return true;
  }
  std::map<std::string, std::string> sources;
  for (const std::string &in : options.files) {
    if (is_folder_of(options.out_dir, in)) {
      problem = "round: " + in + " lies in " + options.out_dir +
                " itself; --out-dir must be another folder than the pictures'";
      return false;
    }
    const std::filesystem::path name = std::filesystem::path(in).stem();
    std::string out = (std::filesystem::path(options.out_dir) / name).string() + ".png";
    const auto [first, is_new] = sources.emplace(out, in);
    if (!is_new) {
      problem = std::string("round: ").append(first->second).append(" and ").append(in);
      problem += " would both become " + out;
      return false;
    }
    jobs.push_back({in, std::move(out)});
  }
  return true;
}

int round_pictures(const RoundOptions &options) {
  Target target;
  std::vector<Job> jobs;
  std::string problem;
  if (!parse_size(options.size, target))
    return usage_error("round: --size must be WIDTHxHEIGHT in points, each more than 0");
  if (!plan(options, jobs, problem))
    return usage_error(problem);
  if (options.scale != 0)
    setenv("VELTRO_SCREEN_SCALE", std::to_string(options.scale).c_str(), 1);
  if (!measure(target, options.max_pixels))
    return usage_error("round: --size " + options.size + " is too large (--max-pixels)");
  std::error_code error;
  if (!options.out_dir.empty() && !std::filesystem::create_directories(options.out_dir, error) &&
      error)
    return failure(options.out_dir + ": " + error.message());

  // Large pieces of memory go back to the system at once, so that what is held is what is in use.
  mallopt(M_MMAP_THRESHOLD, 4 << 20);
  Stock stock(options.max_pixels);
  ProgressBar bar(jobs.size());
  std::atomic<bool> failed = false;
  parallel_for(jobs.size(), [&](std::size_t number) {
    @autoreleasepool {
      const std::string wrong = round_picture(jobs[number], target, options.max_pixels, stock);
      if (!wrong.empty()) {
        failed = true;
        bar.complain(wrong);
      }
      bar.one_more();
    }
  });
  return failed ? 1 : 0;
}

} // namespace

void add_round(CLI::App &app, Action &run) {
  CLI::App *command =
      app.add_subcommand("round", "Stretch pictures to a size and clip them to a circle");
  const auto options = std::make_shared<RoundOptions>();
  command
      ->add_option("FILES", options->files,
                   "IN and OUT (- for standard input and output), or pictures for --out-dir")
      ->required();
  command->add_option("--size", options->size, "WIDTHxHEIGHT in points")->required();
  command
      ->add_option("--scale", options->scale, "Pixels a point (default: VELTRO_SCREEN_SCALE, or 2)")
      ->check(CLI::Range(1, 3));
  command->add_option("--out-dir", options->out_dir,
                      "Write NAME.png of every picture to this folder, which is made");
  command
      ->add_option("--max-pixels", options->max_pixels,
                   "Hold at most this many pixels at a time, source and result of all pictures in "
                   "work together, which is about 16 bytes each; refuse pictures with more")
      ->capture_default_str()
      ->check(CLI::Range(std::size_t{1}, std::size_t{32767} * 32767));
  command->footer("The result is PNG. Reading honours the orientation in the metadata. Reduced "
                  "pictures are averaged over the area of each pixel.");
  command->callback([options, &run] { run = [options] { return round_pictures(*options); }; });
}

} // namespace veltro::tool
