// Where the keychain lies, who may read it, and what it says of files that are not right.

#include "platform/frameworks/Security/keychain.hpp"

#include <chrono>
#include <thread>

namespace veltro::test {
namespace {

using KeychainFiles = Keychain;

TEST_F(KeychainFiles, ArePrivate) {
  const mode_t old = umask(0);
  ASSERT_EQ(add(@"mail", @"ann", "secret"), errSecSuccess);
  umask(old);
  EXPECT_EQ(paths().directory, device_root().string() + "/var/Keychains");
  EXPECT_EQ(mode_of(paths().directory), 0700U);
  int count = 0;
  for (const auto &entry : files::directory_iterator(paths().directory)) {
    EXPECT_EQ(mode_of(entry.path()), 0600U) << entry.path();
    ++count;
  }
  EXPECT_GE(count, 4) << "database, log, index of the log, key";
}

TEST_F(KeychainFiles, HoldNoSecretInPlainText) {
  const std::string secret(64, 'S');
  ASSERT_EQ(add(@"mail", @"ann", secret.c_str()), errSecSuccess);
  close_keychain();
  for (const auto &entry : files::directory_iterator(paths().directory))
    EXPECT_EQ(contents(entry.path()).find("SSSSSSSS"), std::string::npos) << entry.path();
}

TEST_F(KeychainFiles, HoldNothingOfADeletedItem) {
  ASSERT_EQ(add(@"mail", @"deleted account", "secret"), errSecSuccess);
  checkpoint();
  ASSERT_NE(contents(paths().database).find("deleted account"), std::string::npos);
  ASSERT_EQ(remove(item(@"mail", @"deleted account")), errSecSuccess);
  checkpoint();
  EXPECT_EQ(contents(paths().database).find("deleted account"), std::string::npos);
}

TEST_F(KeychainFiles, SealTheSameSecretDifferentlyEachTime) {
  ASSERT_EQ(add(@"mail", @"a", "secret"), errSecSuccess);
  ASSERT_EQ(add(@"mail", @"b", "secret"), errSecSuccess);
  checkpoint();
  keychain::Database database;
  ASSERT_EQ(database.open(paths().database, keychain::Database::Access::read_write), SQLITE_OK);
  std::int64_t different = 0;
  EXPECT_EQ(database.number("SELECT count(DISTINCT substr(sealed, 2, 24)) FROM genp", different),
            SQLITE_OK);
  EXPECT_EQ(different, 2);
}

TEST_F(KeychainFiles, AreAWriteAheadLogThatCommitsFully) {
  ASSERT_EQ(add(@"mail", @"ann", "secret"), errSecSuccess);
  close_keychain();
  keychain::Database database;
  ASSERT_EQ(database.open(paths().database, keychain::Database::Access::read_write), SQLITE_OK);
  std::int64_t value = 0;
  EXPECT_EQ(database.number("SELECT journal_mode = 'wal' FROM pragma_journal_mode", value),
            SQLITE_OK);
  EXPECT_EQ(value, 1);
  EXPECT_EQ(database.number("PRAGMA synchronous", value), SQLITE_OK);
  EXPECT_EQ(value, 2);
  EXPECT_EQ(database.number("PRAGMA user_version", value), SQLITE_OK);
  EXPECT_EQ(value, 2);
}

TEST_F(KeychainFiles, RefuseAKeyThatOthersMayRead) {
  ASSERT_EQ(add(@"mail", @"ann", "secret"), errSecSuccess);
  for (const mode_t mode : {0640U, 0604U, 0660U, 0602U, 0601U, 0644U, 0700U}) {
    ASSERT_EQ(chmod(paths().key.c_str(), mode), 0);
    clear_log();
    EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable) << std::oct << mode;
    EXPECT_EQ(logged_lines().size(), 1U);
    EXPECT_EQ(lines_with(paths().key), 1U);
    EXPECT_EQ(add(@"mail", @"bob", "x"), errSecNotAvailable);
    EXPECT_EQ(remove(item(@"mail", @"ann")), errSecNotAvailable);
  }
  ASSERT_EQ(chmod(paths().key.c_str(), 0600), 0);
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("secret")]);
  close_keychain();
  ASSERT_EQ(chmod(paths().key.c_str(), 0644), 0);
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable) << "when it is opened";
  ASSERT_EQ(chmod(paths().key.c_str(), 0400), 0);
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecSuccess) << "stricter is fine";
}

TEST_F(KeychainFiles, RefuseAFolderThatOthersMayEnter) {
  ASSERT_EQ(add(@"mail", @"ann", "secret"), errSecSuccess);
  for (const mode_t mode : {0750U, 0701U, 0755U, 0777U}) {
    ASSERT_EQ(chmod(paths().directory.c_str(), mode), 0);
    clear_log();
    EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable) << std::oct << mode;
    EXPECT_EQ(logged_lines().size(), 1U);
    EXPECT_EQ(lines_with(paths().directory + " "), 1U);
  }
  ASSERT_EQ(chmod(paths().directory.c_str(), 0700), 0);
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecSuccess);
}

TEST_F(KeychainFiles, RefuseAFolderThatWasThereAndIsNotPrivate) {
  files::create_directories(paths().directory);
  ASSERT_EQ(chmod(paths().directory.c_str(), 0755), 0);
  EXPECT_EQ(add(@"mail", @"ann", "secret"), errSecNotAvailable);
  EXPECT_TRUE(files::is_empty(paths().directory));
}

TEST_F(KeychainFiles, AreNotMadeAnewWhereTheKeyIsGone) {
  ASSERT_EQ(add(@"mail", @"ann", "secret"), errSecSuccess);
  const std::string aside = paths().key + ".aside";
  for (const bool open : {true, false}) {
    files::rename(paths().key, aside);
    if (!open)
      close_keychain();
    clear_log();
    EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable);
    EXPECT_EQ(lines_with(paths().key), 1U);
    EXPECT_EQ(add(@"mail", @"bob", "x"), errSecNotAvailable);
    EXPECT_EQ(remove(item(@"mail", @"ann")), errSecNotAvailable);
    EXPECT_FALSE(files::exists(paths().key));
    files::rename(aside, paths().key);
    EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("secret")]);
  }
}

TEST_F(KeychainFiles, ReportAKeyThatIsNone) {
  ASSERT_EQ(add(@"mail", @"ann", "secret"), errSecSuccess);
  const std::string key = contents(paths().key);
  ASSERT_EQ(key.size(), keychain::kMasterKeyLength);
  for (const std::string &bad : {std::string(), key.substr(1), key + "x"}) {
    write_file(paths().key, bad);
    clear_log();
    EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable);
    EXPECT_EQ(lines_with(paths().key), 1U);
  }
  files::remove(paths().key);
  ASSERT_EQ(mkfifo(paths().key.c_str(), 0600), 0);
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable);
  files::remove(paths().key);
  write_file(paths().key, key);
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("secret")]);
}

TEST_F(KeychainFiles, UnsealNothingWithAnotherKey) {
  ASSERT_EQ(add(@"mail", @"ann", "secret"), errSecSuccess);
  const std::string key = contents(paths().key);
  write_file(paths().key, std::string(keychain::kMasterKeyLength, 'k'));
  OSStatus status = 0;
  search(with(item(@"mail", @"ann"), kSecReturnData, yes()), status);
  EXPECT_EQ(status, errSecDecode);
  EXPECT_EQ(list(item(nil, nil)), nil);
  EXPECT_EQ(update(item(@"mail", @"ann"), with([Entries dictionary], kSecAttrLabel, @"x")),
            errSecDecode);
  write_file(paths().key, key);
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("secret")]);
}

TEST_F(KeychainFiles, ReportWhatIsNoFolderAndNoFile) {
  files::create_directories(device_root() / "var");
  write_file(paths().directory, "");
  EXPECT_EQ(add(@"mail", @"ann", "secret"), errSecNotAvailable);
  files::remove(paths().directory);
  files::create_directories(paths().database);
  ASSERT_EQ(chmod(paths().directory.c_str(), 0700), 0);
  EXPECT_EQ(add(@"mail", @"ann", "secret"), errSecNotAvailable);
  EXPECT_TRUE(files::is_directory(paths().database));
}

TEST_F(KeychainFiles, FollowTheDeviceRoot) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  const files::path second = scratch() / "second";
  setenv("VELTRO_ROOT", second.c_str(), 1);
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecItemNotFound);
  EXPECT_EQ(add(@"mail", @"ann", "two"), errSecSuccess);
  setenv("VELTRO_ROOT", device_root().c_str(), 1);
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
  setenv("VELTRO_ROOT", second.c_str(), 1);
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("two")]);
  setenv("VELTRO_ROOT", device_root().c_str(), 1);
  files::remove_all(second);
}

TEST_F(KeychainFiles, MayBeTakenAwayAndPutBackWhileInUse) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  const files::path away = scratch() / "away";
  files::rename(device_root(), away);
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecItemNotFound);
  EXPECT_EQ(add(@"mail", @"ann", "two"), errSecSuccess);
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("two")]);
  files::remove_all(device_root());
  files::rename(away, device_root());
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
}

TEST_F(KeychainFiles, MadeAnewReadNothingOfARemovedOnesLog) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  for (NSString *const next : {@"bob", @"cid"}) {
    ASSERT_GT(files::file_size(paths().database + "-wal"), 0U);
    files::remove(paths().database);
    EXPECT_EQ(status_of_search(item(nil, nil)), errSecItemNotFound);
    EXPECT_EQ(add(@"mail", next, "two"), errSecSuccess);
    EXPECT_EQ([list(item(nil, nil)) count], 1U) << "only the one that was added since";
    EXPECT_TRUE([secret(item(@"mail", next)) isEqual:bytes("two")]);
    close_keychain();
  }
}

TEST_F(KeychainFiles, AreStillLookedAtWhenTheyAreUsedOften) {
  ASSERT_EQ(add(@"mail", @"ann", "secret"), errSecSuccess);
  const auto use_often = [] {
    for (int again = 0; again < 10; ++again)
      EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecSuccess);
    // Longer than a tick of file times: until then nothing that was looked at is relied on.
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    for (int again = 0; again < 2; ++again)
      EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecSuccess);
  };
  use_often();
  files::permissions(paths().key, files::perms::group_read, files::perm_options::add);
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable);
  files::permissions(paths().key, files::perms::group_read, files::perm_options::remove);
  use_often();
  files::permissions(paths().directory, files::perms::group_read, files::perm_options::add);
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable);
  files::permissions(paths().directory, files::perms::group_read, files::perm_options::remove);
  use_often();
  for (const std::string &file : {paths().key, paths().database}) {
    files::rename(file, file + ".away");
    EXPECT_NE(status_of_search(item(@"mail", @"ann")), errSecSuccess) << file;
    files::rename(file + ".away", file);
    use_often();
  }
  files::rename(paths().directory, paths().directory + ".away");
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecItemNotFound);
  files::rename(paths().directory + ".away", paths().directory);
  use_often();
  files::rename(device_root(), scratch() / "away");
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecItemNotFound);
  files::rename(scratch() / "away", device_root());
  use_often();
}

TEST_F(KeychainFiles, StandOddNames) {
  const files::path odd = scratch() / "odd ?mode=memory&x#%41 \u00e9";
  setenv("VELTRO_ROOT", odd.c_str(), 1);
  EXPECT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
  EXPECT_TRUE(files::exists(odd / "var/Keychains/keychain.db"));
  setenv("VELTRO_ROOT", device_root().c_str(), 1);
}

TEST_F(KeychainFiles, OfANewerFormatAreLeftAsTheyAre) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  tamper("PRAGMA user_version = 99");
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable);
  EXPECT_EQ(add(@"mail", @"bob", "x"), errSecNotAvailable);
  EXPECT_EQ(lines_with("newer"), 2U);
  EXPECT_EQ(quarantined_files(), 0);
  tamper("PRAGMA user_version = 2");
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
}

TEST_F(KeychainFiles, OfAnOlderFormatContinueInANewOne) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  tamper("PRAGMA user_version = 1");
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable);
  EXPECT_EQ(quarantined_files(), 1);
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
}

TEST_F(KeychainFiles, ASecretUnsealsInItsOwnRowOnly) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  ASSERT_EQ(add(@"mail", @"bob", "two"), errSecSuccess);
  tamper("UPDATE genp SET sealed = (SELECT sealed FROM genp WHERE acct = 'ann')");
  OSStatus status = 0;
  EXPECT_EQ(search(with(item(@"mail", @"bob"), kSecReturnData, yes()), status), nil);
  EXPECT_EQ(status, errSecDecode);
  EXPECT_EQ(lines_with(paths().database), 1U);
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
  EXPECT_EQ([list(item(@"mail", nil)) count], 1U);
  // An item that does not unseal can still be replaced.
  EXPECT_EQ(update(item(@"mail", @"bob"), with([Entries dictionary], kSecValueData, bytes("new"))),
            errSecSuccess);
  EXPECT_TRUE([secret(item(@"mail", @"bob")) isEqual:bytes("new")]);
}

TEST_F(KeychainFiles, EveryAttributeIsBoundToTheSecret) {
  for (const char *change :
       {"svce = 'other'", "acct = 'other'", "agrp = 'other'", "sync = 1", "cdat = 1", "mdat = 1",
        "pdmn = 'dk'", "labl = 'x'", "labl = ''", "\"desc\" = 'x'", "icmt = 'x'", "gena = x'00'",
        "crtr = 1", "type = 1", "invi = 1", "nega = 0"}) {
    close_keychain();
    files::remove_all(device_root());
    ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
    tamper((std::string("UPDATE genp SET ") + change).c_str());
    Entries *const any =
        with(item(nil, nil), kSecAttrSynchronizable, (id)kSecAttrSynchronizableAny);
    OSStatus status = 0;
    search(with(any, kSecReturnData, yes()), status);
    EXPECT_EQ(status, errSecDecode) << change;
    search(with(any, kSecReturnAttributes, yes()), status);
    EXPECT_EQ(status, errSecDecode) << change;
    EXPECT_EQ(status_of_search(any), errSecDecode) << change;
  }
}

TEST_F(KeychainFiles, AFileThatIsNoneIsQuarantined) {
  for (const std::string &bytes :
       {std::string(), std::string("no database"), std::string(8192, '\0')}) {
    close_keychain();
    files::remove_all(device_root());
    ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
    checkpoint();
    write_file(paths().database, bytes);
    clear_log();
    EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable);
    EXPECT_EQ(lines_with("keychain.db.damaged-1"), 1U);
    ASSERT_EQ(quarantined_files(), 1);
    EXPECT_EQ(contents(paths().database + ".damaged-1"), bytes);
    EXPECT_EQ(mode_of(paths().database + ".damaged-1"), 0600U);
    EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecItemNotFound);
    EXPECT_EQ(add(@"mail", @"ann", "two"), errSecSuccess);
  }
}

TEST_F(KeychainFiles, ASecondDamagedFileHasItsOwnName) {
  for (int round = 1; round <= 3; ++round) {
    ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
    checkpoint();
    write_file(paths().database, "round " + std::to_string(round));
    EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable);
    EXPECT_EQ(quarantined_files(), round);
    EXPECT_EQ(contents(paths().database + ".damaged-" + std::to_string(round)),
              "round " + std::to_string(round));
  }
}

} // namespace
} // namespace veltro::test
