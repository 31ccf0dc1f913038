// Finding rows in a page whose own table of rows is damaged.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace veltro::host::keychain {

/// Where rows of the table begin in this page, by their form alone: what is found may be none.
std::vector<std::size_t> find_row_cells(std::span<const unsigned char> page);

} // namespace veltro::host::keychain
