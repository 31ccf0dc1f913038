// Installing and removing user apps. Installers take turns by a lock on the folder of the bundle
// containers, also across processes; readers need no lock, since an app appears, is replaced and
// goes by one rename. Work in progress lies in hidden folders beside the containers, and what a
// killed installer left there the next one clears away.
#pragma once

#include <string>

namespace veltro::host {

/// Installs a copy of the bundle at `bundle_path` (<Name>.app) in a bundle container of its own,
/// with a data container; replaces an installed app with the same identifier and keeps its data.
/// Symbolic links are copied as links. Never installs over a system app. Returns why it cannot be
/// done, or an empty text.
std::string install_app(const std::string &bundle_path);

/// Removes the user app and its data container; returns why that cannot be, or an empty text.
std::string remove_app(const std::string &identifier);

} // namespace veltro::host
