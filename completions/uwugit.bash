# Completion of uwugit's command line for bash. Commands, options and functions come from the command's own
# help, so that they are those of the version that is installed.

# The commands, one a line.
_uwugit_commands() { "$1" --help 2>/dev/null | sed -n '/^Subcommands:/,$ s/^  \([a-z][a-z-]*\) .*/\1/p'; }

# The options of a command, or those before the command when none is named.
_uwugit_options() { "$@" --help 2>/dev/null | grep -oE -e '(^  |,)--?[A-Za-z][a-z-]*' | tr -d ' ,'; }

# The names of branches, tags and the stash of the repository.
_uwugit_refs() { "$1" refs --columns name --format csv 2>/dev/null | tail -n +2 | tr -d '\r'; }

_uwugit() {
  local program=$1 word=$2 previous=$3 command='' i
  local commands=" $(_uwugit_commands "$program" | tr '\n' ' ')"
  for ((i = 1; i < COMP_CWORD; ++i)); do
    if [[ $commands == *" ${COMP_WORDS[i]} "* ]]; then
      command=${COMP_WORDS[i]}
      break
    fi
  done
  # The sign of --format=csv is a word of its own.
  if [[ $word == = ]]; then word=; elif [[ $previous == = ]]; then previous=${COMP_WORDS[COMP_CWORD - 2]}; fi
  COMPREPLY=()
  local candidates=''
  case $command:$previous:$word in
    diff:--format:*) candidates="table csv json jsonl stat numstat patch" ;;
    *:--format:*) candidates="table csv json jsonl" ;;
    *:--log-format:*) candidates="text json" ;;
    *:--log:* | *:--module:* | *:--path:*) ;;
    *:-C:* | *:--*-path:*)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -d -- "$word")
      return ;;
    *:*:-*) candidates=$(_uwugit_options "$program" $command) ;;
    :*) candidates=$commands ;;
    call:call:* | functions:functions:* | help:help:*)
      candidates=$("$program" functions 2>/dev/null | cut -d ' ' -f 1)
      if [[ $command == help ]]; then candidates+=$commands; fi ;;
    diff:*) candidates=$(_uwugit_refs "$program") ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$candidates" -- "$word")
}

# What is none of these is a file.
complete -o default -F _uwugit uwugit
