"""Reads a keyed archive with Python's own property list reader, and prints, as JSON, the archive's
frame, the root's class and its keys, with every reference followed."""
import json
import plistlib
import sys

with open(sys.argv[1], 'rb') as file:
    archive = plistlib.load(file)
objects = archive['$objects']


def value(reference):
    assert isinstance(reference, plistlib.UID), f'no reference but {reference!r}'
    if reference.data == 0:
        return objects[0]
    held = objects[reference.data]
    if not isinstance(held, dict):
        return held
    described = objects[held['$class'].data]
    shown = {'class': described['$classname'], 'classes': described['$classes']}
    for key in held:
        if key != '$class':
            shown[key] = value(held[key]) if isinstance(held[key], plistlib.UID) else held[key]
    return shown


print(json.dumps({'archiver': archive['$archiver'], 'version': archive['$version'],
                  'top': list(archive['$top']), 'null': objects[0],
                  'root': value(archive['$top']['root'])}, sort_keys=True))
