"""The Objective-C metadata of a linked image, in the form of interface.txt."""
import re
import struct


class Entry:
    """A class or a category: what it says of itself, by kind and name, in the image's order."""

    def __init__(self, heading):
        self.heading = heading
        self.lines = {}  # (kind, name) -> type encoding
        self.faults = []  # methods whose code is that of another


class Reader:
    def __init__(self, image):
        self.image = image
        self.size = image.pointer_size

    def fields(self, address, count):
        """(where it is, its value) of `count` pointers that lie one behind the other."""
        return [(at, self.image.pointer(at)) for at in range(address, address + count * self.size, self.size)]

    def symbol(self, slot, prefix):
        """The name of the class or protocol that the pointer in `slot` leads to, by symbol."""
        names = [self.image.bound[slot]] if slot in self.image.bound else self.image.names.get(
            self.image.pointer(slot), [])
        return next((name.removeprefix(prefix) for name in names if name.startswith(prefix)), 'nothing')

    def listed(self, address, fields):
        """The entries of a list with a size and a count in front, each as its first pointers."""
        if not address:
            return
        size, count = struct.unpack('<II', self.image.read(address, 8))
        for i in range(count):
            yield [value for _, value in self.fields(address + 8 + i * (size & ~3), fields)]

    def methods(self, entry, sign, address, owner):
        for name, types, code in self.listed(address, 3):
            name = self.image.string(name)
            entry.lines[sign, name] = self.image.string(types)
            if f'{sign}[{owner} {name}]' not in self.image.names.get(code & ~1 if not self.image.wide else code, []):
                entry.faults.append(f'{entry.heading}: {sign} {name} leads to {code:#x}')

    def properties(self, entry, address):
        for name, attributes in self.listed(address, 2):
            entry.lines['property', self.image.string(name)] = self.image.string(attributes)

    def protocols(self, address):
        """The protocols that a list names, each with those that it adopts itself."""
        for slot, protocol in self.fields(address + self.size, self.image.pointer(address)) if address else ():
            name = self.image.string(self.image.pointer(protocol + self.size))
            if name != self.symbol(slot, '__OBJC_PROTOCOL_$_'):
                name += ' (another symbol)'
            yield name, f"<{', '.join(name for name, _ in self.protocols(self.image.pointer(protocol + 2 * self.size)))}>"

    def class_data(self, address):
        """Superclass by its symbol, and name, methods, protocols, instance variables and properties."""
        (_, _), (superclass, _), _, _, (_, data) = self.fields(address, 5)
        (_, name), (_, methods), (_, protocols), (_, variables), _, (_, properties) = self.fields(
            data + (24 if self.image.wide else 16), 6)
        return superclass, self.image.string(name), methods, protocols, variables, properties

    def class_entry(self, address):
        superclass, name, methods, protocols, variables, properties = self.class_data(address)
        entry = Entry(f"class {name} : {self.symbol(superclass, '_OBJC_CLASS_$_')}")
        self.methods(entry, '-', methods, name)
        for _, variable, encoding in self.listed(variables, 3):
            entry.lines['ivar', self.image.string(variable)] = self.image.string(encoding)
        self.properties(entry, properties)
        for protocol, adopted in self.protocols(protocols):
            entry.lines['protocol', protocol] = adopted
        _, _, methods, protocols, _, _ = self.class_data(self.image.pointer(address))
        self.methods(entry, '+', methods, name)
        return entry

    def category_entry(self, address):
        (_, name), (owner, _), (_, instance), (_, of_class), (_, protocols), (_, properties) = self.fields(address, 6)
        name, owner = self.image.string(name), self.symbol(owner, '_OBJC_CLASS_$_')
        entry = Entry(f'category {owner} ({name})')
        self.methods(entry, '-', instance, f'{owner}({name})')
        self.methods(entry, '+', of_class, f'{owner}({name})')
        self.properties(entry, properties)
        for protocol, adopted in self.protocols(protocols):
            entry.lines['protocol', protocol] = adopted
        return entry


def of(image):
    """The image's entries by heading."""
    reader = Reader(image)
    entries = [reader.class_entry(image.pointer(at)) for at in image.pointers(image.section('__objc_classlist'))]
    entries += [reader.category_entry(image.pointer(at)) for at in image.pointers(image.section('__objc_catlist'))]
    return {entry.heading: entry for entry in entries}

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
