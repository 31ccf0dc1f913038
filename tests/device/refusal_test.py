"""refusal_test.py TREE: scripts/test-device does not count runs in which the Linux library is loaded, be it for want of
the drop-in or in its place. TREE is the build tree."""
import os
import subprocess
import sys
import tempfile

TREE = os.path.abspath(sys.argv[1])
os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), '../..'))

with tempfile.TemporaryDirectory() as empty:
    for folder in (empty, f'{TREE}/lib'):
        run = subprocess.run(['scripts/test-device', 'x86_64', '^bridge/message_test$', folder], check=False,
                             capture_output=True, text=True)
        if run.returncode != 1 or f'not counted: a process ran {TREE}/lib/libveltro.so.0' not in run.stderr:
            sys.exit(f'{folder}: status {run.returncode}, and it said\n{run.stdout}{run.stderr}')
        if 'test-device x86_64: ' in run.stdout:
            sys.exit(f'{folder}: counted\n{run.stdout}')
