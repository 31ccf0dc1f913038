// Follows "Database File Format" of SQLite's documentation. The copy gets the first page of a fresh
// file, and at the place of the table's root a page that has one child: each page of rows in turn.

#include "frameworks/Security/row_pages.hpp"

#include "frameworks/Security/row_cells.hpp"

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

// Of a page of rows: their number, and behind that where each of them is.
constexpr std::size_t rows_field = 3, first_row_field = 8;

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

/// Whether the page itself knows of the row at `cell`.
bool lists(const Page &page, std::size_t cell) {
  const auto pair = [&](std::size_t at) {
    return static_cast<std::size_t>(page[at] << 8 | page[at + 1]);
  };
  for (std::size_t row = 0, at = first_row_field; row < pair(rows_field); ++row, at += 2)
    if (at + 1 >= page.size() || pair(at) == cell)
      return at + 1 < page.size();
  return false;
}

/// `page` with nothing but the row at `cell`.
Page with_one_row(Page page, std::size_t cell) {
  const auto high = static_cast<unsigned char>(cell >> 8);
  const auto low = static_cast<unsigned char>(cell);
  const std::array<unsigned char, 10> header{row_page, 0, 0, 0, 1, high, low, 0, high, low};
  std::ranges::copy(header, page.begin());
  return page;
}

/// Copies the file with its log moved into it, since a page in the file may be an old one. The
/// first page, which need not be sound to begin with, is replaced for that.
bool copy_with_log(const std::string &damaged, const std::string &copy, const Page &first) {
  namespace files = std::filesystem;
  const std::string log = copy + "-wal";
  std::error_code error;
  std::error_code no_log;
  files::copy_file(damaged, copy, files::copy_options::overwrite_existing, error);
  files::remove(log, no_log);
  files::copy_file(damaged + "-wal", log, no_log);
  if (error || !File(copy).write(0, first))
    return false;
  Database folded;
  if (!no_log && folded.open(copy, Database::Access::alone) == SQLITE_OK)
    folded.run("PRAGMA wal_checkpoint(TRUNCATE)");
  folded.close();
  files::remove(log, no_log);
  return true;
}

using Visitor = std::function<int(Database &page, bool &whole)>;

/// The copy of the damaged file, in which one page at a time is the whole table.
class Copy {
public:
  Copy(const std::string &path, std::uint32_t root, std::size_t page_size)
      : path_(path), file_(path), root_(root), parent_(parent_page(page_size)) {}

  /// Gives the file a sound first page, and the length that it says.
  bool begin(const Page &first, std::size_t pages) {
    original_root_.resize(parent_.size());
    return file_.cut(pages * parent_.size()) && file_.write(0, first) &&
           file_.read(place_of(root_), original_root_.data(), original_root_.size());
  }

  /// Shows what is in one page.
  int visit(std::uint32_t number, const Visitor &visit) {
    Page page = original_root_;
    if (number != root_ && !file_.read(place_of(number), page.data(), page.size()))
      return SQLITE_IOERR;
    bool whole = false;
    int code = page[0] == row_page ? show(number, page, visit, whole) : SQLITE_OK;
    const std::vector<std::size_t> cells = find_row_cells(page);
    if (code != SQLITE_OK ||
        (whole && std::ranges::all_of(cells, [&](auto cell) { return lists(page, cell); })))
      return code;
    for (const std::size_t cell : cells)
      if (code = show(number, with_one_row(page, cell), visit, whole); code != SQLITE_OK)
        return code;
    return SQLITE_OK;
  }

private:
  [[nodiscard]] std::size_t place_of(std::uint32_t number) const {
    return (number - 1) * parent_.size();
  }

  int show(std::uint32_t number, const Page &page, const Visitor &visit, bool &whole) {
    set_child(parent_, number);
    if (!file_.write(place_of(root_), parent_) || !file_.write(place_of(number), page))
      return SQLITE_IOERR;
    Database table;
    return table.open(path_, Database::Access::immutable) == SQLITE_OK ? visit(table, whole)
                                                                       : SQLITE_OK;
  }

  const std::string &path_;
  File file_;
  std::uint32_t root_;
  Page parent_;
  Page original_root_;
};

} // namespace

int visit_row_pages(const std::string &damaged, const std::string &empty, const std::string &copy,
                    const Visitor &visit) {
  const auto root = static_cast<std::uint32_t>(root_page(empty));
  Page first = first_page(empty);
  if (root == 0 || first.empty() || !copy_with_log(damaged, copy, first))
    return SQLITE_IOERR;

  std::error_code error;
  const std::size_t pages = std::filesystem::file_size(copy, error) / first.size();
  int code = SQLITE_OK;
  if (!error && pages >= root) {
    put_big_endian(&first[page_count_field], static_cast<std::uint32_t>(pages));
    put_big_endian(&first[free_pages_field], 0);
    put_big_endian(&first[free_pages_field + 4], 0);
    Copy table(copy, root, first.size());
    code = table.begin(first, pages) ? SQLITE_OK : SQLITE_IOERR;
    for (std::uint32_t number = 2; code == SQLITE_OK && number <= pages; ++number)
      code = table.visit(number, visit);
  }
  std::filesystem::remove(copy, error);
  return code;
}

} // namespace veltro::host::keychain
