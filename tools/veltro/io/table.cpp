#include "table.hpp"

#include <algorithm>
#include <clocale>
#include <cwchar>
#include <iostream>

namespace veltro::tool {
namespace {

/// The calling thread's locale, for as long as the object lives, is one that knows UTF-8: the tool
/// itself runs in the plain one.
class Utf8Locale {
public:
  Utf8Locale()
      : locale_(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)), before_(uselocale(locale_)) {}
  ~Utf8Locale() {
    uselocale(before_);
    if (locale_ != nullptr)
      freelocale(locale_);
  }
  Utf8Locale(const Utf8Locale &) = delete;
  Utf8Locale &operator=(const Utf8Locale &) = delete;

private:
  locale_t locale_;
  locale_t before_;
};

/// `text` on one line of a table.
std::string cell(std::string text) {
  std::ranges::replace_if(
      text, [](char byte) { return (byte >= 0 && byte < ' ') || byte == 0x7f; }, ' ');
  return text;
}

void print_row(const std::vector<std::string> &row, const std::vector<std::size_t> &widths) {
  std::string line;
  for (std::size_t at = 0; at < row.size(); ++at) {
    line += cell(row[at]);
    if (at + 1 < row.size())
      line.append(widths[at] + 2 - columns_of(cell(row[at])), ' ');
  }
  std::cout << line << '\n';
}

} // namespace

std::size_t columns_of(std::string_view text) {
  const Utf8Locale locale;
  std::size_t columns = 0;
  std::mbstate_t state{};
  while (!text.empty()) {
    wchar_t character = 0;
    const std::size_t length = std::mbrtowc(&character, text.data(), text.size(), &state);
    if (length == 0 || length > text.size())
      return columns + text.size(); // no UTF-8
    columns += static_cast<std::size_t>(std::max(wcwidth(character), 0));
    text.remove_prefix(length);
  }
  return columns;
}

void print_table(const std::vector<std::string> &names,
                 const std::vector<std::vector<std::string>> &rows) {
  std::vector<std::size_t> widths;
  widths.reserve(names.size());
  for (const std::string &name : names)
    widths.push_back(columns_of(name));
  for (const std::vector<std::string> &row : rows)
    for (std::size_t at = 0; at < row.size(); ++at)
      widths[at] = std::max(widths[at], columns_of(cell(row[at])));
  print_row(names, widths);
  for (const std::vector<std::string> &row : rows)
    print_row(row, widths);
}

} // namespace veltro::tool
