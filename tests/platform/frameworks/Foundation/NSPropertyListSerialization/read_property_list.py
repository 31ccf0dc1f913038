"""Prints what Python's own property list reader makes of a binary property list."""
import plistlib
import sys

with open(sys.argv[1], 'rb') as file:
    print(plistlib.load(file, fmt=plistlib.FMT_BINARY))
