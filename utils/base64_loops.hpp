// The loops of the kernels, the same for all kinds of vectors. Included in the type of each, so
// that they are compiled for its instructions, behind these members:
//   kText, kBytes    how many characters and bytes a block has
//   kReads           how many bytes the encoder may read from the start of a block on
//   encode_block     encodes a block; may read Low bytes before it
//   decode_block     decodes a block up to what is not clean; returns a mask, four bits a group, of
//                    what is not; touches kBytes bytes if Exact, else fewer than two blocks'
//   kRest            the kernels for what is less than a block

static std::size_t encode(const std::uint8_t *bytes, std::size_t length, char *to) {
  std::size_t at = 0;
  if (length >= kReads) {
    encode_block<0, 0>(bytes, to);
    to += kText;
#pragma clang loop unroll_count(4)
    for (at = kBytes; length - at >= kReads; at += kBytes, to += kText)
      encode_block<4, 0>(bytes + at, to);
    // What those could not reach; the last block overlaps the one before.
    const std::size_t whole = kOverlaps ? length / 3 * 3 : at;
    while (at != whole && whole >= kReads) {
      const std::size_t count = whole - at < kBytes ? whole - at : kBytes;
      at += count;
      to += count / 3 * 4;
      encode_block<4, 4>(bytes + at - kBytes, to - kText);
    }
  }
  return at + kRest.encode(bytes + at, length - at, to);
}

static Run decode(const char *text, std::size_t length, std::uint8_t *to, std::uint64_t skipped) {
  const std::uint8_t *const start = to;
  const char *const end = text + length;
  const char *at = text;
  std::size_t line = 0;
  for (;;) {
    std::uint64_t unclean = 0;
    for (; end - at >= 2 * kText; at += kText, to += kBytes)
      if (unclean = decode_block<false>(at, to); unclean != 0)
        break;
    if (unclean == 0) {
      if (end - at < kText)
        break;
      unclean = decode_block<true>(at, to);
      if (unclean == 0) {
        at += kText;
        to += kBytes;
        break;
      }
    }
    // Lines are mostly of one length: the next is begun where it is expected, by a branch that is
    // mostly predicted, and not where the mask says, which takes several times as long.
    const auto clean = static_cast<std::size_t>(__builtin_ctzll(unclean)) / 4;
    if (clean != line) {
      line = clean;
      __asm__("" : "+r"(line)); // else the compiler takes the branch out
    }
    to += line * 3;
    const char *const rest = at += line * 4;
    while (at != end && has(skipped, *at))
      ++at;
    if (at == rest)
      break;
  }
  const Run rest = kRest.decode(at, static_cast<std::size_t>(end - at), to, skipped);
  return {static_cast<std::size_t>(at - text) + rest.read,
          static_cast<std::size_t>(to - start) + rest.written};
}
