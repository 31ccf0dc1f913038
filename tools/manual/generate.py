"""generate.py TOOL VERSION OUT: writes the pages of the manual and the completion for bash, zsh and fish under
OUT/share, from the help texts of the tool, each where its readers look for it."""
import gzip
import os
import shutil
import sys

import completion
import help_text
import man_page

tool_path, version, out = sys.argv[1:]
tool = help_text.read(tool_path)


def write(path, text):
    path = f'{out}/share/{path}'
    os.makedirs(os.path.dirname(path), exist_ok=True)
    data = text.encode()
    with open(path, 'wb') as file:
        # Without a time, so that the same texts make the same bytes.
        file.write(gzip.compress(data, 9, mtime=0) if path.endswith('.gz') else data)


shutil.rmtree(out, ignore_errors=True)
write('man/man1/veltro.1.gz', man_page.page(tool, tool, version))
for command in tool.commands:
    write(f'man/man1/veltro-{command.words[0]}.1.gz', man_page.page(command, tool, version))
write('bash-completion/completions/veltro', completion.bash(tool))
write('zsh/site-functions/_veltro', completion.zsh(tool))
write('fish/vendor_completions.d/veltro.fish', completion.fish(tool))
