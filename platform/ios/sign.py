"""sign.py IMAGE IDENTIFIER: gives a linked image its UUID, made of its contents, and an ad-hoc signature, in
place of those that it has. After the formats of the kernel's loader.h and cs_blobs.h: both hash kinds,
no entitlements, no certificates. The kernels of iOS 6 to 8 know only SHA-1, and take the first
code directory; later ones look for the strongest. Signing again gives the same bytes."""
import hashlib
import struct
import sys
import uuid

import macho

PAGE_BITS = 12
PAGE = 1 << PAGE_BITS
CPU_ARM64 = 0x100000c

SUPER_BLOB, CODE_DIRECTORY, REQUIREMENTS, CMS_WRAPPER = 0xfade0cc0, 0xfade0c02, 0xfade0c01, 0xfade0b01
SLOT_CODE_DIRECTORY, SLOT_REQUIREMENTS, SLOT_ALTERNATE, SLOT_CMS = 0, 2, 0x1000, 0x10000
VERSION, AD_HOC = 0x20001, 2
HASHES = {SLOT_CODE_DIRECTORY: (1, hashlib.sha1), SLOT_ALTERNATE: (2, hashlib.sha256)}


def blob(magic, content):
    return struct.pack('>II', magic, 8 + len(content)) + content


def code_directory(code, identifier, requirements, kind, algorithm):
    """The hashes of what the signature covers, page by page."""
    def digest(data):
        return algorithm(data).digest()

    size = algorithm().digest_size
    special = digest(requirements) + bytes(size)  # slots -2, and -1 for an Info.plist that there is not
    pages = [digest(code[start:start + PAGE]) for start in range(0, len(code), PAGE)]
    name = identifier.encode() + b'\0'
    name_at = 44
    hashes_at = name_at + len(name) + len(special)
    return blob(CODE_DIRECTORY, struct.pack(
        '>7I4BI', VERSION, AD_HOC, hashes_at, name_at, len(special) // size, len(pages), len(code), size, kind, 0,
        PAGE_BITS, 0) + name + special + b''.join(pages))


def signature(code, identifier):
    requirements = blob(REQUIREMENTS, struct.pack('>I', 0))
    blobs = {SLOT_REQUIREMENTS: requirements, SLOT_CMS: blob(CMS_WRAPPER, b'')}
    for slot, (kind, algorithm) in HASHES.items():
        blobs[slot] = code_directory(code, identifier, requirements, kind, algorithm)
    index, content = b'', b''
    start = 12 + 8 * len(blobs)
    for slot in sorted(blobs):
        index += struct.pack('>II', slot, start + len(content))
        content += blobs[slot]
    return blob(SUPER_BLOB, struct.pack('>I', len(blobs)) + index + content)


def remove_signature(image):
    for _, at in list(image.commands(macho.LC_CODE_SIGNATURE)):
        offset, size = image.unpack('II', at + 8)
        if offset + size != len(image.data):
            raise macho.Malformed('its signature is not the last thing in it')
        del image.data[offset:]
        image.remove_command(at)


def resize_link_edit(image):
    """Has the last segment reach to the end of the file."""
    segments = list(image.segments())
    if not segments or segments[-1].name != '__LINKEDIT':
        raise macho.Malformed('__LINKEDIT is not its last segment')
    segment = segments[-1]
    size = len(image.data) - segment.offset
    if size < 0:
        raise macho.Malformed('ends before __LINKEDIT')
    page = 0x4000 if image.word(4) == CPU_ARM64 else 0x1000
    memory = -(-size // page) * page
    form, step = ('<Q', 8) if image.wide else ('<I', 4)
    struct.pack_into(form, image.data, segment.at + 24 + step, memory)
    struct.pack_into(form, image.data, segment.at + 24 + 3 * step, size)


def identify(image):
    """Sets a name-based UUID, whose name is everything else in the image."""
    if not list(image.commands(macho.LC_UUID)):
        image.append_command(struct.pack('<II16x', macho.LC_UUID, 24))
    at = image.command(macho.LC_UUID) + 8
    image.data[at:at + 16] = bytes(16)
    digest = hashlib.sha1(image.data).digest()[:16]
    image.data[at:at + 16] = uuid.UUID(bytes=digest, version=5).bytes


def sign(image, identifier):
    remove_signature(image)
    image.data += bytes(-len(image.data) % 16)
    resize_link_edit(image)
    identify(image)
    code_size = len(image.data)
    size = len(signature(image.data, identifier))
    image.append_command(struct.pack('<IIII', macho.LC_CODE_SIGNATURE, 16, code_size, size))
    # The load commands are signed as well: they have to be complete before.
    image.data += bytes(size)
    resize_link_edit(image)
    image.data[code_size:] = signature(image.data[:code_size], identifier)


def main():
    path, identifier = sys.argv[1:]
    try:
        with open(path, 'r+b') as file:
            image = macho.MachO(file.read())
            sign(image, identifier)
            file.seek(0)
            file.write(image.data)
            file.truncate()
    except macho.Malformed as error:
        sys.exit(f'{path}: {error}')


if __name__ == '__main__':
    main()
