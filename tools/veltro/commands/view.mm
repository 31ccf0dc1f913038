// veltro view: the library's views as pictures.

#include "commands.hpp"
#include "io/checks.hpp"
#include "io/exit.hpp"
#include "io/picture_name.hpp"
#include "io/whole_file.hpp"
#include "view/shown_view.hpp"
#include "view/view_window.hpp"

#import <VeltroHost/VeltroHost.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace veltro::tool {
namespace {

/// Gives the variable that value; whether it had another one.
bool change_variable(const char *name, const std::string &value) {
  const char *const before = std::getenv(name);
  if (value.empty() || (before != nullptr && value == before))
    return false;
  setenv(name, value.c_str(), 1);
  return true;
}

/// Release and language are fixed while the process starts, so another choice of them is a new
/// start of it with the same arguments. False where that fails.
bool restart_where_needed(const ViewOptions &options) {
  const bool release_changed = change_variable("VELTRO_SYSTEM_VERSION", options.release);
  const bool language_changed = change_variable("LANGUAGE", options.language);
  if (!release_changed && !language_changed)
    return true;
  std::vector<std::uint8_t> arguments;
  if (!read_whole_file("/proc/self/cmdline", {std::numeric_limits<std::size_t>::max(), ""},
                       arguments)
           .empty())
    return false;
  std::vector<char *> pointers;
  for (std::size_t at = 0; at < arguments.size(); at += std::strlen(pointers.back()) + 1)
    pointers.push_back(reinterpret_cast<char *>(arguments.data()) + at);
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

/// What is wrong with the options, or nothing; `size` becomes the view's.
std::string problem_with(const ViewOptions &options, CGSize &size) {
  if (options.out.empty() && options.animation.empty() && !options.window)
    return "one of --out, --animate and --window is needed";
  for (const std::string &file : {options.out, options.animation})
    if (names_another_format(file))
      return file + ": the picture is PNG, and its name says otherwise";
  const bool is_alert = options.kind == "alert";
  if (is_alert && !options.size.empty())
    return "an alert has the size that its contents need";
  if (!is_alert && !(options.title.empty() && options.message.empty() && options.buttons.empty()))
    return "only an alert has a title, a message and buttons";
  if (!options.size.empty() && !parse_size(options.size, size))
    return "--size must be WIDTHxHEIGHT in points, each from 1 to 4096";
  return "";
}

int write_picture(const std::vector<std::uint8_t> &file, const std::string &out) {
  if (file.empty())
    return failure("there is no memory for the picture");
  const std::string problem = write_whole_file(out, file);
  return problem.empty() ? 0 : failure(out + ": " + problem);
}

int draw_view(const ViewOptions &options) {
  CGSize size = CGSizeMake(100, 100);
  if (const std::string problem = problem_with(options, size); !problem.empty())
    return usage_error("view: " + problem);
  if (!restart_where_needed(options))
    return failure(std::string("cannot start anew: ") + std::strerror(errno));
  if (options.window)
    return show_in_window(options, size);

  VHSetAnimationTime(options.at);
  UIView *const view = make_view(options, size, nil);
  const int status = options.animation.empty()
                         ? write_picture(png_of(view), options.out)
                         : write_picture(whole_turn_of(view, options.at), options.animation);
  put_away(view);
  return status;
}

} // namespace

void add_view(CLI::App &app, Action &run) {
  CLI::App *command =
      app.add_subcommand("view", "Draw a view of the library, or show it in a window");
  const auto options = std::make_shared<ViewOptions>();
  command->add_option("KIND", options->kind, "loading or alert")
      ->required()
      ->check(CLI::IsMember({"loading", "alert"}));
  CLI::Option *const out = command->add_option("-o,--out", options->out,
                                               "Draw it to this PNG file (- for standard output)");
  CLI::Option *const animation =
      command
          ->add_option("--animate", options->animation,
                       "Draw the spinner's whole turn to this animated PNG file (APNG)")
          ->excludes(out);
  CLI::Option *const window =
      command
          ->add_flag("--window", options->window,
                     "Show it live in a window, until that is closed or a button is clicked, "
                     "whose title is printed")
          ->excludes(out)
          ->excludes(animation);
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
      ->excludes(window)
      ->capture_default_str()
      ->check(seconds_check(0, 1e6));
  command->add_option("--title", options->title, "The title of the alert");
  command->add_option("--message", options->message, "The message of the alert");
  command
      ->add_option("--button", options->buttons,
                   "The title of a button of the alert; again for more")
      ->allow_extra_args(false);
  command->footer("The picture has VELTRO_SCREEN_SCALE (or 2) pixels a point.");
  command->callback([options, &run] { run = [options] { return draw_view(*options); }; });
}

} // namespace veltro::tool
