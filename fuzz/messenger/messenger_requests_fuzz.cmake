set(peers messenger-core)
