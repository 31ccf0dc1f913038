// Blocks of one vector, for SSSE3 and AVX2; included in the type of each. The methods are those of
// W. Muła and D. Lemire, "Faster Base64 Encoding and Decoding Using AVX2 Instructions".

static constexpr std::ptrdiff_t kText = sizeof(Vector);
static constexpr std::size_t kBytes = kText / 4 * 3;
static constexpr std::size_t kReads = kBytes + 4;
static constexpr bool kOverlaps = true;

using Signed = std::int8_t __attribute__((vector_size(sizeof(Vector))));
using Unsigned = std::uint8_t __attribute__((vector_size(sizeof(Vector))));
using Pairs = std::uint16_t __attribute__((vector_size(sizeof(Vector))));
using Groups = std::uint32_t __attribute__((vector_size(sizeof(Vector))));

/// Spreads each three bytes over four and multiplies their bits to their places. The character of a
/// value is at an offset that a lookup finds by its range.
template <char Low, char High> static void encode_block(const std::uint8_t *bytes, char *to) {
  const Signed spread = repeat(_mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10));
  const Signed offsets =
      repeat(_mm_setr_epi8('A', 'a' - 26, -4, -4, -4, -4, -4, -4, -4, -4, -4, -4, -19, -16, 0, 0));
  const Groups in = shuffle(load_bytes<Low, High>(bytes), spread + Signed(lanes<Low, High>()));
  Groups left = Groups{} + 0x01000010;
  __asm__("" : "+x"(left)); // else clang takes shifts and a blend for the multiplication
  const Signed values = Vector(multiply_high(in & 0x0fc0fc00, Groups{} + 0x04000040)) |
                        Vector(Pairs(in & 0x003f03f0) * Pairs(left));
  const Signed range = __builtin_elementwise_sub_sat(Unsigned(values), Unsigned{} + 51);
  store(to, values + Signed(shuffle(offsets, range - (values > 25))));
}

/// Two lookups, by a character's high and its low four bits, have a bit in common where it is none
/// of the alphabet's. Its value is at an offset by its high bits; "/" is the exception. Two
/// multiplications with addition join four values.
template <bool Exact> static std::uint64_t decode_block(const char *text, std::uint8_t *to) {
  const Vector low_marks = repeat(_mm_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11,
                                                0x11, 0x11, 0x13, 0x1a, 0x1b, 0x1b, 0x1b, 0x1a));
  const Vector high_marks = repeat(_mm_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08,
                                                 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10));
  const Vector offsets =
      repeat(_mm_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0));
  const Vector pack = repeat(_mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, 3, 7, 11, 15));
  const Signed in = load(text);
  const Signed high = Signed(Groups(in) >> 4) & '/';
  const Signed values = in + Signed(shuffle(offsets, high + (in == '/')));
  const Vector pairs = add_products8(values, Groups{} + 0x01400140);
  store_bytes<Exact>(to, shuffle(add_products16(pairs, Groups{} + 0x00011000), pack));
  const Signed marks = shuffle(low_marks, in & '/') & shuffle(high_marks, high);
  return __builtin_expect(is_zero(marks), 1) ? 0 : mask(marks > 0);
}
