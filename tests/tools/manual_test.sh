#!/bin/bash
# manual_test.sh FOLDER TOOL: the pages of the manual and the completion for each shell, as they are installed under
# FOLDER. A shell that is not there is said so and left out.
set -eu
share=$1 tool=$2
failed=0
fail() {
  echo "$*"
  failed=1
}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export HOME=$scratch

commands=$("$tool" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z0-9-]*\) .*/\1/p')
[ -n "$commands" ] || fail "the tool names no commands"
for name in veltro $(printf 'veltro-%s ' $commands); do
  page=$share/man/man1/$name.1.gz
  problems=$(LC_ALL=C.UTF-8 MANWIDTH=100 man --warnings -l "$page" 2>&1 >"$scratch/page") || fail "$page does not print"
  [ -z "$problems" ] || fail "$name: $problems"
  grep -q '^ENVIRONMENT' "$scratch/page" || [ "$name" = veltro ] || fail "$name tells no variables"
  grep -q "^NAME" "$scratch/page" && grep -q "EXIT STATUS" "$scratch/page" || fail "$name: no name or status"
done
has() { LC_ALL=C.UTF-8 MANWIDTH=100 man -l "$share/man/man1/$1.1.gz" | grep -qE -- "$2" || fail "$1 does not say: $2"; }
has veltro 'veltro-keychain\(1\)'
has veltro-keychain '^   veltro keychain set \[OPTIONS\] SERVICE ACCOUNT'
has veltro-keychain 'Whether the item is synchronised \(one of any, no, yes; default: any\)'
has veltro-send '^ +--timeout FLOAT'

# The same questions to each shell: what may follow these words.
in_bash() {
  # shellcheck disable=SC1091
  (. "$share/bash-completion/completions/veltro"
   read -ra COMP_WORDS <<<"veltro $1"
   [[ $1 != *' ' && -n $1 ]] || COMP_WORDS+=('')
   COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
   _veltro
   printf '%s\n' "${COMPREPLY[@]}")
}
in_fish() { fish --no-config -c "source $share/fish/vendor_completions.d/veltro.fish; complete -C 'veltro $1'" | cut -f 1; }
in_zsh() {
  # shellcheck disable=SC2016 # zsh expands it
  zsh -f -c '_describe() { local name; for name in "${(@P)2}"; do print -r -- "${${name//\\:/$(printf "\1")}%%:*}"; done }
             _files() { print files }
             words=(${(z)1} "") ; CURRENT=$#words
             . "$2"' zsh "veltro $1" "$share/zsh/site-functions/_veltro"
}
# asked SHELL WORDS EXPECTED...: these are offered
asked() {
  shell=$1 words=$2
  shift 2
  offered=$("in_$shell" "$words") || fail "$shell fails after: veltro $words"
  for word in "$@"; do
    grep -qxF -- "$word" <<<"$offered" || fail "$shell does not offer $word after: veltro $words"
  done
}
for shell in bash fish zsh; do
  command -v $shell >/dev/null || { echo "skipped: $shell is not installed"; continue; }
  asked $shell '' keychain send view
  asked $shell 'keychain ' set get rm list
  asked $shell 'keychain set --sync ' any no yes
  asked $shell 'view ' loading alert
  [ $shell = zsh ] || asked $shell 'send --t' --text --timeout
done
if grep -qx send <<<"$(in_bash 'keychain ')"; then fail "bash offers send below keychain"; fi
if command -v zsh >/dev/null; then
  [ "$(in_zsh 'send --file ')" = files ] || fail "zsh offers no files where a file is wanted"
fi
exit $failed
