set(options IGNORE_LEAKS)
