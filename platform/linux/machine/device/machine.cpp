#include "machine/device/machine.hpp"

#include <algorithm>
#include <fstream>
#include <string_view>
#include <sys/utsname.h>

namespace veltro::host {
namespace {

// The firmware tables of PCs and servers, and the device tree of boards.
std::string first_present(const char *dmi, const char *device_tree) {
  std::string line = first_line(dmi);
  return line.empty() ? first_line(device_tree) : line;
}

} // namespace

std::string first_line(const char *path) {
  constexpr std::size_t kLongest = 255;
  constexpr std::string_view kBlanks(" \t\r\0", 4);
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  line.resize(std::min(line.size(), kLongest));
  line.erase(line.find_last_not_of(kBlanks) + 1);
  line.erase(0, line.find_first_not_of(kBlanks));
  return line;
}

std::string machine_model() {
  std::string model =
      first_present("/sys/class/dmi/id/product_name", "/sys/firmware/devicetree/base/model");
  if (!model.empty())
    return model;
  utsname kernel{};
  uname(&kernel);
  return kernel.machine;
}

std::string machine_identifier() {
  std::string identifier = first_line("/etc/machine-id");
  // What systemd leaves there until the first boot is over.
  return identifier == "uninitialized" ? std::string() : identifier;
}

std::string machine_serial_number() {
  return first_present("/sys/class/dmi/id/product_serial",
                       "/sys/firmware/devicetree/base/serial-number");
}

} // namespace veltro::host
