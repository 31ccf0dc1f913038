"""The Objective-C metadata of Mach-O files, as llvm-objdump prints it, in the form of interface.txt."""
import re
import subprocess


class Entry:
    """A class or a category: what it says of itself, by kind and name, in the binary's order."""

    def __init__(self, heading):
        self.heading = heading
        self.lines = {}  # (kind, name) -> type encoding


def of(*paths):
    """The entries of all files together, by heading."""
    entries = {}
    for path in paths:
        text = subprocess.run(['llvm-objdump-19', '--macho', '--objc-meta-data', path], check=True,
                              capture_output=True, text=True).stdout
        for entry in parse(text):
            entries[entry.heading] = entry
    return entries


def parse(text):
    section = entry = kind = name = pending = None
    meta = False
    for line in text.splitlines():
        if line.startswith('Contents of'):
            if entry:
                yield entry
            section, entry = re.search(r',(\w+)\)', line).group(1), None
            continue
        if section not in ('__objc_classlist', '__objc_catlist'):
            continue
        found = re.match(r'^[0-9a-f]{8,16} 0x[0-9a-f]+ (\S+)$', line)
        if found:
            if entry:
                yield entry
            entry, meta, kind = None, False, None
            category = re.match(r'__OBJC_\$_CATEGORY_(\w+)_\$_(\w+)$', found.group(1))
            if category:
                entry = Entry(f'category {category.group(1)} ({category.group(2)})')
            else:
                pending = found.group(1).removeprefix('_OBJC_CLASS_$_')
            continue
        fields = line.split()
        if not fields:
            continue
        if line.startswith('Meta Class'):
            meta, kind = True, None
        elif section == '__objc_catlist':
            # A category of a class of the same file repeats that class: only the category counts.
            if fields[0] in ('instanceMethods', 'classMethods', 'instanceProperties'):
                kind = {'i': '-', 'c': '+'}[fields[0][0]] if 'Methods' in fields[0] else 'property'
            elif fields[0] in ('cls', 'protocols', 'baseMethods', 'ivars', 'baseProperties'):
                kind = None
            elif fields[0] == 'name' and kind:
                name = fields[-1]
            elif fields[0] in ('types', 'attributes') and kind and name:
                entry.lines[(kind, name)] = ' '.join(fields[2:])
                name = None
        elif fields[0] == 'superclass' and not meta:
            entry = Entry(f"class {pending} : {fields[-1].removeprefix('_OBJC_CLASS_$_')}")
        elif fields[0] == 'baseMethods':
            kind = '+' if meta else '-'
        elif fields[0] == 'ivars':
            kind = 'ivar'
        elif fields[0] == 'baseProperties':
            kind = 'property'
        elif fields[0] in ('baseProtocols', 'protocols', 'weakIvarLayout'):
            kind = None
        elif fields[0] == 'name' and kind:
            name = fields[-1]
        elif fields[0] in ('types', 'type', 'attributes') and kind and name:
            entry.lines[(kind, name)] = ' '.join(fields[2:])
            name = None
    if entry:
        yield entry


def table(wide, narrow):
    """The text of interface.txt from the 64-bit entries and the 32-bit ones."""
    out = []
    for heading in sorted(wide):
        out.append(heading)
        other = narrow[heading].lines
        for (kind, name), encoding in wide[heading].lines.items():
            narrow_encoding = other.get((kind, name), 'missing')
            both = encoding if narrow_encoding == encoding else f'{encoding} | {narrow_encoding}'
            out.append(f'  {kind} {name} {both}')
        for key in other.keys() - wide[heading].lines.keys():
            out.append(f'  {" ".join(key)} missing | {other[key]}')
        out.append('')
    for heading in sorted(narrow.keys() - wide.keys()):
        out += [heading, '  only in the 32-bit build', '']
    return '\n'.join(out)
