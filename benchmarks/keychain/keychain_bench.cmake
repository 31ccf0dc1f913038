pkg_check_modules(KEYCHAIN_PEERS REQUIRED IMPORTED_TARGET libsecret-1 sqlite3 libsodium)
set(peers PkgConfig::KEYCHAIN_PEERS)
