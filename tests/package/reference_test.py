"""reference_test.py SCRATCH: the reference of the headers is complete, and one of headers that are not is refused with each thing
that they lack."""
import os
import shutil
import subprocess
import sys

SCRATCH = os.path.abspath(sys.argv[1])
REFERENCE = os.path.join(os.path.dirname(os.path.abspath(__file__)), '../../scripts/reference')
COMPLETE = """
/// A class. Any thread.
@interface Counter : NSObject
/// Its name; nil at first.
@property (copy, nonatomic) NSString *name;
/// Waits.
/// @param seconds Seconds, more than 0.
/// @param name The name; may be nil.
/// @return The days that are left, 0 or more; -1 for nil.
- (NSInteger)wait:(double)seconds name:(NSString *)name;
/// What is left.
/// @return The text, autoreleased; never nil.
- (NSString *)rest;
/// Ends it, and does not fail.
- (void)end;
@end
"""
# What is taken out of it, and what is missing then.
LACKS = (
    ('/// A class. Any thread.\n', ['Compound Counter is not documented.', 'Counter name: which threads may use it',
                                   'Counter wait:name:: which threads may call it', 'Counter rest: which threads may call it',
                                   'Counter end: which threads may call it']),
    (' Any thread.', ['Counter name: which threads may use it', 'Counter wait:name:: which threads may call it',
                      'Counter rest: which threads may call it', 'Counter end: which threads may call it']),
    ('; nil at first', ['Counter name: nil']),
    ('/// Its name; nil at first.\n', ['Counter name: nil', 'name (property) of class Counter is not documented.']),
    ('Seconds, ', ['Counter wait:name:: of seconds, its unit']),
    (', more than 0', ['Counter wait:name:: of seconds, its range']),
    ('; may be nil', ['Counter wait:name:: of name, nil']),
    (', 0 or more', ['Counter wait:name:: of the result, its range']),
    ('The days that are left', ['Counter wait:name:: of the result, its unit']),
    (', autoreleased', ['Counter rest: of the result, who owns it']),
    ('; never nil', ['Counter rest: of the result, nil', 'Counter rest: what a failure does']),
    (', and does not fail', ['Counter end: what a failure does']),
)


def problems_of(name, text):
    headers = f'{SCRATCH}/{name}/headers'
    os.makedirs(headers)
    with open(f'{headers}/Counter.h', 'w', encoding='utf-8') as file:
        file.write(text)
    made = subprocess.run([REFERENCE, f'{SCRATCH}/{name}/reference', headers], capture_output=True, text=True, check=False)
    lines = [line.replace(': the documentation does not tell ', ': ') for line in made.stdout.splitlines()]
    return [] if made.returncode == 0 else lines


shutil.rmtree(SCRATCH, ignore_errors=True)
failures = [] if problems_of('complete', COMPLETE) == [] else [f'refused: {problems_of("again", COMPLETE)}']
for number, (part, expected) in enumerate(LACKS):
    lacking = COMPLETE.replace(part, '', 1)
    problems = problems_of(f'lacking-{number}', lacking)
    if lacking == COMPLETE or len(problems) != len(expected) or \
            not all(any(line.endswith(one) for line in problems) for one in expected):
        failures.append(f'without {part!r}: {problems}')
real = subprocess.run([REFERENCE, f'{SCRATCH}/reference'], capture_output=True, text=True, check=False)
if real.returncode:
    failures.append(real.stdout)
print('\n'.join(failures))
sys.exit(bool(failures))
