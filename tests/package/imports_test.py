"""The library asks the platform for exactly what the list names."""
import sys

import symbols

_, listing, library = sys.argv
symbols.compare('imported', symbols.named(symbols.of(library, '--undefined-only')), symbols.listed(listing))
