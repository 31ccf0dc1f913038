// veltro new: a component to begin with, made of the example that is installed beside the tool.

#include "commands.hpp"
#include "io/exit.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <objc/runtime.h>
#include <string_view>

namespace veltro::tool {
namespace {

namespace fs = std::filesystem;

/// How the example is called, in its files and in their names.
constexpr std::string_view kExampleName = "Component";
constexpr std::string_view kExampleNameInSmallLetters = "component";

/// Words that a class cannot be called, or a target of CMake's, as the component's is.
constexpr auto kReserved = std::to_array<std::string_view>({
    "BOOL",      "Class",     "IMP",          "NO",        "NULL",     "Nil",      "Protocol",
    "SEL",       "YES",       "alignas",      "alignof",   "all",      "and",      "asm",
    "auto",      "bitand",    "bitor",        "bool",      "break",    "case",     "catch",
    "char",      "class",     "clean",        "compl",     "concept",  "const",    "consteval",
    "constexpr", "constinit", "continue",     "decltype",  "default",  "delete",   "do",
    "double",    "else",      "enum",         "explicit",  "export",   "extern",   "false",
    "float",     "for",       "friend",       "goto",      "help",     "id",       "if",
    "inline",    "install",   "instancetype", "int",       "long",     "main",     "mutable",
    "namespace", "new",       "nil",          "noexcept",  "not",      "nullptr",  "operator",
    "or",        "package",   "private",      "protected", "public",   "register", "requires",
    "restrict",  "return",    "self",         "short",     "signed",   "sizeof",   "static",
    "struct",    "super",     "switch",       "template",  "test",     "this",     "throw",
    "true",      "try",       "typedef",      "typeid",    "typename", "typeof",   "union",
    "unsigned",  "using",     "virtual",      "void",      "volatile", "while",    "xor",
});

struct NewOptions {
  std::string name;
  std::string folder;
  bool plain_objc = false;
};

/// Installed, and in the build tree.
fs::path example_folder() {
  std::error_code ignored;
  return fs::read_symlink("/proc/self/exe", ignored).parent_path() / "../share/veltro/component";
}

std::string text_of(const fs::path &file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

bool is_name(const std::string &text) {
  const auto is_letter = [](unsigned char character) { return std::isalpha(character) != 0; };
  const auto is_plain = [](unsigned char character) { return std::isalnum(character) != 0; };
  return !text.empty() && is_letter(static_cast<unsigned char>(text.front())) &&
         std::ranges::all_of(text, is_plain);
}

bool is_word_in(std::string_view text, std::string_view word) {
  const auto ends_word = [&](std::size_t at) {
    return at >= text.size() ||
           (std::isalnum(static_cast<unsigned char>(text[at])) == 0 && text[at] != '_');
  };
  for (std::size_t at = text.find(word); at != std::string_view::npos; at = text.find(word, at + 1))
    if (ends_word(at - 1) && ends_word(at + word.size()))
      return true;
  return false;
}

std::string without_comments(std::string text) {
  for (std::size_t at = text.find("//"); at != std::string::npos; at = text.find("//", at))
    text.erase(at, text.find('\n', at) - at);
  return text;
}

/// Whether the example's sources use that word for something else.
bool is_taken(const std::string &name, const fs::path &example) {
  std::error_code error;
  for (const auto &entry : fs::recursive_directory_iterator(example, error))
    if (const fs::path type = entry.path().extension(); type == ".h" || type == ".mm")
      if (name != kExampleName && is_word_in(without_comments(text_of(entry.path())), name))
        return true;
  return false;
}

/// Why no component can have that name, or an empty text.
std::string what_is_wrong_with(const std::string &name, const fs::path &example) {
  if (!is_name(name))
    return "a component's name is a letter and then letters and digits: " + name;
  if (std::ranges::find(kReserved, name) != kReserved.end())
    return "a component cannot be called " + name + ", a word of the language or of CMake's";
  if (objc_getClass(name.c_str()) != nullptr)
    return "a component cannot be called " + name + ": there is such a class already";
  if (is_taken(name, example))
    return "a component cannot be called " + name + ", a word of its own sources";
  return "";
}

void replace_all(std::string &text, std::string_view from, std::string_view to) {
  for (std::size_t at = text.find(from); at != std::string::npos;
       at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
}

/// The example's text or file name for a component of that name.
std::string renamed(std::string text, const NewOptions &options) {
  std::string small = options.name;
  std::ranges::transform(small, small.begin(), [](unsigned char character) {
    return static_cast<char>(std::tolower(character));
  });
  replace_all(text, kExampleName, options.name);
  replace_all(text, "org.example." + std::string(kExampleNameInSmallLetters),
              "org.example." + small);
  return text;
}

std::string target_name(const fs::path &file, const NewOptions &options) {
  fs::path name = renamed(file.string(), options);
  if (options.plain_objc && name.extension() == ".mm")
    name.replace_extension(".m");
  return name.string();
}

/// Why the file could not be copied, or an empty text.
std::string copy_file(const fs::path &from, const fs::path &to, const NewOptions &options) {
  std::ifstream in(from, std::ios::binary);
  std::string text(std::istreambuf_iterator<char>(in), {});
  if (!in)
    return "cannot read " + from.string();
  text = renamed(std::move(text), options);
  if (options.plain_objc)
    replace_all(text, ".mm`", ".m`");
  std::error_code error;
  fs::create_directories(to.parent_path(), error);
  std::ofstream out(to, std::ios::binary);
  out << text;
  if (!out.flush())
    return "cannot write " + to.string();
  fs::permissions(to, fs::status(from).permissions(), error);
  return "";
}

int make_component(const NewOptions &options) {
  const fs::path example = example_folder();
  if (const std::string problem = what_is_wrong_with(options.name, example); !problem.empty())
    return usage_error(problem);
  const fs::path folder = options.folder.empty() ? options.name : options.folder;
  std::error_code error;
  if (!fs::is_directory(example, error))
    return failure("the example is not installed: " + example.lexically_normal().string());
  if (fs::exists(folder, error) &&
      !(fs::is_directory(folder, error) && fs::is_empty(folder, error)))
    return failure(folder.string() + " is there already, and not an empty folder");

  for (fs::recursive_directory_iterator entry(example, error), end; !error && entry != end;
       entry.increment(error)) {
    if (!entry->is_regular_file(error))
      continue;
    const fs::path place = folder / target_name(fs::relative(entry->path(), example), options);
    if (const std::string problem = copy_file(entry->path(), place, options); !problem.empty())
      return failure(problem);
  }
  if (error)
    return failure("cannot read " + example.string() + ": " + error.message());
  std::cout << folder.string() << '\n';
  return flushed(0);
}

} // namespace

void add_new(CLI::App &app, Action &run) {
  CLI::App *command = app.add_subcommand(
      "new", "Make a component to begin with: source, tests, and builds for Linux and the device");
  const auto options = std::make_shared<NewOptions>();
  command->add_option("NAME", options->name, "The name of its class")->required();
  command->add_option("--folder", options->folder, "Where to make it; a folder NAME by default");
  command->add_flag("--objc", options->plain_objc, "Objective-C in place of Objective-C++");
  command->footer("Prints the folder. cmake --workflow --preset linux builds and tests it there.");
  command->callback([options, &run] { run = [options] { return make_component(*options); }; });
}

} // namespace veltro::tool
