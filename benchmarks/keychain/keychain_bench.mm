// Saving, fetching and listing through the library's facade, in keychains of different sizes,
// against plain SQLite and against a Secret Service. A save is what the facade does: it replaces
// the item. "fetch" asks for one item again and again, "fetch any" for all in turn, in an order
// that leaps about. The Secret Service is filled with at most a hundred items, since it writes its
// whole keyring anew for each.

#include "plain_sqlite.hpp"
#include "secret_service.hpp"

#include "frameworks/Security/directory.hpp"
#include "frameworks/Security/item_rows.hpp"

#import <veltro/ZLTKeyChain.h>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <filesystem>
#include <map>
#include <memory>

namespace {

namespace keychain = veltro::host::keychain;
namespace files = std::filesystem;
using veltro::bench::PlainSQLite;
using veltro::bench::SecretService;

NSString *const kService = @"service";

std::string account_name(std::int64_t number) {
  return "account-" + std::to_string(number);
}

NSString *account(std::int64_t number) {
  return [NSString stringWithUTF8String:account_name(number).c_str()];
}

/// The folder of this run, on the disk that the build tree is on.
const files::path &folder() {
  static const struct Folder {
    Folder() {
      std::string name = VELTRO_BUILD_DIR "/bench-XXXXXX";
      if (mkdtemp(name.data()) == nullptr)
        std::abort();
      path = name;
    }
    ~Folder() {
      std::error_code ignored;
      files::remove_all(path, ignored);
    }
    files::path path;
  } folder;
  return folder.path;
}

/// Makes the keychain with so many items the one in use. It is filled in one transaction, past the
/// item functions, which make each item durable.
void use_keychain(std::int64_t items) {
  const std::string root = folder() / ("keychain-" + std::to_string(items));
  setenv("VELTRO_ROOT", root.c_str(), 1);
  if (files::exists(root))
    return;
  @autoreleasepool {
    [ZLTKeyChain setPassword:@"secret of item 0" forService:kService account:account(0)];
  }
  const keychain::Paths paths = keychain::Paths::at(root);
  std::optional<keychain::SealingKey> key;
  keychain::Database database;
  if (keychain::read_key(paths, key) != 0 ||
      database.open(paths.database, keychain::Database::Access::read_write) != SQLITE_OK)
    std::abort();
  keychain::Transaction transaction(database);
  for (std::int64_t number = 1; number < items; ++number) {
    const std::string name = account_name(number);
    keychain::Row row;
    row.fields[keychain::service] = keychain::Field::text("service");
    row.fields[keychain::account] = keychain::Field::text(name);
    row.fields[keychain::group] = keychain::Field::text("default");
    row.fields[keychain::sync] = keychain::Field::of(std::int64_t{0});
    row.fields[keychain::created] = keychain::Field::of(1000.0);
    row.fields[keychain::modified] = keychain::Field::of(1000.0);
    row.fields[keychain::accessible] = keychain::Field::text("ak");
    const std::string sealed = keychain::seal(*key, row.fields, "secret of item");
    row.sealed = sealed;
    if (keychain::insert_item(database, row) != SQLITE_DONE)
      std::abort();
  }
  // At rest, as a keychain that was filled one by one: the log does not hold it all.
  if (transaction.commit() != SQLITE_OK ||
      database.run("PRAGMA wal_checkpoint(TRUNCATE)") != SQLITE_OK)
    std::abort();
}

PlainSQLite &plain(std::int64_t items) {
  static std::map<std::int64_t, std::unique_ptr<PlainSQLite>> known;
  std::unique_ptr<PlainSQLite> &database = known[items];
  if (database == nullptr) {
    database = std::make_unique<PlainSQLite>(folder() / ("plain-" + std::to_string(items)));
    database->run("BEGIN");
    for (std::int64_t number = 0; number < items; ++number)
      @autoreleasepool {
        database->add(kService, account(number), @"secret of item");
      }
    // As our keychain is left: its log is as short, and grows with the first saves.
    database->run("COMMIT; PRAGMA wal_checkpoint(TRUNCATE)");
  }
  return *database;
}

/// The Secret Service with so many items; null where there is none.
SecretService *secret_service(std::int64_t items) {
  static SecretService running(folder() / "secret-service");
  static std::map<std::int64_t, std::int64_t> filled;
  if (!running.use(std::to_string(items)))
    return nullptr;
  for (std::int64_t &number = filled[items]; number < items; ++number)
    if (!running.save("service", account_name(number), "secret of item"))
      return nullptr;
  return &running;
}

/// Makes the keychain with so many items the one in use, and opens it: the others stay open between
/// runs, and a process opens its keychain once.
void open_keychain(std::int64_t items) {
  use_keychain(items);
  @autoreleasepool {
    if ([ZLTKeyChain passwordForService:kService account:account(0)] == nil)
      std::abort();
  }
}

/// Skips this repetition, from within its loop: the library of the benchmarks aborts where some
/// repetitions made iterations and others none.
void skip(benchmark::State &state) {
  for ([[maybe_unused]] auto _ : state) {
    state.SkipWithError("no Secret Service replies");
    break;
  }
}

void save_veltro(benchmark::State &state) {
  open_keychain(state.range(0));
  const auto save = [&] {
    if (![ZLTKeyChain setPassword:@"secret of item" forService:kService account:account(0)])
      state.SkipWithError("a save failed");
  };
  @autoreleasepool {
    save(); // which prepares the statements; the peer's are
  }
  for (auto _ : state)
    @autoreleasepool {
      save();
    }
}

void save_sqlite(benchmark::State &state) {
  PlainSQLite &database = plain(state.range(0));
  for (auto _ : state)
    @autoreleasepool {
      database.remove(kService, account(0));
      database.add(kService, account(0), @"secret of item");
    }
}

void save_secret_service(benchmark::State &state) {
  SecretService *const running = secret_service(state.range(0));
  if (running == nullptr)
    return skip(state);
  for (auto _ : state)
    running->save("service", account_name(0), "secret of item");
}

void fetch_veltro(benchmark::State &state) {
  open_keychain(state.range(0));
  for (auto _ : state)
    @autoreleasepool {
      if ([ZLTKeyChain passwordForService:kService account:account(state.range(0) / 2)] == nil)
        state.SkipWithError("a fetch failed");
    }
}

void fetch_sqlite(benchmark::State &state) {
  PlainSQLite &database = plain(state.range(0));
  for (auto _ : state)
    @autoreleasepool {
      benchmark::DoNotOptimize(database.fetch(kService, account(state.range(0) / 2)));
    }
}

void fetch_secret_service(benchmark::State &state) {
  SecretService *const running = secret_service(state.range(0));
  if (running == nullptr)
    return skip(state);
  for (auto _ : state)
    benchmark::DoNotOptimize(running->fetch("service", account_name(state.range(0) / 2)));
}

/// The numbers of all items, each once before any comes again.
class InTurn {
public:
  explicit InTurn(std::int64_t items) : items_(items) {}
  std::int64_t next() { return last_ = (last_ + 61'803) % items_; } // a prime

private:
  std::int64_t items_, last_ = 0;
};

/// How many items of so many are fetched before the clock runs, so that either's cache holds what
/// it can: our connection was closed when another keychain was in use, the others never are.
std::int64_t first_walk(std::int64_t items) {
  return std::max<std::int64_t>(items / 4, 3'000);
}

void fetch_any_veltro(benchmark::State &state) {
  open_keychain(state.range(0));
  InTurn number(state.range(0));
  for (std::int64_t walked = 0; walked < first_walk(state.range(0)); ++walked)
    @autoreleasepool {
      [ZLTKeyChain passwordForService:kService account:account(number.next())];
    }
  for (auto _ : state)
    @autoreleasepool {
      if ([ZLTKeyChain passwordForService:kService account:account(number.next())] == nil)
        state.SkipWithError("a fetch failed");
    }
}

void fetch_any_sqlite(benchmark::State &state) {
  PlainSQLite &database = plain(state.range(0));
  InTurn number(state.range(0));
  for (std::int64_t walked = 0; walked < first_walk(state.range(0)); ++walked)
    @autoreleasepool {
      database.fetch(kService, account(number.next()));
    }
  for (auto _ : state)
    @autoreleasepool {
      benchmark::DoNotOptimize(database.fetch(kService, account(number.next())));
    }
}

void list_veltro(benchmark::State &state) {
  open_keychain(state.range(0));
  for (auto _ : state)
    @autoreleasepool {
      if ([[ZLTKeyChain allAccounts] count] != static_cast<NSUInteger>(state.range(0)))
        state.SkipWithError("a listing failed");
    }
}

void list_sqlite(benchmark::State &state) {
  PlainSQLite &database = plain(state.range(0));
  for (auto _ : state)
    @autoreleasepool {
      benchmark::DoNotOptimize(database.list());
    }
}

void list_secret_service(benchmark::State &state) {
  SecretService *const running = secret_service(state.range(0));
  if (running == nullptr)
    return skip(state);
  for (auto _ : state)
    benchmark::DoNotOptimize(running->list());
}

void sizes(benchmark::internal::Benchmark *benchmark) {
  benchmark->Arg(1)->Arg(100)->Arg(1'000)->Arg(100'000)->UseRealTime()->Unit(
      benchmark::kMicrosecond);
}

void large_sizes(benchmark::internal::Benchmark *benchmark) {
  benchmark->Arg(1'000)->Arg(100'000)->UseRealTime()->Unit(benchmark::kMicrosecond);
}

void small_sizes(benchmark::internal::Benchmark *benchmark) {
  benchmark->Arg(1)->Arg(100)->UseRealTime()->Unit(benchmark::kMicrosecond);
}

// Seconds. A save waits for the disk twice, and a disk may serve its callers in steps of
// milliseconds: two saves would tell which step they met.
constexpr double kSaves = 0.2;

BENCHMARK(save_veltro)->Name("save/veltro")->Apply(sizes)->MinTime(kSaves);
BENCHMARK(save_sqlite)->Name("save/sqlite")->Apply(sizes)->MinTime(kSaves);
BENCHMARK(save_secret_service)->Name("save/secret service")->Apply(small_sizes);
BENCHMARK(fetch_veltro)->Name("fetch/veltro")->Apply(sizes);
BENCHMARK(fetch_sqlite)->Name("fetch/sqlite")->Apply(sizes);
BENCHMARK(fetch_secret_service)->Name("fetch/secret service")->Apply(small_sizes);
BENCHMARK(fetch_any_veltro)->Name("fetch any/veltro")->Apply(large_sizes);
BENCHMARK(fetch_any_sqlite)->Name("fetch any/sqlite")->Apply(large_sizes);
BENCHMARK(list_veltro)->Name("list/veltro")->Apply(sizes);
BENCHMARK(list_sqlite)->Name("list/sqlite")->Apply(sizes);
BENCHMARK(list_secret_service)->Name("list/secret service")->Apply(small_sizes);

} // namespace

BENCHMARK_MAIN();
