pkg_check_modules(LIBSECRET REQUIRED IMPORTED_TARGET libsecret-1)
set(peers PkgConfig::HOST_DEPS PkgConfig::LIBSECRET)
