"""reproducible_test.py FOLDER: slices, library and packages have the same bytes when a clone of the repository in
another folder makes them. Works in FOLDER; files that are not committed yet are taken along."""
import glob
import os
import shutil
import subprocess
import sys

WORK = os.path.abspath(sys.argv[1])
CLONE = f'{WORK}/another/folder'
os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), '../..'))


def git(*arguments):
    return subprocess.run(['git', *arguments], check=True, capture_output=True, text=True).stdout


def results(root):
    found = {}
    for pattern in ('*.deb', 'libveltro.dylib', '*/libveltro.dylib'):
        for path in glob.glob(f'{root}/build/ios/{pattern}'):
            with open(path, 'rb') as file:
                found[os.path.relpath(path, root)] = file.read()
    return found


shutil.rmtree(WORK, ignore_errors=True)
git('clone', '--quiet', '--no-checkout', '.', CLONE)
for path in git('ls-files', '-z', '--cached', '--others', '--exclude-standard').split('\0'):
    if os.path.isfile(path):
        os.makedirs(os.path.dirname(f'{CLONE}/{path}'), exist_ok=True)
        shutil.copy(path, f'{CLONE}/{path}')
os.umask(0o077)  # as another user may have it
subprocess.run([f'{CLONE}/scripts/ios'], check=True, stdout=subprocess.DEVNULL)
ours, theirs = results('.'), results(CLONE)
different = [name for name in sorted(ours.keys() | theirs.keys()) if ours.get(name) != theirs.get(name)]
shutil.rmtree(WORK)
sys.exit(f'differ between folders: {", ".join(different)}' if different or len(ours) != 7 else 0)
