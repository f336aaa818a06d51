# bash completion for ovk: commands, the options that the tool's help names, identifiers on the bus, files.

_ovk() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} commands word command=()
  local tool=$1 bus=()
  COMPREPLY=()
  commands=$("$tool" --help 2>/dev/null | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
  for ((i = 1; i < COMP_CWORD; ++i)); do
    word=${COMP_WORDS[i]}
    [ "$word" = --bus ] && bus=(--bus "${COMP_WORDS[i + 1]}")
    [ ${#command[@]} = 0 ] && [[ " "${commands//$'\n'/ }" " == *" $word "* ]] && command=("$word")
  done

  case "$previous" in
  --bus) compopt -o dirnames; return ;;
  --config) compopt -o default; return ;;
  --as) mapfile -t COMPREPLY < <(compgen -W "u16 i16 hex u32 i32 f32" -- "$current"); return ;;
  --timeout | --count | --every | --*-ms | --*-every) return ;;
  esac
  if [[ $current == -* ]]; then
    word=$({ "$tool" --help; "$tool" "${command[@]}" --help; } 2>/dev/null | grep -o -- '--[a-z][a-z-]*')
  elif [ ${#command[@]} = 0 ] && [ "$previous" != --id ]; then
    word=$commands
  elif [ "${command[0]}" = sim ] && [ "$previous" != --id ]; then
    compopt -o default
    return
  else
    word=$("$tool" "${bus[@]}" topology 2>/dev/null | grep -o '^VR[^ ]*')
    [ "$previous" = topology ] && word+=" add remove"
  fi
  mapfile -t COMPREPLY < <(compgen -W "$word" -- "$current")
}

complete -F _ovk ovk
