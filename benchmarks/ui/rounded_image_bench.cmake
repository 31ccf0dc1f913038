pkg_check_modules(CAIRO REQUIRED IMPORTED_TARGET cairo)
set(peers PkgConfig::CAIRO)
