#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace veltro::host {

/// The bytes of a time-zone file (RFC 8536) for a zone that `rule` describes as the variable TZ
/// does, "CET-1CEST,M3.5.0,M10.5.0/3": the changes of the years 1970 to 2037, and the rule behind
/// them. Summer time without dates has those of the United States, as in the C library. Nothing
/// where the text is no rule.
std::optional<std::vector<std::uint8_t>> time_zone_file(const std::string &rule);

} // namespace veltro::host
