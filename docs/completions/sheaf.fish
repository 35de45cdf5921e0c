# fish completion for sheaf: commands and options made from what the tool says of itself.
complete -c sheaf -n __fish_use_subcommand -f -a "(sheaf --help 2>/dev/null | sed -n 's/^  \([a-z][a-z]*\)  *\(.*\)/\1\t\2/p')"
complete -c sheaf -n 'not __fish_use_subcommand' -a "(sheaf (commandline -opc)[2] --help 2>/dev/null | sed -n 's/^  \(-.,\)\{0,1\}\(--[a-z0-9-]*\).*/\2/p')"
