// The processes that the library takes for the messaging app: all of that name on this machine,
// whatever device root they belong to.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace veltro::tool {

struct WhatsAppProcess {
  pid_t process;
  /// Its device root; nothing where its environment cannot be read or names none.
  std::optional<std::string> root;
};

std::vector<WhatsAppProcess> whatsapp_processes();

/// "123 (root /tmp/device)", or only the number.
std::string description(const WhatsAppProcess &process);

/// "; process 123 (root /tmp/other) is named WhatsApp too: …" where one of another root stands in
/// the way of this root's, with what helps; else nothing.
std::string what_is_in_the_way();

} // namespace veltro::tool
