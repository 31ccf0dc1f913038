// What a program would write that keeps its secrets in SQLite without a keychain: one connection,
// prepared statements, the same durability and sealing, and results as objects. The same sealing
// means that all attributes are the associated data, so that a fetch reads the whole row. A listing
// verifies nothing here.
#pragma once

#import <Foundation/Foundation.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <sodium.h>
#include <sqlite3.h>
#include <string>
#include <vector>

namespace veltro::bench {

class PlainSQLite {
public:
  explicit PlainSQLite(const std::string &path) {
    check(sodium_init() >= 0);
    randombytes_buf(key_.data(), key_.size());
    check(sqlite3_open(path.c_str(), &database_) == SQLITE_OK);
    run("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL;"
        "CREATE TABLE item (id INTEGER PRIMARY KEY, service TEXT NOT NULL, account TEXT NOT NULL,"
        " access_group TEXT NOT NULL, sync INTEGER NOT NULL, created REAL NOT NULL,"
        " modified REAL NOT NULL, accessible TEXT NOT NULL, secret BLOB NOT NULL,"
        " UNIQUE (service, account, access_group, sync))");
    remove_ = prepare("DELETE FROM item WHERE service = ?1 AND account = ?2");
    insert_ = prepare("INSERT INTO item (service, account, access_group, sync, created, modified,"
                      " accessible, secret) VALUES (?1, ?2, 'default', 0, ?3, ?3, 'ak', ?4)");
    select_ = prepare("SELECT service, account, access_group, sync, created, modified, accessible,"
                      " secret FROM item WHERE service = ?1 AND account = ?2 LIMIT 1");
    list_ = prepare("SELECT service, account, access_group, sync, created, modified, accessible"
                    " FROM item");
  }
  ~PlainSQLite() {
    for (sqlite3_stmt *statement : {remove_, insert_, select_, list_})
      sqlite3_finalize(statement);
    sqlite3_close(database_);
  }
  PlainSQLite(const PlainSQLite &) = delete;
  PlainSQLite &operator=(const PlainSQLite &) = delete;

  void run(const char *sql) { check(sqlite3_exec(database_, sql, nullptr, nullptr, nullptr) == 0); }

  void remove(NSString *service, NSString *account) {
    bind(remove_, service, account);
    finish(remove_);
  }

  void add(NSString *service, NSString *account, NSString *secret) {
    const double now = [NSDate timeIntervalSinceReferenceDate];
    const std::string attributes =
        associated_data([service UTF8String], [account UTF8String], "default", 0, now, now, "ak");
    NSData *const plain = [secret dataUsingEncoding:NSUTF8StringEncoding];
    std::vector<unsigned char> sealed(kNonce + [plain length] + kTag);
    randombytes_buf(sealed.data(), kNonce);
    crypto_aead_xchacha20poly1305_ietf_encrypt(
        sealed.data() + kNonce, nullptr, static_cast<const unsigned char *>([plain bytes]),
        [plain length], reinterpret_cast<const unsigned char *>(attributes.data()),
        attributes.size(), nullptr, sealed.data(), key_.data());
    bind(insert_, service, account);
    sqlite3_bind_double(insert_, 3, now);
    sqlite3_bind_blob64(insert_, 4, sealed.data(), sealed.size(), SQLITE_STATIC);
    finish(insert_);
  }

  NSString *fetch(NSString *service, NSString *account) {
    bind(select_, service, account);
    check(sqlite3_step(select_) == SQLITE_ROW);
    const auto text = [&](int column) {
      return reinterpret_cast<const char *>(sqlite3_column_text(select_, column));
    };
    const std::string attributes = associated_data(
        text(0), text(1), text(2), sqlite3_column_int(select_, 3),
        sqlite3_column_double(select_, 4), sqlite3_column_double(select_, 5), text(6));
    const auto *const sealed = static_cast<const unsigned char *>(sqlite3_column_blob(select_, 7));
    const auto length = static_cast<std::size_t>(sqlite3_column_bytes(select_, 7));
    std::vector<unsigned char> plain(length - kNonce - kTag);
    check(crypto_aead_xchacha20poly1305_ietf_decrypt(
              plain.data(), nullptr, nullptr, sealed + kNonce, length - kNonce,
              reinterpret_cast<const unsigned char *>(attributes.data()), attributes.size(), sealed,
              key_.data()) == 0);
    sqlite3_reset(select_);
    return [[[NSString alloc] initWithBytes:plain.data()
                                     length:plain.size()
                                   encoding:NSUTF8StringEncoding] autorelease];
  }

  NSArray *list() {
    NSMutableArray *const items = [NSMutableArray array];
    while (sqlite3_step(list_) == SQLITE_ROW)
      @autoreleasepool {
        [items addObject:[NSDictionary
                             dictionaryWithObjectsAndKeys:text(0), @"svce", text(1), @"acct",
                                                          text(2), @"agrp",
                                                          [NSNumber numberWithBool:number(3) != 0],
                                                          @"sync", date(4), @"cdat", date(5),
                                                          @"mdat", text(6), @"pdmn", nil]];
      }
    sqlite3_reset(list_);
    return items;
  }

private:
  static constexpr std::size_t kNonce = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
  static constexpr std::size_t kTag = crypto_aead_xchacha20poly1305_ietf_ABYTES;

  static void check(bool right) {
    if (!right)
      std::abort();
  }

  static std::string associated_data(const char *service, const char *account, const char *group,
                                     int sync, double created, double modified,
                                     const char *accessible) {
    std::string bytes;
    for (const char *text : {service, account, group, accessible})
      bytes.append(text).push_back('\0');
    for (const double number : {static_cast<double>(sync), created, modified})
      bytes.append(reinterpret_cast<const char *>(&number), sizeof number);
    return bytes;
  }

  sqlite3_stmt *prepare(const char *sql) {
    sqlite3_stmt *statement = nullptr;
    check(sqlite3_prepare_v2(database_, sql, -1, &statement, nullptr) == SQLITE_OK);
    return statement;
  }

  static void bind(sqlite3_stmt *statement, NSString *service, NSString *account) {
    sqlite3_bind_text(statement, 1, [service UTF8String], -1, SQLITE_TRANSIENT);
    sqlite3_bind_text(statement, 2, [account UTF8String], -1, SQLITE_TRANSIENT);
  }

  static void finish(sqlite3_stmt *statement) {
    check(sqlite3_step(statement) == SQLITE_DONE);
    sqlite3_reset(statement);
  }

  NSString *text(int column) {
    return [NSString
        stringWithUTF8String:reinterpret_cast<const char *>(sqlite3_column_text(list_, column))];
  }
  int number(int column) { return sqlite3_column_int(list_, column); }
  NSDate *date(int column) {
    return [NSDate dateWithTimeIntervalSinceReferenceDate:sqlite3_column_double(list_, column)];
  }

  std::array<unsigned char, crypto_aead_xchacha20poly1305_ietf_KEYBYTES> key_;
  sqlite3 *database_ = nullptr;
  sqlite3_stmt *remove_, *insert_, *select_, *list_;
};

} // namespace veltro::bench
