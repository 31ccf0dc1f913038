"""signature_test.py FOLDER: what `make ios` built is identified and signed as devices take it, read here after
the format and not with the signer's code. Works in FOLDER; signs copies of what is in build/ios."""
import collections
import hashlib
import os
import shutil
import struct
import subprocess
import sys

import image

WORK = os.path.abspath(sys.argv[1])
IDENTIFIER = 'com.norvane.libveltro'
os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), '../..'))
SLICES = ('armv7', 'armv7s', 'arm64', 'x86_64')
HASHES = {0: ('sha1', 20, 1), 0x1000: ('sha256', 32, 2)}  # by slot: name, bytes, the format's number
PAGE = 4096
failures = []

Directory = collections.namedtuple(
    'Directory', 'version flags hashes name special_count count limit hash_size kind platform page_bits spare')


def expect(condition, text):
    if not condition:
        failures.append(text)


def library(name):
    return f'build/ios/{name}/libveltro.dylib'


def signature(binary):
    """Where the signature is, and its blobs by slot, from their magic on."""
    at, = binary.commands[0x1d]
    offset, size = struct.unpack_from('<II', binary.data, at + 8)
    data = binary.data[offset:offset + size]
    magic, length, count = struct.unpack_from('>III', data)
    expect((magic, length) == (0xfade0cc0, size), f'{binary.path}: no signature of {size} bytes')
    blobs = {}
    for i in range(count):
        slot, start = struct.unpack_from('>II', data, 12 + 8 * i)
        length, = struct.unpack_from('>I', data, start + 4)
        expect(start + length <= size, f'{binary.path}: slot {slot:#x} ends behind the signature')
        blobs[slot] = data[start:start + length]
    return offset, size, blobs


def wrong_pages(binary, limit, directory):
    """The pages whose hash is another than the directory says."""
    fields = Directory(*struct.unpack_from('>7I4BI', directory, 8))
    name = {number: name for name, _, number in HASHES.values()}[fields.kind]
    pages = [binary.data[start:min(start + PAGE, limit)] for start in range(0, limit, PAGE)]
    stored = [directory[fields.hashes + i * fields.hash_size:][:fields.hash_size] for i in range(fields.count)]
    return [i for i in range(max(len(pages), len(stored)))
            if pages[i:i + 1] == [] or stored[i:i + 1] != [hashlib.new(name, pages[i]).digest()]]


def check_directory(binary, limit, slot, blobs):
    algorithm, size, number = HASHES[slot]
    directory = blobs[slot]
    what = f'{binary.path}: {algorithm}'
    magic, length = struct.unpack_from('>II', directory)
    expect((magic, length) == (0xfade0c02, len(directory)), f'{what}: no code directory')
    fields = Directory(*struct.unpack_from('>7I4BI', directory, 8))
    special = 2 * size
    name_end = 44 + len(IDENTIFIER) + 1
    expect(fields == Directory(0x20001, 2, name_end + special, 44, 2, -(-limit // PAGE), limit, size, number, 0, 12, 0),
           f'{what}: {fields}')
    expect(directory[44:name_end] == IDENTIFIER.encode() + b'\0', f'{what}: another identifier')
    requirements = hashlib.new(algorithm, blobs[2]).digest()
    expect(directory[name_end:name_end + special] == requirements + bytes(size), f'{what}: other special slots')
    expect(len(directory) == fields.hashes + fields.count * size, f'{what}: of {len(directory)} bytes')
    wrong = wrong_pages(binary, limit, directory)
    expect(not wrong, f'{what}: wrong pages: {wrong}')


def check_signature(binary):
    offset, size, blobs = signature(binary)
    what = binary.path
    expect(offset % 16 == 0, f'{what}: signature at {offset}')
    expect(offset + size == len(binary.data), f'{what}: {len(binary.data) - offset - size} bytes behind the signature')
    at = binary.commands[0x19 if binary.wide else 0x1][-1]
    segment = struct.unpack_from('<16sQQQQ' if binary.wide else '<16sIIII', binary.data, at + 8)
    expect(segment[0].rstrip(b'\0') == b'__LINKEDIT', f'{what}: ends in {segment[0]}')
    expect(segment[3] + segment[4] == len(binary.data) and segment[2] >= segment[4],
           f'{what}: __LINKEDIT ends at {segment[3] + segment[4]}')
    expect(list(blobs) == [0, 2, 0x1000, 0x10000], f'{what}: slots {", ".join(map(hex, blobs))}')
    expect(blobs[2] == bytes.fromhex('fade0c01 0000000c 00000000'), f'{what}: other requirements')
    expect(blobs[0x10000] == bytes.fromhex('fade0b01 00000008'), f'{what}: another CMS wrapper')
    for slot in HASHES:
        check_directory(binary, offset, slot, blobs)


def check_one_changed_byte(binary):
    """That the check of the pages is one: a byte that changes shows in its page and nowhere else."""
    offset, _, blobs = signature(binary)
    for place in (100, offset // 2, offset - 1):
        changed = bytearray(binary.data)
        changed[place] ^= 1
        path = f'{WORK}/changed'
        with open(path, 'wb') as file:
            file.write(changed)
        for slot in HASHES:
            wrong = wrong_pages(image.Image(path), offset, blobs[slot])
            expect(wrong == [place // PAGE], f'{binary.path}: byte {place} changed: wrong pages: {wrong}')


def identity(binary):
    at, = binary.commands[0x1b]
    return binary.data[at + 8:at + 24]


def signed(name, data):
    path = f'{WORK}/{name}'
    with open(path, 'wb') as file:
        file.write(data)
    return path, subprocess.run(['python3', 'platform/ios/sign.py', path, IDENTIFIER], capture_output=True, text=True,
                                check=False)


def check_identities():
    found = {name: identity(image.Image(library(name))) for name in SLICES}
    for name, value in found.items():
        expect(value[6] >> 4 == 5 and value[8] >> 6 == 2, f'{name}: the UUID {value.hex()} is not name-based')
    expect(len(set(found.values())) == len(SLICES), 'slices share a UUID')
    for name in SLICES:
        binary = image.Image(library(name))
        path, result = signed('again', binary.data)
        expect(result.returncode == 0 and image.Image(path).data == binary.data, f'{name}: signing again changes it')
        strings = binary.section('__cstring')
        changed = bytearray(binary.data)
        changed[strings.offset] ^= 1
        path, result = signed('other', changed)
        expect(result.returncode == 0 and identity(image.Image(path)) != found[name],
               f'{name}: another string, and the same UUID')
        check_signature(image.Image(path))


def cut(data):
    """A file whose last segment starts behind its end, and that has no signature."""
    binary = image.Image(library('armv7'))
    data = bytearray(data)
    struct.pack_into('<I', data, binary.commands[0x1d][0], 0x26)
    return bytes(data[:binary.word(binary.commands[0x1][-1] + 32) - 100])


def check_refusals():
    whole = image.Image(library('armv7')).data
    for what, data, message in (
            ('no image', b'#!/bin/sh\n', 'not a thin Mach-O file'),
            ('nothing', b'', 'not a thin Mach-O file'),
            ('a joined library', image_bytes('build/ios/libveltro.dylib'), 'not a thin Mach-O file'),
            ('a longer file', whole + b'\0', 'its signature is not the last thing in it'),
            ('a shorter file', whole[:-1], 'its signature is not the last thing in it'),
            ('a file without its end', cut(whole), 'ends before __LINKEDIT'),
            ('a file truncated in its commands', whole[:200], 'ends before offset')):
        path, result = signed('refused', data)
        expect(result.returncode == 1 and result.stderr.startswith(f'{path}: {message}')
               and result.stderr.count('\n') == 1, f'{what}: {result.returncode}, {result.stderr}')
        expect(image_bytes(path) == data, f'{what}: was changed')


def image_bytes(path):
    with open(path, 'rb') as file:
        return file.read()


shutil.rmtree(WORK, ignore_errors=True)
os.makedirs(WORK)
for slice_name in SLICES:
    check_signature(image.Image(library(slice_name)))
    check_one_changed_byte(image.Image(library(slice_name)))
check_identities()
check_refusals()
shutil.rmtree(WORK)
print('\n'.join(failures))
sys.exit(bool(failures))
