"""Pages of the manual, in man's own language."""
import re


def escaped(text):
    text = text.replace('\\', r'\e').replace('-', r'\-')
    return '\n'.join(rf'\&{line}' if line.startswith(('.', "'")) else line for line in text.splitlines())


def first_sentence(text):
    return re.match(r'.*?(?=\.? *$|\. )', text)[0]


def shown_entry(one):
    names = ', '.join(rf'\fB{escaped(name)}\fR' for name in one.names)
    is_option = one.names[0].startswith('-')
    value = rf' \fI{one.value}\fR' if one.value and is_option else ''
    notes = f" ({'; '.join(one.notes)})" if one.notes else ''
    return f'.TP\n{names}{value}\n{escaped(one.text + notes)}\n'


def section(title, entries):
    return f'.SH {title}\n' + ''.join(shown_entry(one) for one in entries) if entries else ''


def shown_command(command):
    """A command below the page's own."""
    usage = escaped(command.usage)
    page = f'.SS {usage}\n{escaped(command.summary)}\n'
    page += ''.join(shown_entry(one) for one in command.positionals + own_options(command))
    return page + (f'.PP\n{escaped(command.remarks)}\n' if command.remarks else '') + \
        ''.join(shown_command(below) for below in command.commands)


def own_options(command):
    return [one for one in command.options if not {'--help', '--quiet'} & set(one.names)]


def exit_status(tool):
    return tool.remarks.split('Exit status: ')[1]


def page(command, tool, version):
    name = '-'.join(['veltro', *command.words])
    text = f'.TH {escaped(name.upper())} 1 "" "veltro {version}" "libveltro"\n'
    text += f'.SH NAME\n{escaped(name)} \\- {escaped(first_sentence(command.summary))}\n'
    text += f'.SH SYNOPSIS\n.B {escaped(command.usage)}\n.SH DESCRIPTION\n{escaped(command.summary)}\n'
    if command.remarks and command is not tool:
        text += f'.PP\n{escaped(command.remarks)}\n'
    text += section('ARGUMENTS', command.positionals) + section('OPTIONS', command.options)
    if command is tool:
        text += '.SH COMMANDS\n' + ''.join(
            f'.TP\n\\fBveltro\\-{escaped(below.words[0])}\\fR(1)\n{escaped(first_sentence(below.summary))}\n'
            for below in command.commands)
    elif command.commands:
        text += '.SH COMMANDS\n' + ''.join(shown_command(below) for below in command.commands)
    text += section('ENVIRONMENT', command.environment)
    text += f'.SH "EXIT STATUS"\n{escaped(exit_status(tool))}\n'
    others = [below for below in tool.commands if below is not command]
    names = [] if command is tool else [r'.BR veltro (1)']
    names += [rf'.BR veltro\-{escaped(below.words[0])} (1)' for below in others]
    return text + '.SH "SEE ALSO"\n' + ' ,\n'.join(names) + '\n'
