// App bundles laid down by hand, in the device's layout, under a device root.
#pragma once

#include "support/scratch.hpp"

#include <filesystem>
#include <fstream>
#include <string>

namespace veltro::test {

inline void write_file(const std::filesystem::path &path, const std::string &text) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path) << text;
}

inline void write_script(const std::filesystem::path &path, const std::string &text) {
  write_file(path, text);
  std::filesystem::permissions(path, std::filesystem::perms(0755));
}

/// A property list with one dictionary, which holds `entries`.
inline std::string plist(const std::string &entries) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
         "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
         "<plist version=\"1.0\"><dict>" +
         entries + "</dict></plist>\n";
}

inline std::string plist_entry(const std::string &key, const std::string &value) {
  return "<key>" + key + "</key><string>" + value + "</string>";
}

inline std::string info_plist(const std::string &identifier, const std::string &executable) {
  return plist(plist_entry("CFBundleIdentifier", identifier) +
               plist_entry("CFBundleExecutable", executable) +
               plist_entry("CFBundleName", executable) + plist_entry("CFBundleVersion", "7"));
}

/// A bundle with Info.plist and an executable that does nothing.
inline std::filesystem::path lay_bundle(const std::filesystem::path &bundle,
                                        const std::string &identifier) {
  const std::string executable = bundle.stem().string();
  write_script(bundle / executable, "#!/bin/sh\n");
  write_file(bundle / "Info.plist", info_plist(identifier, executable));
  return bundle;
}

inline std::filesystem::path lay_system_app(const std::string &identifier, const std::string &name,
                                            const std::filesystem::path &root = device_root()) {
  return lay_bundle(root / "Applications" / (name + ".app"), identifier);
}

inline std::filesystem::path lay_data_container(const std::string &identifier,
                                                const std::string &uuid,
                                                const std::filesystem::path &root = device_root()) {
  const std::filesystem::path container = root / "var/mobile/Containers/Data/Application" / uuid;
  write_file(container / ".com.apple.mobile_container_manager.metadata.plist",
             plist(plist_entry("MCMMetadataIdentifier", identifier)));
  return container;
}

/// A user app in the bundle container `uuid`, with a data container of the same name.
inline std::filesystem::path lay_user_app(const std::string &identifier, const std::string &name,
                                          const std::string &uuid,
                                          const std::filesystem::path &root = device_root()) {
  lay_data_container(identifier, uuid, root);
  return lay_bundle(root / "var/mobile/Containers/Bundle/Application" / uuid / (name + ".app"),
                    identifier);
}

} // namespace veltro::test
