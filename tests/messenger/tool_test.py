"""veltro send and veltro chat, against the messenger and against servers that behave otherwise."""
import fcntl
import json
import os
import shutil
import signal
import socket
import subprocess
import tempfile
import threading
import unittest

from client import (BUILD, CHATS, SEND, Case, archive, binary, die_with_parent, exactly, main, struct)


def veltro(root, *arguments, stdin=b'', stdout=subprocess.PIPE, zone='UTC'):
    return subprocess.run([os.path.join(BUILD, 'bin/veltro'), *arguments], input=stdin, stdout=stdout,
                          stderr=subprocess.PIPE, env={**os.environ, 'VELTRO_ROOT': root, 'TZ': zone}, check=False,
                          timeout=120, preexec_fn=die_with_parent)


def has_ended(process):
    """Whether it runs no more, be it that nobody has waited for it yet."""
    try:
        with open(f'/proc/{process}/stat') as status:
            return status.read().rpartition(') ')[2].startswith('Z')
    except (FileNotFoundError, ProcessLookupError):
        return True


class Tool(Case):
    def veltro(self, *arguments, **how):
        return veltro(self.messenger.root, *arguments, **how)

    def output(self, *arguments, **how):
        ended = self.veltro(*arguments, **how)
        self.assertEqual(ended.returncode, 0, ended.stderr)
        return ended.stdout

    def records(self, *arguments):
        return [json.loads(line) for line in self.output('chat', *arguments, '--json').decode().splitlines()]

    def assert_usage(self, *arguments):
        ended = self.veltro(*arguments)
        self.assertEqual((ended.returncode, ended.stdout), (2, b''), arguments)
        self.assertRegex(ended.stderr, rb'\Aveltro: [^\n]+\n\Z')

    def assert_no(self, ended, why):
        self.assertEqual(ended.returncode, 1)
        self.assertRegex(ended.stderr.splitlines()[-1], rb'\Aveltro: ' + why)


class Send(Tool):
    def test_the_payload_from_text_file_and_standard_input(self):
        payload = bytes(range(256)) * 300
        path = os.path.join(self.messenger.root, 'payload')
        with open(path, 'wb') as file:
            file.write(payload)
        self.assertEqual(self.output('send', '5', '--text', 'grüße'), 'grüße'.encode())
        self.assertEqual(self.output('send', '5', '--file', path), payload)
        self.assertEqual(self.output('send', '5', stdin=payload), payload)

    def test_the_reply_as_it_comes(self):
        self.messenger.ask(SEND, archive())
        self.assertEqual(self.output('send', '1'), self.messenger.ask(CHATS))

    def test_the_request_is_logged(self):
        ended = self.veltro('send', '5', '--text', 'abc')
        self.assertIn(f'messageId 5 & messageData: <616263>, ZLTSocketUtils socketPort]: {self.messenger.port}',
                      ended.stderr.decode())

    def test_an_empty_reply_ends_with_1(self):
        ended = self.veltro('send', '5', '--text', '')
        self.assert_no(ended, b'empty reply: ')
        self.assertEqual(ended.stdout, b'')

    def test_a_port_of_ones_choice_and_every_identifier(self):
        with socket.create_server(('127.0.0.1', 0)) as server:
            for text, byte in (('-128', 0x80), ('-1', 0xFF), ('255', 0xFF), ('0', 0), ('127', 0x7F)):
                got = []

                def serve(got=got):
                    connection, _ = server.accept()
                    with connection:
                        got.append(exactly(connection, 12))
                        connection.sendall(struct.pack('<Q', 2) + b'ok')

                thread = threading.Thread(target=serve)
                thread.start()
                self.assertEqual(self.output('send', '--port', str(server.getsockname()[1]), '--text', 'abc', '--',
                                             text), b'ok')
                thread.join()
                self.assertEqual(got, [bytes([byte]) + struct.pack('<Q', 3) + b'abc'])

    def test_a_port_where_nobody_listens(self):
        with socket.socket() as unused:
            unused.bind(('127.0.0.1', 0))
            ended = self.veltro('send', '5', '--text', 'x', '--port', str(unused.getsockname()[1]))
        self.assert_no(ended, b'empty reply: ')

    def test_a_file_that_cannot_be_read(self):
        self.assert_no(self.veltro('send', '5', '--file', '/nowhere'),
                       rb'cannot read /nowhere: No such file or directory\Z')
        self.assert_no(self.veltro('send', '5', '--file', '/'), rb'cannot read /: Is a directory\Z')

    def test_a_timeout_ends_the_waiting(self):
        with socket.create_server(('127.0.0.1', 0)) as server:
            ended = self.veltro('send', '5', '--text', 'x', '--timeout', '0.2', '--port',
                                str(server.getsockname()[1]))
        self.assert_no(ended, rb'no reply within 0\.2 seconds\Z')
        self.assertEqual(ended.stdout, b'')
        self.assertEqual(self.output('send', '5', '--text', 'in time', '--timeout', '60'), b'in time')

    def test_quiet_leaves_the_log_out(self):
        ended = self.veltro('send', '-q', '5', '--text', 'x')
        self.assertEqual((ended.returncode, ended.stdout, ended.stderr), (0, b'x', b''))

    def test_a_reply_that_cannot_be_written(self):
        with open('/dev/full', 'wb') as full:
            self.assert_no(self.veltro('send', '5', '--text', 'x', stdout=full), b'cannot write')

    def test_command_lines_that_make_no_sense(self):
        self.assert_usage('send')
        self.assert_usage('send', '256')
        self.assert_usage('send', '--', '-129')
        self.assert_usage('send', 'x')
        self.assert_usage('send', '5', '--text', 'a', '--file', 'b')
        self.assert_usage('send', '5', '--port', 'x')

    def test_help(self):
        self.assertIn(b'--port', self.output('send', '--help'))


class NotRunning(unittest.TestCase):
    def test_an_empty_reply_and_the_error_line(self):
        root = tempfile.mkdtemp(prefix='veltro-test-')
        self.addCleanup(shutil.rmtree, root)
        for arguments in (('send', '5', '--text', 'x'), ('chat', 'chats')):
            ended = veltro(root, *arguments)
            self.assertEqual((ended.returncode, ended.stdout), (1, b''))
            lines = ended.stderr.decode().splitlines()
            self.assertEqual(len(lines), 3)
            self.assertTrue(lines[1].endswith(
                'com.norvane.Veltro: Error => +[ZLTUtils sendMessage:messageData:], [Line 319], '
                'Seems WhatsApp is not running, hence returning...'), lines[1])
            self.assertEqual(lines[2],
                             f'veltro: no reply, and no messenger serves {root}; veltro messenger start starts one')
        # Whoever listens at a port of one's choice, the library asks for the process first.
        for arguments in (('send', '5', '--text', 'x'), ('chat', 'chats')):
            ended = veltro(root, '-q', *arguments, '--port', '1')
            self.assertEqual((ended.returncode, ended.stdout, ended.stderr.decode()), (
                1, b'', 'veltro: no reply: no process named WhatsApp runs; veltro messenger start starts one\n'))


class Roots(unittest.TestCase):
    """Device roots of their own, without a messenger at first."""

    def setUp(self):
        self.root, self.other = (os.path.realpath(tempfile.mkdtemp(prefix='veltro-test-')) for _ in range(2))
        for root in (self.root, self.other):
            self.addCleanup(shutil.rmtree, root, True)
            self.addCleanup(self.veltro, root, 'stop')

    def veltro(self, root, *arguments):
        return veltro(root, 'messenger', *arguments)

    def status(self, root, *arguments):
        ended = self.veltro(root, *arguments, '--json')
        return ended.returncode, json.loads(ended.stdout)

    def assert_not_running(self, root):
        self.assertEqual(self.status(root, 'status'), (1, {'running': False, 'pid': None, 'port': None}))
        for arguments in (('status',), ()):
            ended = self.veltro(root, *arguments)
            self.assertEqual((ended.returncode, ended.stdout, ended.stderr), (1, b'not running\n', b''))

    def test_starting_installs_and_serves(self):
        self.assert_not_running(self.root)
        returned, started = self.status(self.root, 'start')
        self.assertEqual((returned, started['running']), (0, True))
        self.assertEqual(veltro(self.root, 'send', '-q', '5', '--text', 'hello').stdout, b'hello')
        self.assertIn(b'net.whatsapp.WhatsApp\tUser\t', veltro(self.root, 'apps', 'list').stdout)
        with open(f'/proc/{started["pid"]}/comm') as name:
            self.assertEqual(name.read(), 'WhatsApp\n')
        self.assertEqual(self.status(self.root, 'start'), (0, started), 'no second one')
        self.assertEqual(self.status(self.root, 'status'), (0, started))
        self.assertEqual(self.status(self.root), (0, started))
        self.assertEqual(self.veltro(self.root).stdout.decode(),
                         f'running: pid {started["pid"]}, port {started["port"]}\n')
        self.assertEqual(self.veltro(self.root, 'stop').returncode, 0)
        self.assertTrue(has_ended(started['pid']))
        self.assert_not_running(self.root)
        self.assertEqual(self.veltro(self.root, 'stop').returncode, 0, 'it is as it should be')

    def test_what_was_said_is_there_after_a_new_start(self):
        self.veltro(self.root, 'start')
        self.assertEqual(veltro(self.root, 'chat', 'say', 'anna', 'kept').returncode, 0)
        self.veltro(self.root, 'stop')
        self.veltro(self.root, 'start')
        self.assertIn(b'> kept\n', veltro(self.root, 'chat', 'read', 'anna').stdout)

    def test_a_stopped_one_ends_too(self):
        started = self.status(self.root, 'start')[1]
        os.kill(started['pid'], signal.SIGSTOP)
        self.assertEqual(self.veltro(self.root, 'stop').returncode, 0)
        self.assert_not_running(self.root)

    def test_one_that_was_killed_does_not_run(self):
        started = self.status(self.root, 'start')[1]
        os.kill(started['pid'], signal.SIGKILL)
        self.assert_not_running_soon()
        self.assertEqual(self.status(self.root, 'start')[0], 0)

    def assert_not_running_soon(self):
        while self.veltro(self.root, 'status').returncode == 0:
            pass
        self.assert_not_running(self.root)

    def test_one_that_cannot_start(self):
        lock = os.path.join(self.root, 'var/mobile/Library/WhatsApp/lock')
        os.makedirs(os.path.dirname(lock))
        with open(lock, 'wb') as held:
            fcntl.flock(held, fcntl.LOCK_EX)
            ended = self.veltro(self.root, 'start')
        self.assertEqual((ended.returncode, ended.stdout), (1, b''))
        self.assertEqual(ended.stderr.splitlines()[-1], b'veltro: the messenger was launched, and does not serve')

    def test_the_commands_name_it(self):
        for arguments, what in ((('launch', 'net.whatsapp.WhatsApp'), b'cannot launch net.whatsapp.WhatsApp'),
                                (('keep-alive',), b'cannot keep net.whatsapp.WhatsApp alive')):
            ended = veltro(self.root, *arguments)
            self.assertEqual((ended.returncode, ended.stderr.splitlines()[-1]),
                             (1, b'veltro: ' + what + b': no such app; veltro messenger start starts one'))
        self.assertNotIn(b'messenger', veltro(self.root, 'launch', 'org.example.other').stderr)

    def test_messages_name_the_process_and_root_in_the_way(self):
        other = self.status(self.other, 'start')[1]['pid']
        in_the_way = (f'; veltro messenger start starts one; process {other} (root {self.other}) is named WhatsApp '
                      'too: unshare --user --pid --fork --mount-proc gives each job its own processes').encode()
        self.assertEqual(veltro(self.root, 'apps', 'install', os.path.join(BUILD, 'share/WhatsApp.app')).returncode, 0)
        for arguments, what in (
                (('keep-alive',), f'the assertion was not granted: the app of {self.root} does not run'),
                (('send', '5'), f'no reply, and no messenger serves {self.root}'),
                (('chat', 'chats'), f'no reply, and no messenger serves {self.root}')):
            ended = veltro(self.root, *arguments)
            self.assertEqual((ended.returncode, ended.stderr.splitlines()[-1]),
                             (1, b'veltro: ' + what.encode() + in_the_way))
        info = json.loads(veltro(self.root, 'info', '--json').stdout)
        self.assertEqual((info['whatsapp_running'], info['whatsapp_processes']),
                         (True, [{'pid': other, 'root': self.other}]))
        self.assertIn(f'\nwhatsapp_running: yes\nwhatsapp_processes: {other} (root {self.other})\n',
                      veltro(self.root, 'info').stdout.decode())
        self.assertEqual(self.status(self.root, 'start')[0], 0, 'side by side')
        self.assertEqual(veltro(self.root, 'send', '-q', '5', '--text', 'mine').stdout, b'mine')
        self.veltro(self.root, 'stop')
        self.assertEqual(self.status(self.other, 'status')[0], 0)

    def test_command_lines_that_make_no_sense(self):
        for arguments in (('strat',), ('start', 'more'), ('--root', 'x')):
            ended = self.veltro(self.root, *arguments)
            self.assertEqual((ended.returncode, len(ended.stderr.splitlines())), (2, 1))


class Chat(Tool):
    def test_saying_and_reading(self):
        self.assertEqual(self.output('chat', 'say', 'anna', 'Grüße 👋'), b'')
        self.assertEqual(self.records('say', 'anna', 'صباح الخير', '--received'), [{'number': 2}])
        self.output('chat', 'say', 'anna', stdin='from\nstandard input'.encode())
        self.output('chat', 'say', 'anna', '')
        read = self.records('read', 'anna')
        self.assertEqual([(each['user'], each['text'], each['outgoing']) for each in read], [
            ('anna', 'Grüße 👋', True), ('anna', 'صباح الخير', False), ('anna', 'from\nstandard input', True),
            ('anna', '', True)])
        self.assertEqual(self.records('read', 'anna', '--last', '2'), read[2:])
        self.assertEqual(self.records('read', 'nobody'), [])

    def test_a_text_from_a_pipe_loses_one_line_end(self):
        for number, (stdin, text) in enumerate(((b'printed\n', 'printed'), (b'two\n\n', 'two\n'), (b'none', 'none'),
                                                (b'other\r\n', 'other'), (b'kept\r', 'kept\r')), 1):
            self.output('chat', 'say', 'anna', stdin=stdin)
            self.assertEqual(self.records('read', 'anna')[number - 1]['text'], text)

    def test_an_empty_input_is_refused(self):
        for stdin in (b'', b'\n'):
            ended = self.veltro('chat', 'say', 'anna', stdin=stdin)
            self.assertEqual((ended.returncode, ended.stdout), (2, b''))
            self.assertEqual(ended.stderr,
                             b'veltro: there is no text on standard input; --empty sends an empty one\n')
        self.assertEqual(self.records('read', 'anna'), [])
        self.output('chat', 'say', 'anna', '--empty', stdin=b'')
        self.output('chat', 'say', 'anna', '--empty', stdin=b'full')
        self.assertEqual([each['text'] for each in self.records('read', 'anna')], ['', 'full'])

    def test_times(self):
        # 700000000.25 s after the beginning of 2001.
        for number in range(3):
            self.messenger.ask(SEND, archive(text=str(number), time=7e8 + number + 0.25))
        self.assertEqual([each['time'] for each in self.records('read', 'anna')],
                         ['2023-03-08T20:26:40.250Z', '2023-03-08T20:26:41.250Z', '2023-03-08T20:26:42.250Z'])
        def read(since, zone):
            ended = self.veltro('chat', 'read', 'anna', '--json', f'--since={since}', zone=zone)
            self.assertEqual(ended.returncode, 0, ended.stderr)
            return [json.loads(line)['text'] for line in ended.stdout.splitlines()]

        for since, texts in (('2023-03-08', '012'), ('2023-03-09', ''), ('2023-03-08T20:26:41Z', '12'),
                             ('2023-03-08T20:26:41.250Z', '12'), ('2023-03-08T20:26:41.251Z', '2'),
                             ('@1678307202', '2'), ('@1678307202.25', '2'), ('@0', '012'), ('@-1', '012'),
                             ('now', ''), ('2023-03-08T20:26', '012'), ('2023-03-08 20:26:42', '2'),
                             ('2023-03-08T22:26:42+02:00', '2'), ('2023-03-08T15:26:41-0500', '12')):
            self.assertEqual(read(since, 'UTC'), list(texts), since)
        self.assertEqual(read('2023-03-08T15:26:42', 'America/New_York'), ['2'])
        self.assertEqual(read('2023-03-09', 'America/New_York'), [])
        for since in ('', 'yesterday', '2023-03-08T20', '2023-03-08T20:26:41.xZ', '2023-03-08T20:26:41Zx', 'nan',
                      '1e400', '2023-13-01', '2024-02-30', '2023-02-29'):
            self.assert_usage('chat', 'read', 'anna', f'--since={since}')

    def test_far_times_are_printed(self):
        for number, when in enumerate((-1e300, 0, 1e300)):
            self.messenger.ask(SEND, archive(text=str(number), time=when))
        self.assertEqual([each['time'] for each in self.records('read', 'anna')],
                         ['0001-01-01T00:00:00.000Z', '2001-01-01T00:00:00.000Z', '9999-12-31T23:59:59.999Z'])

    def test_the_chats(self):
        self.messenger.ask(SEND, archive(user='anna', text='a', time=10))
        self.messenger.ask(SEND, archive(user='bob', text='b', outgoing=False, time=20))
        newest = {'user': 'bob', 'text': 'b', 'outgoing': False, 'time': '2001-01-01T00:00:20.000Z'}
        self.assertEqual(self.records('chats')[0], {'user': 'bob', 'messages': 1, 'unread': 1, 'newest': newest})
        self.assertEqual([each['user'] for each in self.records('chats')], ['bob', 'anna'])
        self.assertEqual(self.output('chat', 'chats').decode(),
                         'bob  (1 unread of 1)\n    2001-01-01T00:00:20.000Z  < b\n'
                         'anna  (0 unread of 1)\n    2001-01-01T00:00:10.000Z  > a\n')

    def test_marking_read(self):
        self.messenger.ask(SEND, archive(outgoing=False))
        self.assertEqual(self.records('mark-read', 'anna'), [{'marked': 1}])
        self.assertEqual(self.output('chat', 'mark-read', 'anna'), b'0 marked\n')

    def test_texts_cannot_play_with_the_terminal(self):
        self.messenger.ask(SEND, archive(text='one\ntwo\x1b[2J\x7f\tend', time=0))
        self.assertEqual(self.output('chat', 'read', 'anna'),
                         b'2001-01-01T00:00:00.000Z  > one\n    two?[2J?\tend\n')
        self.assertEqual(self.records('read', 'anna')[0]['text'], 'one\ntwo\x1b[2J\x7f\tend')

    def test_messages_that_are_not_kept(self):
        self.assert_no(self.veltro('chat', 'say', 'u' * 257, 'text'), b'empty reply: ')

    def test_replies_that_are_something_else(self):
        with socket.create_server(('127.0.0.1', 0)) as server:
            for wrong in (b'nonsense', binary(['no archive']), archive()):
                def serve(wrong=wrong):
                    connection, _ = server.accept()
                    with connection:
                        connection.sendall(struct.pack('<Q', len(wrong)) + wrong)
                        connection.shutdown(socket.SHUT_WR)
                        while connection.recv(4096):
                            pass

                thread = threading.Thread(target=serve)
                thread.start()
                ended = self.veltro('chat', 'mark-read', 'anna', '--port', str(server.getsockname()[1]))
                thread.join()
                self.assert_no(ended, b'the reply is not an archive of what was asked for')
                self.assertEqual(ended.stdout, b'')

    def test_command_lines_that_make_no_sense(self):
        for arguments in ((), ('shout',), ('read',), ('say',), ('mark-read',), ('read', 'anna', '--last', '-1'),
                          ('read', 'anna', '--last', 'x'), ('say', 'anna', b'\xff'), ('read', b'\xff'),
                          ('say', b'\xff', 'text')):
            self.assert_usage('chat', *arguments)
        ended = self.veltro('chat', 'say', 'anna', stdin=b'\xff')
        self.assertEqual((ended.returncode, ended.stderr), (2, b'veltro: the text on standard input is not UTF-8\n'))

    def test_help(self):
        self.assertIn(b'mark-read', self.output('chat', '--help'))
        for command in ('chats', 'read', 'say', 'mark-read'):
            self.assertIn(b'--json', self.output('chat', command, '--help'))


main()
