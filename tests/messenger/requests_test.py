"""Every request of the messenger, over the wire, with archives made and read without Foundation."""
import datetime
import plistlib
import time

from client import (ARCHIVE_LIMIT, CHATS, ECHO, EPOCH, MARK_READ, RAISED_IN_READING, READ, SEND, Case, archive,
                    binary, main, message, unarchive)

LONG = 'long ' * 40000


class Requests(Case):
    def send(self, **fields):
        return unarchive(self.messenger.ask(SEND, archive(**fields)))['Number']

    def read(self, user='anna', **arguments):
        return unarchive(self.messenger.ask(READ, binary({'UserIdentifier': user, **arguments})))

    def test_a_message_comes_back_as_it_was_sent(self):
        texts = ['Good morning', 'صباح الخير', 'Łódź 👋🏽🦊', LONG, '', 'two\nlines\tand a \x00 byte', '\u202emarks\u202c']
        for number, text in enumerate(texts):
            self.assertEqual(self.send(text=text, outgoing=number % 2 == 0, time=7e8 + number + 0.123456), number + 1)
        self.assertEqual(self.read(), [message(text=text, outgoing=number % 2 == 0, time=7e8 + number + 0.123456)
                                       for number, text in enumerate(texts)])

    def test_replies_name_the_class_and_its_keys_only(self):
        self.send()
        objects = plistlib.loads(self.messenger.ask(READ, binary({'UserIdentifier': 'anna'})))['$objects']
        records = [each for each in objects if isinstance(each, dict) and 'Content' in each]
        self.assertEqual([set(each) for each in records],
                         [{'Content', 'Outgoing', 'Timestamp', 'UserIdentifier', '$class'}])

    def test_the_order_is_that_of_the_timestamps_then_of_the_numbers(self):
        for text, when in (('c', 30), ('a', 10), ('d', 30), ('b', 20)):
            self.send(text=text, time=when)
        self.assertEqual([each['Content'] for each in self.read()], ['a', 'b', 'c', 'd'])

    def test_the_newest_so_many(self):
        for number in range(5):
            self.send(text=str(number), time=number)
        for last, texts in ((0, ''), (1, '4'), (3, '234'), (5, '01234'), (2**63 - 1, '01234')):
            self.assertEqual([each['Content'] for each in self.read(Last=last)], list(texts), last)

    def test_since_a_time(self):
        for number in range(5):
            self.send(text=str(number), time=number)
        at = lambda seconds: datetime.datetime(2001, 1, 1) + datetime.timedelta(seconds=seconds)
        for since, texts in ((-1, '01234'), (3, '34'), (3.5, '4'), (5, '')):
            self.assertEqual([each['Content'] for each in self.read(Since=at(since))], list(texts), since)
        self.assertEqual([each['Content'] for each in self.read(Since=at(1), Last=2)], ['3', '4'])

    def test_chats_do_not_mix(self):
        self.send(user='anna', text='to anna')
        self.send(user='Anna', text='to another')
        self.assertEqual([each['Content'] for each in self.read('anna')], ['to anna'])
        self.assertEqual(self.read('nobody'), [])

    def test_the_chats(self):
        self.assertEqual(unarchive(self.messenger.ask(CHATS)), [])
        self.send(user='old', text='1', time=10)
        self.send(user='new', text='2', time=20, outgoing=False)
        self.send(user='old', text='3', time=5, outgoing=False)
        self.assertEqual(unarchive(self.messenger.ask(CHATS, b'not looked at')), [
            {'UserIdentifier': 'new', 'Messages': 1, 'Unread': 1,
             'Newest': message('new', '2', outgoing=False, time=20)},
            {'UserIdentifier': 'old', 'Messages': 2, 'Unread': 1, 'Newest': message('old', '1', time=10)}])

    def test_marking_read(self):
        for outgoing in (True, False, False):
            self.send(outgoing=outgoing)
        self.send(user='bob', outgoing=False)
        mark = lambda user: unarchive(self.messenger.ask(MARK_READ, binary({'UserIdentifier': user})))
        self.read()
        self.assertEqual([mark('anna'), mark('anna'), mark('nobody')], [{'Marked': 2}, {'Marked': 0}, {'Marked': 0}])
        self.assertEqual([chat['Unread'] for chat in unarchive(self.messenger.ask(CHATS))
                          if chat['UserIdentifier'] == 'bob'], [1])

    def test_a_message_without_a_timestamp_is_of_now(self):
        before = time.time() - EPOCH
        self.send(time=None)
        self.assertTrue(before - 0.001 <= self.read()[0]['Timestamp'] <= time.time() - EPOCH + 0.001)

    def test_arguments_that_make_no_sense(self):
        self.send(outgoing=False)
        for arguments in ({}, {'UserIdentifier': 7}, {'UserIdentifier': ''}, {'UserIdentifier': 'anna', 'Last': -1},
                          {'UserIdentifier': 'anna', 'Last': '1'}, {'UserIdentifier': 'anna', 'Since': 1},
                          [], 'anna', ['UserIdentifier', 'anna']):
            self.assertEqual(self.messenger.ask(READ, binary(arguments)), b'', arguments)
        for arguments in ({}, {'UserIdentifier': 7}, {'UserIdentifier': ''}, []):
            self.assertEqual(self.messenger.ask(MARK_READ, binary(arguments)), b'', arguments)
        for identifier in (READ, SEND, MARK_READ):
            for payload in (b'', b'x', plistlib.dumps({'UserIdentifier': 'anna'}), b'{ UserIdentifier = anna; }'):
                self.assertEqual(self.messenger.ask(identifier, payload), b'', payload)
        self.assertEqual(unarchive(self.messenger.ask(CHATS))[0]['Unread'], 1)

    def test_identifiers_without_a_meaning(self):
        for identifier in (0, 6, 64, 127, -128, -1):
            self.assertEqual(self.messenger.ask(identifier, b'anything'), b'', identifier)

    def test_the_echo(self):
        for length in (0, 1, 9, 65536, 1 << 20, 64 << 20):
            payload = bytes(range(256)) * (length // 256) + b'x' * (length % 256)
            self.assertEqual(self.messenger.ask(ECHO, payload), payload, length)

    def test_the_largest_message(self):
        space = ARCHIVE_LIMIT - len(archive(text='x' * 70000)) + 70000
        self.assertEqual(self.messenger.ask(SEND, archive(text='x' * (space + 1))), b'')
        self.assertEqual(self.send(text='x' * space), 1)
        self.assertEqual(self.read()[0]['Content'], 'x' * space)


class Refusals(Case):
    environment = RAISED_IN_READING

    def test_messages_that_are_not_kept(self):
        nan, infinity = float('nan'), float('inf')
        for fields in ({'text': 7}, {'text': b'data'}, {'text': '$null'}, {'user': ''}, {'user': '$null'},
                       {'user': 7}, {'user': 'u' * 257}, {'user': 'ü' * 129}, {'time': nan}, {'time': infinity},
                       {'time': 'late'}):
            self.assertEqual(self.messenger.ask(SEND, archive(**fields)), b'', fields)
        self.assertEqual(unarchive(self.messenger.ask(CHATS)), [])
        self.assertEqual(unarchive(self.messenger.ask(SEND, archive(user='ü' * 128))), {'Number': 1})


class Restart(Case):
    def test_conversations_outlive_the_messenger(self):
        self.messenger.ask(SEND, archive(text='before'))
        self.restart()
        self.messenger.ask(SEND, archive(text='after'))
        messages = unarchive(self.messenger.ask(READ, binary({'UserIdentifier': 'anna'})))
        self.assertEqual([each['Content'] for each in messages], ['before', 'after'])


main()
