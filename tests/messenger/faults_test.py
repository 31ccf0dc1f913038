"""The messenger among clients that break off, stall, send anything, or are many."""
import contextlib
import os
import random
import resource
import signal
import socket
import stat
import struct
import subprocess
import threading
import time

from client import (ARCHIVE_LIMIT, BUILD, CHATS, ECHO, MARK_READ, RAISED_IN_READING, READ, SEND, Case, Messenger,
                    all_closed, archive, binary, die_with_parent, main, plistlib, reply, request, shutil, tempfile,
                    unarchive)

UID = plistlib.UID


def reset(connection):
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack('ii', 1, 0))
    connection.close()


class Clients(Case):
    options = ('--stall-time', '600')
    environment = RAISED_IN_READING

    def still_serves(self):
        self.assertEqual(self.messenger.ask(ECHO, b'still there'), b'still there')

    def test_announcements_beyond_the_bound_are_served_at_once(self):
        for identifier, bound in ((ECHO, 64 << 20), (SEND, ARCHIVE_LIMIT), (READ, ARCHIVE_LIMIT), (99, ARCHIVE_LIMIT)):
            for length in (bound + 1, (1 << 32) + 5, 1 << 40, 1 << 63, (1 << 64) - 1):
                with self.messenger.connect() as connection:
                    connection.sendall(bytes([identifier]) + struct.pack('<Q', length))
                    self.assertEqual(reply(connection), b'', length)

    def test_a_payload_sent_in_vain_does_not_cost_the_reply(self):
        with self.messenger.connect() as connection:
            connection.sendall(request(SEND, bytes(8 << 20)))
            self.assertEqual(reply(connection), b'')

    def test_bytes_after_the_payload_are_no_second_request(self):
        with self.messenger.connect() as connection:
            connection.sendall(request(ECHO, b'one') + request(ECHO, b'two') + bytes(1 << 20))
            self.assertEqual(reply(connection), b'one')
            self.assertEqual(connection.recv(1), b'')

    def test_a_request_that_ends_early_is_served_with_nothing(self):
        whole = request(ECHO, b'payload')
        for length in range(len(whole)):
            with self.messenger.connect() as connection:
                connection.sendall(whole[:length])
                connection.shutdown(socket.SHUT_WR)
                self.assertEqual(reply(connection), b'', length)

    def test_one_byte_at_a_time(self):
        with self.messenger.connect() as connection:
            connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            for byte in request(ECHO, b'drop by drop'):
                connection.sendall(bytes([byte]))
            self.assertEqual(reply(connection), b'drop by drop')

    def test_clients_that_break_off(self):
        whole = request(ECHO, bytes(1 << 20))
        for length in (0, 5, 9, 5000, len(whole)):
            for leave in (socket.socket.close, reset):
                connection = self.messenger.connect()
                connection.sendall(whole[:length])
                leave(connection)
        self.still_serves()

    def test_a_client_that_does_not_read_holds_nobody_up(self):
        with self.messenger.connect() as connection:
            connection.sendall(request(ECHO, bytes(32 << 20)))
            self.still_serves()
            self.assertEqual(len(reply(connection)), 32 << 20)

    def test_a_thousand_connections_at_once(self):
        with all_closed([self.messenger.connect() for _ in range(1000)]) as connections:
            for number, connection in enumerate(connections):
                connection.sendall(request(ECHO, b'client %d' % number))
            for number, connection in reversed(list(enumerate(connections))):
                self.assertEqual(reply(connection), b'client %d' % number)

    def test_a_thousand_connections_in_the_middle_of_a_save(self):
        with all_closed([self.messenger.connect() for _ in range(1000)]) as connections:
            for half in range(2):
                for number, connection in enumerate(connections):
                    whole = request(SEND, archive(user=f'user {number % 10}', text=str(number)))
                    connection.sendall(whole[:100] if half == 0 else whole[100:])
            numbers = {unarchive(reply(connection))['Number'] for connection in connections}
        self.assertEqual(numbers, set(range(1, 1001)))
        messages = unarchive(self.messenger.ask(READ, binary({'UserIdentifier': 'user 7'})))
        self.assertEqual(sorted(int(each['Content']) for each in messages), list(range(7, 1000, 10)))

    def test_random_bytes(self):
        generator = random.Random(20261)
        for _ in range(1000):
            with self.messenger.connect() as connection:
                noise = generator.randbytes(generator.randrange(300))
                if generator.random() < 0.7:
                    noise = request(generator.randrange(-1, 7), noise)
                connection.sendall(noise)
                connection.shutdown(socket.SHUT_WR)
                reply(connection)
        self.still_serves()

    def test_no_descriptor_is_left_behind(self):
        opened = self.messenger.descriptors()
        for _ in range(50):
            self.still_serves()
            reset(self.messenger.connect())
        while self.messenger.descriptors() > opened:
            time.sleep(0.01)


class Hostile(Case):
    environment = RAISED_IN_READING

    def test_damaged_archives_and_arguments(self):
        generator = random.Random(20262)
        arguments = binary({'UserIdentifier': 'anna', 'Last': 3})
        for identifier, whole in ((SEND, archive()), (READ, arguments), (MARK_READ, arguments)):
            for _ in range(500):
                damaged = bytearray(whole)
                for _ in range(generator.randint(1, 4)):
                    damaged[generator.randrange(len(damaged))] = generator.randrange(256)
                self.messenger.ask(identifier, bytes(damaged))
        self.assertEqual(self.messenger.ask(ECHO, b'still there'), b'still there')

    def test_hostile_property_lists(self):
        def listing(objects, count=None, top=0, offset_width=1, reference_width=1):
            data, offsets = b'bplist00', []
            for each in objects:
                offsets.append(len(data))
                data += each
            table = b''.join(each.to_bytes(offset_width, 'big') for each in offsets)
            return data + table + struct.pack('>6xBBQQQ', offset_width, reference_width,
                                              len(objects) if count is None else count, top, len(data))

        ring = listing([b'\xa1\x00'])
        deep = listing([b'\xa1' + bytes([number + 1]) for number in range(100)] + [b'\x08'])
        fan = listing([b'\xa2' + bytes([number + 1] * 2) for number in range(60)] + [b'\x08'])
        dictionary_ring = listing([b'\xd1\x01\x00', b'\x51a'])
        long_string = listing([b'\x5f\x13' + b'\x7f' * 8 + b'short'])
        long_array = listing([b'\xaf\x13' + b'\x7f' * 8])
        many = listing([b'\x08'], count=1 << 60)
        no_table = listing([b'\x08'])[:-9] + b'\xff' * 8
        for payload in (ring, deep, fan, dictionary_ring, long_string, long_array, many, no_table):
            for identifier in (READ, SEND, MARK_READ):
                self.assertEqual(self.messenger.ask(identifier, payload), b'')
        self.assertEqual(self.messenger.ask(ECHO, b'still there'), b'still there')

    def test_archives_of_other_things(self):
        def keyed(*objects):
            return binary({'$archiver': 'NSKeyedArchiver', '$version': 100000, '$top': {'root': UID(1)},
                           '$objects': ['$null', *objects]})

        described = lambda name, *more: {'$classname': name, '$classes': [name, *more, 'NSObject']}
        record = described('ZLTWhatsAppMessage')
        fields = {'Outgoing': UID(0), 'Timestamp': UID(0), 'UserIdentifier': UID(3), '$class': UID(2)}
        for payload in (
                keyed({'NS.objects': [], '$class': UID(2)}, described('NSArray')),
                keyed({'NS.string': 'anna', '$class': UID(2)}, described('NSMutableString', 'NSString')),
                keyed({**fields, 'Content': UID(1)}, record, 'anna'),
                keyed({**fields, 'Content': UID(4)}, record, 'anna', {**fields, 'Content': UID(1)}),
                keyed({**fields, 'Content': UID(4)}, record, 'anna', {'$class': UID(5)}, described('NSTask')),
                keyed({**fields, 'Content': UID(4)}, record, 'anna', {'$class': UID(5)},
                      {'$classname': 'Unknown', '$classes': ['Unknown', 'NSTask']}),
                keyed({**fields, 'Content': UID(4)}, record, 'anna', {'NS.string': UID(1), '$class': UID(5)},
                      described('NSMutableString', 'NSString')),
                keyed({**fields, 'Content': UID(4)}, record, 'anna', {'NS.string': 7, '$class': UID(5)},
                      described('NSString')),
                keyed({**fields, 'Content': UID(77)}, record, 'anna'),
                keyed({**fields, 'Content': 7}, record, 'anna'),
                keyed({**fields, 'Content': UID(3), '$class': UID(1 << 31)}, record, 'anna'),
                keyed({**fields, 'Content': UID(3), '$class': 'ZLTWhatsAppMessage'}, record, 'anna'),
                keyed({**fields, 'Content': UID(3)}, record, 'anna', *['more'] * 20),
                binary({'$objects': 'none', '$top': 'none'}), binary({'$top': {'root': UID(1)}}), binary([])):
            self.assertEqual(self.messenger.ask(SEND, payload), b'', plistlib.loads(payload))
        self.assertEqual(unarchive(self.messenger.ask(CHATS)), [])
        whole = keyed({**fields, 'Content': UID(4)}, record, 'anna', {'NS.string': 'kept', '$class': UID(5)},
                      described('NSMutableString', 'NSString'))
        self.assertEqual(unarchive(self.messenger.ask(SEND, whole)), {'Number': 1})


class FewDescriptors(Case):
    def test_clients_wait_until_there_is_a_descriptor(self):
        resource.prlimit(self.messenger.process.pid, resource.RLIMIT_NOFILE, (24, 24))
        with all_closed([self.messenger.connect() for _ in range(60)]) as connections:
            for number, connection in enumerate(connections):
                connection.sendall(request(ECHO, b'%d' % number))
            for number, connection in enumerate(connections):
                self.assertEqual(reply(connection), b'%d' % number)
                connection.close()


class Stalls(Case):
    options = ('--stall-time', '0.2')

    def assert_dropped(self, connection):
        try:
            while connection.recv(1 << 20):
                pass
        except ConnectionResetError:
            pass

    def test_clients_that_stall_are_dropped(self):
        whole = request(SEND, archive())
        with all_closed([self.messenger.connect() for _ in range(4)]) as connections:
            for length, connection in zip((0, 1, 9, 50), connections):
                connection.sendall(whole[:length])
            for connection in connections:
                self.assert_dropped(connection)
        self.options = ()  # On a slow machine this request would stall as well.
        self.restart()
        self.assertEqual(unarchive(self.messenger.ask(CHATS)), [])

    def test_a_client_that_does_not_take_its_reply_is_dropped(self):
        opened = self.messenger.descriptors()
        with self.messenger.connect() as connection:
            with contextlib.suppress(ConnectionError):  # On a slow machine the request stalls already.
                connection.sendall(request(ECHO, bytes(64 << 20)))
            while self.messenger.descriptors() > opened:
                time.sleep(0.01)
            with self.assertRaises((EOFError, ConnectionError)):
                reply(connection)


class End(Case):
    options = ('--stall-time', '600')

    def refused(self):
        try:
            with self.messenger.connect():
                return False
        except ConnectionResetError:  # Still queued when the listener closed: the next is refused.
            return False
        except ConnectionRefusedError:
            return True

    def test_what_has_begun_is_finished(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            whole = request(SEND, archive(text=signal.Signals(number).name))
            with self.messenger.connect() as connection, self.messenger.connect():
                connection.sendall(whole[:50])
                # The messenger takes clients in order: this one is served, so the first was taken.
                self.messenger.ask(ECHO, b'x')
                self.messenger.process.send_signal(number)
                while not self.refused():
                    pass
                connection.sendall(whole[50:])
                self.assertIn('Number', unarchive(reply(connection)))
            self.assertEqual(self.messenger.process.wait(60), 0)
            self.assertFalse(os.path.exists(self.messenger.port_file))
            self.restart()
        messages = unarchive(self.messenger.ask(READ, binary({'UserIdentifier': 'anna'})))
        self.assertEqual([each['Content'] for each in messages], ['SIGTERM', 'SIGINT'])

    def test_idle_clients_do_not_hold_it_up(self):
        with all_closed([self.messenger.connect() for _ in range(10)]):
            self.assertEqual(self.messenger.end(), 0)

    def test_the_port_is_published_while_it_serves(self):
        with open(self.messenger.port_file, 'rb') as file:
            self.assertEqual(plistlib.load(file),
                             {'Port': self.messenger.port, 'ProcessIdentifier': self.messenger.process.pid})
        self.assertEqual(self.messenger.end(), 0)
        self.assertFalse(os.path.exists(self.messenger.port_file))

    def test_after_a_crash_the_next_one_publishes_its_own(self):
        self.restart(signal.SIGKILL)
        with open(self.messenger.port_file, 'rb') as file:
            self.assertEqual(plistlib.load(file)['ProcessIdentifier'], self.messenger.process.pid)


class Start(Case):
    def run_second(self, *options, root=None):
        return subprocess.run([os.path.join(BUILD, 'bin/WhatsApp'), *options], capture_output=True, text=True,
                              env={**os.environ, 'VELTRO_ROOT': root or self.messenger.root}, check=False,
                              preexec_fn=die_with_parent, timeout=60)

    def test_one_messenger_a_root(self):
        with open(self.messenger.port_file, 'rb') as file:
            published = file.read()
        second = self.run_second()
        self.assertEqual((second.returncode, second.stdout), (1, ''))
        self.assertRegex(second.stderr, r'\AWhatsApp: another messenger .*\n\Z')
        with open(self.messenger.port_file, 'rb') as file:
            self.assertEqual(file.read(), published)

    def test_a_port_that_is_taken(self):
        root = tempfile.mkdtemp(prefix='veltro-test-')
        self.addCleanup(shutil.rmtree, root)
        second = self.run_second('--port', str(self.messenger.port), root=root)
        self.assertEqual(second.returncode, 1)
        self.assertRegex(second.stderr, r'\AWhatsApp: bind: .*\n\Z')
        self.assertFalse(os.path.exists(os.path.join(root, os.path.relpath(self.messenger.port_file,
                                                                           self.messenger.root))))

    def test_a_port_of_ones_choice(self):
        port = self.messenger.port
        self.messenger.end()
        self.messenger = Messenger('--port', str(port), root=self.messenger.root)
        self.assertEqual(self.messenger.port, port)

    def test_conversations_that_cannot_be_opened(self):
        self.messenger.end()
        with open(os.path.join(self.messenger.root, 'var/mobile/Library/WhatsApp/conversations.sqlite'), 'wb') as file:
            file.write(b'no database at all' * 100)
        second = self.run_second()
        self.assertEqual(second.returncode, 1)
        self.assertRegex(second.stderr, r'\AWhatsApp: cannot open the conversations: .*\n\Z')

    def test_arguments_that_make_no_sense(self):
        for options in (('--port',), ('--port', 'x'), ('--port', '65536'), ('--port', '-1'), ('--stall-time', '0'),
                        ('--stall-time', 'nan'), ('--stall-time', '1e9'), ('extra',), ('--help', '')):
            second = self.run_second(*options)
            self.assertEqual(second.returncode, 2, options)
            self.assertRegex(second.stderr, r'\AWhatsApp: .*usage: .*\n\Z')

    def test_others_cannot_read_the_conversations(self):
        folder = os.path.join(self.messenger.root, 'var/mobile/Library/WhatsApp')
        self.assertEqual(stat.S_IMODE(os.stat(folder).st_mode), 0o700)
        for name in os.listdir(folder):
            self.assertEqual(stat.S_IMODE(os.stat(os.path.join(folder, name)).st_mode), 0o600, name)


class Kill(Case):
    def test_no_acknowledged_message_is_lost(self):
        acknowledged = {}
        for life in range(4):
            enough = threading.Event()

            def save(worker, life=life, enough=enough):
                number = 0
                try:
                    while True:
                        text = f'life {life}, worker {worker}, message {number}'
                        kept = self.messenger.ask(SEND, archive(user=f'worker {worker}', text=text, time=number))
                        acknowledged[unarchive(kept)['Number']] = text
                        number += 1
                        if number == 15:
                            enough.set()
                except (OSError, EOFError):
                    enough.set()

            workers = [threading.Thread(target=save, args=(worker,)) for worker in range(8)]
            for worker in workers:
                worker.start()
            enough.wait(60)
            self.messenger.process.kill()
            for worker in workers:
                worker.join()
            self.restart(signal.SIGKILL)
            self.assertGreaterEqual(len(acknowledged), 15 * (life + 1))

            kept = set()
            for worker in range(8):
                kept |= {each['Content'] for each in
                         unarchive(self.messenger.ask(READ, binary({'UserIdentifier': f'worker {worker}'})))}
            self.assertEqual(set(acknowledged.values()) - kept, set())


main()
