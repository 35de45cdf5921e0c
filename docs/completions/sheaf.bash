# bash completion for sheaf: commands and options as the tool itself tells them.
_sheaf() {
  local current=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]}
  local IFS=$'\n'
  if [ "$COMP_CWORD" -eq 1 ]; then
    mapfile -t COMPREPLY < <(compgen -W "$(sheaf --help 2>/dev/null | sed -n '/^Subcommands:/,$s/^  \([a-z-]*\) .*/\1/p')" -- "$current")
  elif [[ $current == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(sheaf "$command" --help 2>/dev/null | grep -oE -- '--[a-z0-9-]+' | sort -u)" -- "$current")
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
    compopt -o filenames
  fi
}
complete -F _sheaf sheaf
