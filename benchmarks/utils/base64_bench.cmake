pkg_check_modules(BASE64_PEERS REQUIRED IMPORTED_TARGET glib-2.0 libcrypto)
set(peers PkgConfig::BASE64_PEERS b64)
