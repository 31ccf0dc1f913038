// veltro date: the calendar questions and the day arithmetic of the date categories.

#include "commands.hpp"
#include "io/exit.hpp"
#include "io/json.hpp"
#include "io/moment.hpp"

#import <veltro/veltro.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace veltro::tool {
namespace {

struct DateOptions {
  long days = 0;
  std::vector<std::string> moments;
  bool as_json = false;
};

using Options = std::shared_ptr<DateOptions>;
using Question = std::function<bool(NSDate *)>;
using Comparison = std::function<bool(NSDate *, NSDate *)>;
using Step = std::function<NSDate *(NSDate *)>;

int no_moment(const std::string &text) {
  return usage_error("no date: " + text);
}

void print_result(const DateOptions &options, const std::string &moments, bool result) {
  if (options.as_json)
    std::cout << "{" << moments << R"(, "answer": )" << (result ? "true" : "false") << "}\n";
  else
    std::cout << (result ? "yes\n" : "no\n");
}

std::string json_moment(const std::string &name, NSDate *date) {
  return json_string(name) + ": " + json_string(local_text(date));
}

/// Does `each` for every moment of the command line, or of standard input where there is none, up
/// to the first that is no moment or for which `each` returns false: one that the calendar does not
/// reach.
int for_each_moment(const DateOptions &options, const std::function<bool(NSDate *)> &each) {
  const auto one = [&](const std::string &text) {
    @autoreleasepool {
      NSDate *date = moment_from(text);
      if (date == nil)
        return no_moment(text);
      return each(date) ? 0 : failure("beyond the calendar: " + text);
    }
  };
  for (const std::string &text : options.moments)
    if (const int status = one(text); status != 0)
      return status;
  if (!options.moments.empty())
    return 0;
  for (std::string line; std::getline(std::cin, line);)
    if (const int status = one(line); status != 0)
      return status;
  if (std::ferror(stdin) != 0)
    return failure(std::string("standard input: ") + std::strerror(errno));
  return 0;
}

int ask(const DateOptions &options, const Question &question) {
  bool all = true;
  const int status = for_each_moment(options, [&](NSDate *date) {
    const bool result = question(date);
    all = all && result;
    print_result(options, json_moment("date", date), result);
    return true;
  });
  return flushed(status != 0 || all ? status : 1);
}

int compare(const DateOptions &options, const Comparison &comparison) {
  NSDate *first = moment_from(options.moments[0]);
  NSDate *second = moment_from(options.moments[1]);
  if (first == nil || second == nil)
    return no_moment(options.moments[first == nil ? 0 : 1]);
  const bool result = comparison(first, second);
  print_result(options, json_moment("first", first) + ", " + json_moment("second", second), result);
  return flushed(result ? 0 : 1);
}

int print_steps(const DateOptions &options, const Step &step) {
  const int status = for_each_moment(options, [&](NSDate *date) {
    NSDate *result = step(date);
    if (result == nil)
      return false;
    if (options.as_json)
      std::cout << "{" << json_moment("date", date) << ", " << json_moment("result", result)
                << "}\n";
    else
      std::cout << local_text(result) << '\n';
    return true;
  });
  return flushed(status);
}

/// Reads a whole number in decimal. The greatest stands for no number of days in the calendar.
void read_days(const std::string &text, long &days) {
  const bool signed_plus = text.starts_with('+') && !text.starts_with("+-");
  const char *const end = text.data() + text.size();
  const auto [at, error] = std::from_chars(text.data() + (signed_plus ? 1 : 0), end, days);
  if (error != std::errc{} || at != end || days == NSIntegerMax)
    throw CLI::ValidationError("DAYS", "not a number of days: " + text);
}

/// Adds the subcommands of `veltro date` one by one.
class DateCommands {
public:
  DateCommands(CLI::App &date, Options options, Action &run)
      : date_(date), options_(std::move(options)), run_(run) {}

  void question(const char *name, const char *help, bool of_days, Question question) {
    CLI::App *command = add(name, help);
    moments(command, of_days)->callback([options = options_, question, &run = run_] {
      run = [=] { return ask(*options, question); };
    });
  }

  void comparison(const char *name, const char *help, Comparison comparison) {
    CLI::App *command = add(name, help);
    command->add_option("DATES", options_->moments, "The two dates")->required()->expected(2);
    command->callback([options = options_, comparison, &run = run_] {
      run = [=] { return compare(*options, comparison); };
    });
  }

  void step(const char *name, const char *help, bool by_days, Step step) {
    CLI::App *command = add(name, help);
    moments(command, by_days)->callback([options = options_, step, &run = run_] {
      run = [=] { return print_steps(*options, step); };
    });
  }

private:
  CLI::App *add(const char *name, const char *help) {
    CLI::App *command = date_.add_subcommand(name, help);
    command->add_flag("--json", options_->as_json, "Print one JSON object a line");
    return command;
  }

  CLI::App *moments(CLI::App *command, bool after_days) {
    if (after_days)
      command
          ->add_option_function<std::string>(
              "DAYS",
              [options = options_](const std::string &text) { read_days(text, options->days); },
              "How many days")
          ->required();
    command->add_option("DATE", options_->moments,
                        "The dates; without one, those on standard input");
    return command;
  }

  CLI::App &date_;
  Options options_;
  Action &run_;
};

} // namespace

void add_date(CLI::App &app, Action &run) {
  CLI::App *date =
      app.add_subcommand("date", "Ask the calendar about dates, and step by days. The time zone is "
                                 "TZ's; a date is now, @SECONDS since 1970, or ISO 8601 such as "
                                 "2024-03-13, 2024-03-13T15:30 or 2024-03-13T15:30:45.25-04:00. "
                                 "Questions print yes or no and exit with 0 or 1");
  date->require_subcommand(1);
  const auto options = std::make_shared<DateOptions>();
  DateCommands commands(*date, options, run);
  commands.question("today", "Is it today?", false, [](NSDate *it) { return [it veltro_isToday]; });
  commands.question("yesterday", "Was it yesterday?", false,
                    [](NSDate *it) { return [it veltro_isYesterday]; });
  commands.question("last-week", "Was it in the week of the moment seven days ago?", false,
                    [](NSDate *it) { return [it veltro_isLastWeek]; });
  commands.question(
      "last-days", "Was it in the DAYS days before today?", true,
      [options](NSDate *it) { return [it veltro__occuredDaysBeforeToday:options->days]; });
  commands.comparison("same-day", "Are both on one day?", [](NSDate *first, NSDate *second) {
    return [first veltro_isEqualToDateIgnoringTime:second];
  });
  commands.comparison("same-week", "Are both in one week?", [](NSDate *first, NSDate *second) {
    return [first veltro_isSameWeekAsDate:second];
  });
  commands.comparison("same-minute", "Are both in one minute?", [](NSDate *first, NSDate *second) {
    return [first zlt_isEqualIgnoringTimeInSecond:second];
  });
  commands.step("add-days", "The same time of day, DAYS days later", true,
                [options](NSDate *it) { return [it veltro_dateByAddingDays:options->days]; });
  commands.step("subtract-days", "The same time of day, DAYS days earlier", true,
                [options](NSDate *it) { return [it veltro_dateBySubtractingDays:options->days]; });
  commands.step("minute", "The start of its minute", false,
                [](NSDate *it) { return [it zlt_normalizedDateWithDate]; });
}

} // namespace veltro::tool
