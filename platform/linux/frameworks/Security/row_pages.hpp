// Reading a damaged file page by page, where the way from its root to its rows is broken.
#pragma once

#include "frameworks/Security/database.hpp"

#include <functional>
#include <string>

namespace veltro::host::keychain {

/// Shows `visit` every page of `damaged` that holds rows, each as a table of its own in a read-only
/// connection, until it answers something else than SQLITE_OK. Where it does not find the page
/// `whole`, it is shown each row that is found in it by its form. `empty` is a keychain file
/// without items, which lends its schema; a copy of the damaged file is made under the name `copy`
/// and removed. Pages that do not read show as a table that does not read.
int visit_row_pages(const std::string &damaged, const std::string &empty, const std::string &copy,
                    const std::function<int(Database &page, bool &whole)> &visit);

} // namespace veltro::host::keychain
