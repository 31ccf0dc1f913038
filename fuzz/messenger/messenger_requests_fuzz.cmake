set(peers messenger-core)
set(options IGNORE_LEAKS)
