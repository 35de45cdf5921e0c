# bash completion for sheaf: commands and options made from what the tool says of itself.
_sheaf() {
  local current=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]} words
  local IFS=$'\n'
  if [ "$COMP_CWORD" -eq 1 ]; then
    words=$(sheaf --help 2>/dev/null | sed -n 's/^  \([a-z][a-z]*\)  .*/\1/p')
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
  elif [[ $current == -* ]]; then
    words=$(sheaf "$command" --help 2>/dev/null | sed -n 's/^  \(-.,\)\{0,1\}\(--[a-z0-9-]*\).*/\2/p')
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
    compopt -o filenames 2>/dev/null
  fi
}
complete -F _sheaf sheaf
