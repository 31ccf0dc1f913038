// What the messenger understands. docs/protocol.md describes every request for those who send them.
#pragma once

#include "server.hpp"
#include "store.hpp"

namespace veltro::messenger {

enum class Request : signed char { chats = 1, read = 2, send = 3, mark_read = 4, echo = 5 };

/// The longest payload that a request may have.
std::uint64_t payload_limit(signed char identifier);

/// The reply to a request; empty for one that makes no sense or cannot be carried out. Stands any
/// bytes.
Bytes reply_to(Store &store, signed char identifier, Bytes payload);

} // namespace veltro::messenger
