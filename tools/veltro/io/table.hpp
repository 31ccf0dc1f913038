// Tables for people, lined up on a terminal.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace veltro::tool {

/// How many columns of a terminal `text` (UTF-8) takes: two for wide characters, none for those
/// that combine with the one before.
std::size_t columns_of(std::string_view text);

/// Prints the rows, which are as long as `names`, under those on standard output. Control
/// characters become spaces.
void print_table(const std::vector<std::string> &names,
                 const std::vector<std::vector<std::string>> &rows);

} // namespace veltro::tool
