"""Completion on the command line, by what each command's help says. Where nothing is known, file names."""
import help_text


def path_of(command):
    return ' '.join(command.words)


def option_names(command):
    return [name for one in command.options for name in one.names]


def candidates(command):
    """What may come next: commands, options, and the choices of arguments."""
    words = [below.words[-1] for below in command.commands] + option_names(command)
    return words + [choice for one in command.positionals for choice in one.choices]


def paths(tool):
    return [path_of(command) for command in help_text.walk(tool) if command.words]


def quoted(text):
    return "'" + text.replace("'", "'\\''") + "'"


def bash(tool):
    values = ''
    for command in help_text.walk(tool):
        for one in command.options:
            for name in one.names if one.value else []:
                key = quoted(f'{path_of(command)} {name}')
                values += f"    {key}) choices={quoted(' '.join(one.choices))} is_value=1 ;;\n"
    words = ''.join(f'    {quoted(path_of(command))}) choices={quoted(" ".join(candidates(command)))} ;;\n'
                    for command in help_text.walk(tool))
    known = '|'.join(quoted(path) for path in paths(tool))
    return f'''# bash completion for veltro; made from its help texts.
_veltro() {{
  local current=${{COMP_WORDS[COMP_CWORD]}} previous=${{COMP_WORDS[COMP_CWORD-1]}}
  local command= word choices= is_value=
  for word in "${{COMP_WORDS[@]:1:COMP_CWORD-1}}"; do
    case ${{command:+$command }}$word in
    {known}) command=${{command:+$command }}$word ;;
    esac
  done
  case "$command $previous" in
{values}  esac
  [ -n "$is_value" ] || case $command in
{words}  esac
  mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$current")
}}
complete -o default -F _veltro veltro
'''


def zsh(tool):
    cases, values = '', ''
    for command in help_text.walk(tool):
        described = [(below.words[-1], below.summary) for below in command.commands]
        described += [(choice, one.text) for one in command.positionals for choice in one.choices]
        described += [(name, one.text) for one in command.options for name in one.names]
        lines = ' '.join(quoted(name.replace(':', '\\:') + ':' + text.replace('\n', ' ')) for name, text in described)
        cases += f'    {quoted(path_of(command))}) words_now=({lines}) ;;\n'
        for one in command.options:
            for name in one.names if one.value else []:
                choices = ' '.join(quoted(choice) for choice in one.choices)
                values += f"    {quoted(path_of(command) + ' ' + name)}) is_value=1 words_now=({choices}) ;;\n"
    known = '|'.join(quoted(path) for path in paths(tool))
    return f'''#compdef veltro
# zsh completion for veltro; made from its help texts.
_veltro() {{
  local command= word is_value=
  local -a words_now
  for word in "${{(@)words[2,CURRENT-1]}}"; do
    case "${{command:+$command }}$word" in
    {known}) command="${{command:+$command }}$word" ;;
    esac
  done
  case "$command ${{words[CURRENT-1]}}" in
{values}  esac
  [[ -n $is_value ]] || case "$command" in
{cases}  esac
  (( $#words_now )) && _describe veltro words_now && return
  _files
}}
_veltro "$@"
'''


def fish(tool):
    text = '# fish completion for veltro; made from its help texts.\n'
    for command in help_text.walk(tool):
        words = command.words
        seen = [f'__fish_seen_subcommand_from {word}' for word in words]
        if command.commands:
            below = ' '.join(one.words[-1] for one in command.commands)
            seen.append(f'not __fish_seen_subcommand_from {below}')
        start = f"complete -c veltro -n {quoted('; and '.join(seen))}" if seen else 'complete -c veltro'
        for one in command.commands:
            text += f'{start} -f -a {one.words[-1]} -d {quoted(one.summary)}\n'
        for one in command.positionals:
            if one.choices:
                text += f"{start} -f -a {quoted(' '.join(one.choices))} -d {quoted(one.text)}\n"
        for one in command.options:
            names = ' '.join(f'-l {name[2:]}' if name.startswith('--') else f'-s {name[1:]}' for name in one.names)
            value = f" -x -a {quoted(' '.join(one.choices))}" if one.choices else ' -r' if one.value else ''
            text += f'{start} {names}{value} -d {quoted(one.text)}\n'
    return text
