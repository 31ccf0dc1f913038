#include "frameworks/Security/known_rows.hpp"

#include <utility>

namespace veltro::host::keychain {
namespace {

// Enough for the items that a program goes on using; not for whole keychains of any size.
constexpr std::size_t longest_answer = 16UL * 1024;
constexpr std::size_t most_altogether = 1024UL * 1024;
constexpr std::size_t overhead = 256; ///< of a row or a name, in containers

} // namespace

void KnownRows::Recording::add(std::string_view bound, std::string_view sealed) {
  size_ += bound.size() + sealed.size() + overhead;
  if (size_ <= longest_answer)
    rows_.push_back({std::string(bound), std::string(sealed)});
  else
    rows_.clear();
}

const std::vector<KnownRow> *KnownRows::find(const CommitStamp &commit, std::string_view search) {
  if (commit != commit_)
    return nullptr;
  const auto known = answers_.find(search);
  return known == answers_.end() ? nullptr : &known->second;
}

bool KnownRows::is_repeated(std::string_view search) {
  const std::size_t hash = std::hash<std::string_view>()(search);
  const auto mark = static_cast<std::uint32_t>(hash >> 32 | 1);
  return std::exchange(asked_[hash % asked_.size()], mark) == mark;
}

void KnownRows::keep(const CommitStamp &commit, const std::string &search, Recording recording) {
  if (recording.size_ > longest_answer)
    return;
  const std::size_t size = recording.size_ + search.size() + overhead;
  if (commit != commit_ || size_ + size > most_altogether)
    forget();
  commit_ = commit;
  size_ += size;
  answers_.insert_or_assign(search, std::move(recording.rows_));
}

void KnownRows::forget() {
  answers_.clear();
  size_ = 0;
}

void write_name(const Query &query, bool with_secrets, std::string &out) {
  out.clear();
  const auto append = [&](const auto &value) {
    out.append(reinterpret_cast<const char *>(&value), sizeof value);
  };
  append(query.limit);
  out += static_cast<char>(query.any_sync);
  out += static_cast<char>(with_secrets);
  for (std::size_t at = 0; at < query.fields.size(); ++at) {
    const Field &field = query.fields[at];
    if (!field.present())
      continue;
    out += static_cast<char>(at);
    append(field.integer);
    append(field.real);
    append(field.bytes.size());
    out += field.bytes;
  }
}

} // namespace veltro::host::keychain
