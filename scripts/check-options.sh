#!/usr/bin/env bash
# The options that the programs' --help lists against those of the manual pages and of the completions for
# bash, zsh and fish, each asked as its shell asks it; and the pages themselves: check-options.sh BUILD
# What isn't there (mandoc, zsh, fish) is left out with a line; with --all it fails.
set -euo pipefail
build=$(realpath "${1:?usage: check-options.sh BUILD [--all]}")
all=${2:-}
packaging=$(realpath "$(dirname "$0")/../packaging")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
wrong=0
complain() { echo "check-options: $1" >&2; wrong=1; }
has() {
  command -v "$1" >/dev/null && return
  [[ -z $all ]] || complain "$1 is not there"
  echo "check-options: without $1" >&2
  return 1
}

# help PROGRAM [COMMAND]: one option a line. "--no-text{false}" is how a flag that clears is listed; what begins
# with --help- lists a toolkit's own.
help() {
  "$build/$1" ${2:+"$2"} --help |
    sed -nE 's/^  ((-[a-z]),)? ?(--[a-z-]+).*/\2\n\3/p' | grep . | grep -v '^--help-' | sort -u
}
faults() { "$build/quorvid-sim" --help | sed -n '/^Faults, written/,$s/^  \([a-z][a-z-]*\) .*/\1/p' | sort; }
commands() { "$build/quorvid" --help | sed -n '/^Subcommands:/,$s/^  \([a-z]*\) .*/\1/p' | sort; }

# same WHAT EXPECTED FILE: both sorted.
same() {
  diff "$work/$2" "$work/$3" >"$work/diff" || { complain "$1: < --help, > there"; cat "$work/diff" >&2; }
}

# The heads of the list items: ".It Fl h , Fl -help". Short ones in lists of words don't begin so.
page_options() { sed -nE 's/^\.It (Fl .*)/\1/p' "$1" | grep -oE 'Fl -?[a-z-]+' | sed 's/Fl /-/' | sort -u; }

bash_options() {
  bash -euo pipefail -c 'source "$1"; shift
    COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); COMPREPLY=()
    "$(complete -p "$1" | sed "s/.*-F \([^ ]*\) .*/\1/")"
    printf "%s\n" "${COMPREPLY[@]}"' bash "$packaging/completion/quorvid.bash" "$@"
}
# What a terminal of zsh's own offers behind a line, for Tab: compadd writes it down on its way, and a key
# pressed after Tab says that all is there.
cat >"$work/setup.zsh" <<'END'
fpath=("$QUORVID_COMPLETION" $fpath)
autoload -Uz compinit; compinit -u -D
setopt no_auto_list no_beep
compadd() {
  local -a offered
  builtin compadd -O offered "$@"
  print -rl -- $offered >>"$QUORVID_WORK/offered"
  builtin compadd "$@"
}
ready() { : >"$QUORVID_WORK/ready" }
zle -N ready
bindkey '^I' complete-word '^X^R' ready
END
cat >"$work/ask.zsh" <<'END'
zmodload zsh/zpty
zpty terminal zsh -f -i
send() {
  local nothing
  rm -f $QUORVID_WORK/ready
  zpty -w -n terminal "$1"
  repeat 300; do
    zpty -r -t terminal nothing
    [[ -e $QUORVID_WORK/ready ]] && return
    sleep 0.1
  done
  print -u2 "zsh gives no answer"
}
send "source $QUORVID_WORK/setup.zsh"$'\n\x18\x12'
for line in "$@"; do
  : >$QUORVID_WORK/offered
  send "$line"$'\t\x18\x12\x15'
  cat $QUORVID_WORK/offered
done
END
zsh_offers() {
  QUORVID_COMPLETION=$packaging/completion QUORVID_WORK=$work timeout 120 zsh -f "$work/ask.zsh" "$1" |
    sort -u
}
# shellcheck disable=SC2016  # fish's own
fish_options() {
  XDG_CONFIG_HOME=$work/home HOME=$work/home fish --no-config -c 'source $argv[1]; complete -C "$argv[2]"' \
    "$packaging/completion/$1.fish" "$2" | cut -f 1
}

check() {
  local program=$1 command=${2:-} page=$1${2:+-$2}
  help "$program" "$command" >"$work/help"
  [[ $(wc -l <"$work/help") -gt 1 ]] || complain "$page: --help lists nothing"
  page_options "$packaging/man/$page.1" >"$work/page"
  same "$page(1)" help page
  grep -e '^--' "$work/help" >"$work/long"
  bash_options "$program" ${command:+"$command"} -- | sort -u >"$work/bash"
  same "bash: $page" long bash
  if has zsh; then
    zsh_offers "$program ${command:+$command }--" | grep -e '^--' >"$work/zsh" || true
    same "zsh: $page" long zsh
  fi
  if has fish; then
    fish_options "$program" "$program ${command:+$command }--" | grep -e '^--' | sort -u >"$work/fish"
    same "fish: $page" long fish
  fi
}

check quorvid
check quorvid-sim
if [[ -x $build/quorvid-desk ]]; then
  LC_ALL=C check quorvid-desk
else
  [[ -z $all ]] || complain "quorvid-desk is not built"
  echo "check-options: without quorvid-desk" >&2
fi
for command in $(commands); do check quorvid "$command"; done

# The commands, and what may go wrong.
commands >"$work/help"
bash_options quorvid '' | grep -v ^- | sort >"$work/bash"
same "bash: commands" help bash
sed -n 's/^\.It Cm \([a-z]*\)$/\1/p' "$packaging/man/quorvid.1" | sort >"$work/page"
same "quorvid(1): commands" help page
faults >"$work/help"
bash_options quorvid-sim --fault '' | sort >"$work/bash"
same "bash: faults" help bash
sed -n '/^What can go wrong/,$s/^\.It Cm //p' "$packaging/man/quorvid-sim.1" | sort >"$work/page"
same "quorvid-sim(1): faults" help page
if has zsh; then
  zsh_offers 'quorvid-sim --fault ' >"$work/zsh"
  same "zsh: faults" help zsh
fi
if has fish; then
  fish_options quorvid-sim 'quorvid-sim --fault ' | sort >"$work/fish"
  same "fish: faults" help fish
  commands >"$work/help"
  fish_options quorvid 'quorvid ' | sort >"$work/fish"
  same "fish: commands" help fish
fi

# Every function of the C interface is in the overview, and none else.
grep -oE '\bquorvid_[a-z0-9_]+\(' "$packaging/../include/quorvid/quorvid.h" | tr -d '(' | sort -u >"$work/header"
grep -oE '^\.Fn quorvid_[a-z0-9_]+' "$packaging/man/quorvid.3" | cut -d ' ' -f 2 | sort -u >"$work/page"
same "quorvid(3)" header page

for page in "$packaging"/man/*; do
  if has mandoc; then
    # Which other pages this machine has is no matter.
    mandoc -Tlint -W style "$page" >"$work/lint" 2>&1 || true
    grep -v -e 'referenced manual not found' -e 'mandoc.db' "$work/lint" >&2 && complain "$page"
  fi
  if has man; then
    MANROFFSEQ='' MANWIDTH=80 man --warnings -l "$page" 2>&1 >/dev/null | grep . >&2 && complain "$page"
  fi
done
exit $wrong
