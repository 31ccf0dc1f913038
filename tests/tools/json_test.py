"""What --json prints has the keys, their order and the types that docs/tool.md tells, for every command that has --json."""
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

TOOL, DOCS = sys.argv.pop(1), sys.argv.pop(1)
APP = os.path.join(os.path.dirname(TOOL), '../share/WhatsApp.app')
MESSENGER = 'net.whatsapp.WhatsApp'
TYPES = {'string': str, 'number': int, 'boolean': bool, 'null': type(None)}
# Each in order; what comes before prepares what follows.
RUNS = {
    'apps list': (),
    'apps info': (MESSENGER,),
    'messenger start': (),
    'launch': (MESSENGER,),
    'messenger status': (),
    'chat say': ('anna', 'text'),
    'chat chats': (),
    'chat read': ('anna',),
    'chat mark-read': ('anna',),
    'info': (),
    'messenger stop': (),
    'date today': ('now',),
    'date yesterday': ('now', '2024-03-13'),
    'date last-week': ('now',),
    'date last-days': ('3', 'now'),
    'date same-day': ('now', '@0'),
    'date same-week': ('now', '@0'),
    'date same-minute': ('now', '@0'),
    'date add-days': ('1', 'now', '@0'),
    'date subtract-days': ('1', 'now'),
    'date minute': ('now',),
    'keychain list': (),
    'ps': (),
}


def documented():
    """The keys of each command, as (name, types)."""
    with open(DOCS, encoding='utf-8') as file:
        table = re.findall(r'^\| (`[a-z].*?) \|[^|]*\| (.*) \|$', file.read().split('## JSON')[1], re.M)
    return {command: [(name, {TYPES[each] for each in types.split(' or ')})
                      for name, types in re.findall(r'`([\w.\[\]]+)` ((?:string|number|boolean)(?: or null)?)', keys)]
            for commands, keys in table for command in re.findall('`([^`]+)`', commands)}


def flat(record, before=''):
    """(name, type) of every value, with the names that the table has."""
    for name, value in record.items():
        if isinstance(value, dict):
            yield from flat(value, f'{before}{name}.')
        elif isinstance(value, list):
            for each in value:
                yield from flat(each, f'{before}{name}[].')
        else:
            yield before + name, type(value)


class Json(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.root = tempfile.mkdtemp(prefix='veltro-test-')
        cls.addClassCleanup(shutil.rmtree, cls.root, True)
        cls.addClassCleanup(cls.run_tool, 'messenger', 'stop')
        for arguments in (('apps', 'install', APP), ('keychain', 'set', 'mail', 'ann')):
            assert cls.run_tool(*arguments, stdin='secret').returncode == 0

    @classmethod
    def run_tool(cls, *arguments, stdin=''):
        return subprocess.run([TOOL, *arguments], input=stdin, text=True, capture_output=True, check=False, timeout=120,
                              env={**os.environ, 'VELTRO_ROOT': cls.root, 'VELTRO_LOG': 'off'})

    def commands_with_json(self, *words):
        text = self.run_tool('help', *words).stdout
        inner = re.findall(r'^  ([a-z][\w-]*) ', text.partition('Subcommands:\n')[2].partition('\n\n')[0], re.M)
        for each in inner:
            yield from self.commands_with_json(*words, each)
        if not inner and '  --json ' in text:
            yield ' '.join(words)

    def test_every_command_is_documented(self):
        self.assertEqual(set(self.commands_with_json()), set(documented()))
        self.assertEqual(set(RUNS), set(documented()))

    def test_the_keys_are_as_documented(self):
        keys = documented()
        for command, arguments in RUNS.items():
            ended = self.run_tool(*command.split(), '--json', *arguments)
            self.assertEqual(ended.stderr, '', command)
            records = [json.loads(line) for line in ended.stdout.splitlines()]
            self.assertTrue(records, command)
            for record in records:
                found = list(flat(record))
                self.assertEqual([name for name, _ in found], [name for name, _ in keys[command]], command)
                for (name, seen), (_, told) in zip(found, keys[command]):
                    self.assertIn(seen, told, f'{command}: {name}')


unittest.main()
