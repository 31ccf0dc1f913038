"""What the messenger's tests share: the messenger as a process on a device root of its own, a bare
client of the wire, and keyed archives read and written without Foundation."""
import contextlib
import ctypes
import datetime
import os
import plistlib
import resource
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import unittest

BUILD = os.environ.get('VELTRO_BUILD_DIR', 'build')
CHATS, READ, SEND, MARK_READ, ECHO = 1, 2, 3, 4, 5
EPOCH = 978307200.0
# What LeakSanitizer is to pass over where a request makes Foundation raise.
RAISED_IN_READING = {'LSAN_OPTIONS': 'print_suppressions=0:suppressions='
                     + os.path.join(os.path.dirname(os.path.abspath(__file__)), 'raised.supp')}
ARCHIVE_LIMIT = 1 << 20

# The tests hold more connections than some shells allow.
resource.setrlimit(resource.RLIMIT_NOFILE, (resource.getrlimit(resource.RLIMIT_NOFILE)[1],) * 2)


def die_with_parent():
    ctypes.CDLL(None).prctl(1, signal.SIGKILL)


class Messenger:
    def __init__(self, *options, root=None, environment=None):
        self.root = root or tempfile.mkdtemp(prefix='veltro-test-')
        self.process = subprocess.Popen(
            [os.path.join(BUILD, 'bin/WhatsApp'), *options], stdout=subprocess.PIPE, text=True,
            env={**os.environ, 'VELTRO_ROOT': self.root, **(environment or {})}, preexec_fn=die_with_parent)
        line = self.process.stdout.readline()
        self.port = int(line.split()[-1]) if line else None

    @property
    def port_file(self):
        return os.path.join(self.root, 'var/mobile/Library/Preferences/com.norvane.Veltro.Server.plist')

    def end(self, number=signal.SIGTERM):
        self.process.send_signal(number)
        status = self.process.wait(60)
        self.process.stdout.close()
        return status

    def descriptors(self):
        return len(os.listdir(f'/proc/{self.process.pid}/fd'))

    def connect(self):
        connection = socket.create_connection(('127.0.0.1', self.port))
        connection.settimeout(60)
        return connection

    def ask(self, identifier, payload=b''):
        with self.connect() as connection:
            connection.sendall(request(identifier, payload))
            return reply(connection)


class Case(unittest.TestCase):
    """A test with a messenger of its own."""

    options = ()
    environment = {}

    def setUp(self):
        self.messenger = Messenger(*self.options, environment=self.environment)
        self.addCleanup(shutil.rmtree, self.messenger.root, True)
        self.addCleanup(self.end_messenger)

    def end_messenger(self):
        if self.messenger.process.returncode is None:
            self.assertEqual(self.messenger.end(), 0)

    def restart(self, number=signal.SIGTERM):
        root = self.messenger.root
        self.messenger.end(number)
        self.messenger = Messenger(*self.options, root=root, environment=self.environment)


def request(identifier, payload=b''):
    return bytes([identifier & 0xFF]) + struct.pack('<Q', len(payload)) + payload


def exactly(connection, count):
    got = bytearray()
    while len(got) < count:
        some = connection.recv(min(count - len(got), 1 << 20))
        if not some:
            raise EOFError(f'{len(got)} of {count} bytes')
        got += some
    return bytes(got)


def reply(connection):
    return exactly(connection, struct.unpack('<Q', exactly(connection, 8))[0])


def binary(value):
    return plistlib.dumps(value, fmt=plistlib.FMT_BINARY)


def archive(user='anna', text='hello', outgoing=True, time=700000000.25, **other):
    """A keyed archive of one message in the form that the device writes."""
    uid = plistlib.UID
    objects = ['$null', {'Content': uid(2), 'Outgoing': uid(3), 'Timestamp': uid(4) if time is not None else uid(0),
                         'UserIdentifier': uid(5), '$class': uid(6)},
               text, outgoing, {'NS.time': time, '$class': uid(7)}, user,
               {'$classname': 'ZLTWhatsAppMessage', '$classes': ['ZLTWhatsAppMessage', 'NSObject']},
               {'$classname': 'NSDate', '$classes': ['NSDate', 'NSObject']}]
    if time is None:
        del objects[4]['NS.time']
    return binary({'$archiver': 'NSKeyedArchiver', '$version': 100000, '$top': {'root': uid(1)},
                   '$objects': objects, **other})


def unarchive(data):
    """The object in a keyed archive, of lists, dictionaries and plain values."""
    listing = plistlib.loads(data)
    objects = listing['$objects']

    def resolve(value):
        if not isinstance(value, plistlib.UID):
            return value
        value = objects[value.data]
        if value == '$null':
            return None
        if isinstance(value, datetime.datetime):
            return value.replace(tzinfo=datetime.timezone.utc).timestamp() - EPOCH
        if not isinstance(value, dict):
            return value
        if 'NS.time' in value:
            return value['NS.time']
        if 'NS.keys' in value:
            return dict(zip(map(resolve, value['NS.keys']), map(resolve, value['NS.objects'])))
        if 'NS.objects' in value:
            return [resolve(each) for each in value['NS.objects']]
        name = objects[value['$class'].data]['$classname']
        return {'class': name, **{key: resolve(each) for key, each in value.items() if key != '$class'}}

    return resolve(listing['$top']['root'])


def message(user='anna', text='hello', outgoing=True, time=700000000.25):
    return {'class': 'ZLTWhatsAppMessage', 'Content': text, 'Outgoing': outgoing, 'Timestamp': time,
            'UserIdentifier': user}


@contextlib.contextmanager
def all_closed(connections):
    try:
        yield connections
    finally:
        for connection in connections:
            connection.close()


def main():
    sys.exit(unittest.main())
