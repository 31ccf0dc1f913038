// Strings of any UTF-16, as on the device: where an emoji is cut in two, half a surrogate pair is
// left, of which GNUstep makes no string. It exports the function that looks for such text, and
// finds this one, because the platform is linked before it.

#import <Foundation/Foundation.h>
#import <GNUstepBase/Unicode.h>

#include <algorithm>

/// How many characters a string may hold; whether all are ASCII, and whether all are Latin 1.
unsigned GSUnicode(const unichar *characters, unsigned length, BOOL *ascii, BOOL *latin1) {
  const unichar *const end = characters + length;
  if (ascii != nullptr)
    *ascii = std::all_of(characters, end, [](unichar character) { return character < 0x80; });
  if (latin1 != nullptr)
    *latin1 = std::all_of(characters, end, [](unichar character) { return character < 0x100; });
  return length;
}
