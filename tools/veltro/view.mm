// veltro view: the library's views as pictures.

#include "commands.hpp"
#include "exit.hpp"
#include "whole_file.hpp"

#import <QuartzCore/QuartzCore.h>
#import <VeltroHost/VeltroHost.h>
#import <veltro/veltro.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace veltro::tool {
namespace {

struct ViewOptions {
  std::string kind;
  std::string size;
  std::string release;
  std::string language;
  double at = 0;
  std::string title;
  std::string message;
  std::string out;
};

/// Gives the variable that value; whether it had another one.
bool change_variable(const char *name, const std::string &value) {
  const char *const before = std::getenv(name);
  if (value.empty() || (before != nullptr && value == before))
    return false;
  setenv(name, value.c_str(), 1);
  return true;
}

/// Release and language are settled while the process starts, so another choice of them is a new
/// start of it with the same arguments. False where that fails.
bool settle_environment(const ViewOptions &options) {
  const bool release_changed = change_variable("VELTRO_SYSTEM_VERSION", options.release);
  const bool language_changed = change_variable("LANGUAGE", options.language);
  if (!release_changed && !language_changed)
    return true;
  NSArray *const arguments = [[NSProcessInfo processInfo] arguments];
  std::vector<std::string> texts;
  for (NSString *argument in arguments)
    texts.emplace_back([argument UTF8String]);
  std::vector<char *> pointers;
  for (std::string &text : texts)
    pointers.push_back(text.data());
  pointers.push_back(nullptr);
  execv("/proc/self/exe", pointers.data());
  return false;
}

/// "100x80", in points; false for anything else and for what is not from 1 to 4096.
bool parse_size(const std::string &text, CGSize &size) {
  const char *const end = text.data() + text.size();
  const auto [after_width, width_error] = std::from_chars(text.data(), end, size.width);
  if (width_error != std::errc{} || after_width == end || *after_width != 'x')
    return false;
  const auto [after_height, height_error] = std::from_chars(after_width + 1, end, size.height);
  const auto fits = [](CGFloat side) { return side >= 1 && side <= 4096; };
  return height_error == std::errc{} && after_height == end && fits(size.width) &&
         fits(size.height);
}

NSString *string_of(const std::string &text) {
  return text.empty() ? nil : [NSString stringWithUTF8String:text.c_str()];
}

/// The view as its layer draws it, on nothing.
NSData *png_of(UIView *view) {
  UIGraphicsBeginImageContextWithOptions([view bounds].size, NO, 0);
  CGContextRef context = UIGraphicsGetCurrentContext();
  if (context != nullptr)
    [[view layer] renderInContext:context];
  UIImage *const image = UIGraphicsGetImageFromCurrentImageContext();
  UIGraphicsEndImageContext();
  return image != nil ? UIImagePNGRepresentation(image) : nil;
}

int write_picture(UIView *view, const std::string &out) {
  NSData *const png = png_of(view);
  if (png == nil)
    return answered_no("there is no memory for the picture");
  const std::string problem =
      write_whole_file(out, {static_cast<const std::uint8_t *>([png bytes]), [png length]});
  return problem.empty() ? 0 : answered_no(out + ": " + problem);
}

int draw_view(const ViewOptions &options) {
  CGSize size = CGSizeMake(100, 100);
  if (!options.size.empty() && !parse_size(options.size, size))
    return usage_error("view: --size must be WIDTHxHEIGHT in points, each from 1 to 4096");
  const bool is_alert = options.kind == "alert";
  if (is_alert && !options.size.empty())
    return usage_error("view: an alert has the size that its contents need");
  if (!is_alert && !(options.title.empty() && options.message.empty()))
    return usage_error("view: only an alert has a title and a message");
  if (!settle_environment(options))
    return answered_no(std::string("cannot start anew: ") + std::strerror(errno));

  VHSetAnimationTime(options.at);
  if (!is_alert) {
    ZLTLoadingView *const view = [[[ZLTLoadingView alloc]
        initWithFrame:CGRectMake(0, 0, size.width, size.height)] autorelease];
    return write_picture(view, options.out);
  }
  ZLTActivityAlertView *const alert =
      [[[ZLTActivityAlertView alloc] initWithTitle:string_of(options.title)
                                           message:string_of(options.message)
                                          delegate:nil
                                 cancelButtonTitle:nil
                                 otherButtonTitles:nil] autorelease];
  [alert show];
  const int status = write_picture(alert, options.out);
  [alert close];
  return status;
}

} // namespace

void add_view(CLI::App &app, Action &run) {
  CLI::App *command = app.add_subcommand("view", "Draw a view of the library as a PNG picture");
  const auto options = std::make_shared<ViewOptions>();
  command->add_option("KIND", options->kind, "loading or alert")
      ->required()
      ->check(CLI::IsMember({"loading", "alert"}));
  command->add_option("-o,--out", options->out, "The file to write (- for standard output)")
      ->required();
  command->add_option("--size", options->size,
                      "WIDTHxHEIGHT of the loading view in points (default: 100x100)");
  command
      ->add_option("--release", options->release,
                   "The release to play (default: VELTRO_SYSTEM_VERSION, or 9.3.5)")
      ->check([](const std::string &text) {
        const bool is_release = !text.empty() && text.front() >= '0' && text.front() <= '9' &&
                                text.find_first_not_of("0123456789.") == std::string::npos;
        return is_release ? std::string() : "must be a release such as 7.1";
      });
  command->add_option("--language", options->language, "The user's language, such as de");
  command->add_option("--at", options->at, "Seconds that the spinner has been turning")
      ->capture_default_str()
      ->check(CLI::Range(0.0, 1e6));
  command->add_option("--title", options->title, "The title of the alert");
  command->add_option("--message", options->message, "The message of the alert");
  command->footer("The picture has VELTRO_SCREEN_SCALE (or 2) pixels a point.");
  command->callback([options, &run] { run = [options] { return draw_view(*options); }; });
}

} // namespace veltro::tool
