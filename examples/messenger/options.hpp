#pragma once

#include "server.hpp"

#include <span>
#include <string>

namespace veltro::messenger {

/// Reads "--port N" and "--stall-time SECONDS". Returns false, with the reason in `error`, where
/// the command line makes no sense.
bool read_options(std::span<char *const> arguments, ServerOptions &options, std::string &error);

} // namespace veltro::messenger
