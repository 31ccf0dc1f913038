"""The library exports exactly the classes and constants of its interface."""
import sys

import symbols

_, listing, library = sys.argv
found = symbols.named(symbols.of(library, '--defined-only'))
# The GNU linker's edges of the data segment.
symbols.compare('exported', found - {'__bss_start', '_edata', '_end', '_fini', '_init'}, symbols.listed(listing))
