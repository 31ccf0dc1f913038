// Follows "Database File Format" of SQLite's documentation. The copy gets the first page of a fresh
// file, and at the place of the table's root a page that has one child: each page of rows in turn.

#include "Security/row_pages.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace veltro::host::keychain {
namespace {

constexpr unsigned char row_page = 13;
constexpr unsigned char inner_page = 5;

// Fields of the first page, as offsets.
constexpr std::size_t page_size_field = 16, page_count_field = 28, free_pages_field = 32;

using Page = std::vector<unsigned char>;

void put_big_endian(unsigned char *at, std::uint32_t number) {
  for (int shift = 24; shift >= 0; shift -= 8)
    *at++ = static_cast<unsigned char>(number >> shift);
}

/// A file that is open while the object lives.
class File {
public:
  explicit File(const std::string &path) : number_(::open(path.c_str(), O_RDWR | O_CLOEXEC)) {}
  ~File() {
    if (number_ >= 0)
      ::close(number_);
  }
  File(const File &) = delete;
  File &operator=(const File &) = delete;

  [[nodiscard]] bool read(std::size_t at, unsigned char *bytes, std::size_t length) const {
    return ::pread(number_, bytes, length, static_cast<off_t>(at)) == static_cast<ssize_t>(length);
  }
  [[nodiscard]] bool write(std::size_t at, const Page &page) const {
    return ::pwrite(number_, page.data(), page.size(), static_cast<off_t>(at)) ==
           static_cast<ssize_t>(page.size());
  }
  [[nodiscard]] bool cut(std::size_t length) const {
    return ::ftruncate(number_, static_cast<off_t>(length)) == 0;
  }

private:
  int number_;
};

/// The first page of `empty`.
Page first_page(const std::string &empty) {
  const File file(empty);
  std::array<unsigned char, 2> size{};
  if (!file.read(page_size_field, size.data(), size.size()))
    return {};
  Page page(static_cast<std::size_t>(size[0] << 8 | size[1]));
  return file.read(0, page.data(), page.size()) ? page : Page();
}

std::int64_t root_page(const std::string &empty) {
  Database database;
  std::int64_t root = 0;
  if (database.open(empty, Database::Access::immutable) != SQLITE_OK)
    return 0;
  database.number("SELECT rootpage FROM sqlite_schema WHERE name = 'genp'", root);
  return root;
}

/// A page with one key, the largest there is: every row lies in its child. SQLite wants a second
/// child for what is larger, and gets the same one.
constexpr std::array<unsigned char, 9> largest_key{0xBF, 0xFF, 0xFF, 0xFF, 0xFF,
                                                   0xFF, 0xFF, 0xFF, 0xFF};
constexpr std::size_t cell_size = 4 + largest_key.size();

Page parent_page(std::size_t size) {
  Page page(size);
  const std::size_t cell = size - cell_size;
  page[0] = inner_page;
  page[4] = 1;
  for (const std::size_t at : {5UL, 12UL}) {
    page[at] = static_cast<unsigned char>(cell >> 8);
    page[at + 1] = static_cast<unsigned char>(cell);
  }
  std::ranges::copy(largest_key, page.end() - largest_key.size());
  return page;
}

void set_child(Page &parent, std::uint32_t child) {
  put_big_endian(&parent[8], child);
  put_big_endian(&parent[parent.size() - cell_size], child);
}

} // namespace

int visit_row_pages(const std::string &damaged, const std::string &empty, const std::string &copy,
                    const std::function<int(Database &page)> &visit) {
  const auto root = static_cast<std::uint32_t>(root_page(empty));
  Page first = first_page(empty);
  std::error_code error;
  std::filesystem::copy_file(damaged, copy, std::filesystem::copy_options::overwrite_existing,
                             error);
  if (root == 0 || first.empty() || error)
    return SQLITE_IOERR;

  const std::size_t size = first.size();
  const File file(copy);
  const std::size_t pages = std::filesystem::file_size(copy, error) / size;
  int code = SQLITE_OK;
  if (!error && pages >= root) {
    put_big_endian(&first[page_count_field], static_cast<std::uint32_t>(pages));
    put_big_endian(&first[free_pages_field], 0);
    put_big_endian(&first[free_pages_field + 4], 0);
    Page original(size);
    Page parent = parent_page(size);
    if (!file.cut(pages * size) || !file.write(0, first) ||
        !file.read((root - 1) * size, original.data(), size))
      code = SQLITE_IOERR;
    for (std::uint32_t number = 2; code == SQLITE_OK && number <= pages; ++number) {
      unsigned char type = 0;
      if (!file.read((number - 1) * size, &type, 1))
        code = SQLITE_IOERR;
      if (number == root)
        type = original[0];
      if (code != SQLITE_OK || type != row_page)
        continue;
      set_child(parent, number);
      Database page;
      if (!file.write((root - 1) * size, number == root ? original : parent))
        code = SQLITE_IOERR;
      else if (page.open(copy, Database::Access::immutable) == SQLITE_OK)
        code = visit(page);
    }
  }
  std::filesystem::remove(copy, error);
  return code;
}

} // namespace veltro::host::keychain
