#!/usr/bin/env bash
# Times the tool, qpdf and mutool on the same jobs in alternating runs: compare.sh FOLDER
# FOLDER holds what make_inputs.py writes, and any other PDF. Prints the median wall time of five
# runs in milliseconds and the peak memory in MiB; peers that are missing are left out.
set -u
folder=$1
sheaf=${SHEAF:-$(dirname "$0")/../build/release/tools/sheaf}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
runs=${RUNS:-5}

# measure NAME COMMAND...: one run, appended to the results of NAME
measure() {
  local name=$1 start end
  shift
  rm -f "$work"/[omq].pdf  # every run writes a new file
  start=$(date +%s%N)
  /usr/bin/time -f %M -o "$work/memory" "$@" >/dev/null 2>&1
  end=$(date +%s%N)
  echo "$(((end - start) / 1000000)) $(($(tail -n 1 "$work/memory") / 1024))" >>"$work/$name"
}

median() { [ -s "$work/$1" ] && sort -n "$work/$1" | awk '{a[NR]=$0} END {split(a[int((NR+1)/2)],m," "); printf "%s ms, %s MiB", m[1], m[2]}' || printf -- "-"; }

# job LABEL FILE: compares the commands in the arrays ours, qpdf_command, mutool_command
job() {
  rm -f "$work"/ours "$work"/qpdf "$work"/mutool
  for _ in $(seq "$runs"); do
    measure ours "${ours[@]}"
    [ ${#qpdf_command[@]} -gt 0 ] && command -v qpdf >/dev/null && measure qpdf "${qpdf_command[@]}"
    [ ${#mutool_command[@]} -gt 0 ] && command -v mutool >/dev/null && measure mutool "${mutool_command[@]}"
  done
  echo "| $1 | $2 | $(median ours) | $(median qpdf) | $(median mutool) |"
}

echo "| job | input | sheaf | qpdf | mutool |"
echo "|---|---|---|---|---|"
none=()
for file in "$folder"/*.pdf; do
  name=$(basename "$file" .pdf)
  pages=$("$sheaf" info --json "$file" 2>/dev/null | sed -n 's/.*"pages": *\([0-9]*\).*/\1/p')
  late=$(("$("$sheaf" info --json "$file" 2>/dev/null | sed -n 's/.*"objects": *\([0-9]*\).*/\1/p')" * 9 / 10))
  if [ "$name" = damaged ]; then
    ours=("$sheaf" repair "$file" "$work/o.pdf"); qpdf_command=(qpdf "$file" "$work/q.pdf")
    mutool_command=(mutool clean "$file" "$work/m.pdf")
    job "repair" "$name"
    continue
  fi
  ours=("$sheaf" info "$file"); qpdf_command=(qpdf --show-npages "$file")
  mutool_command=(mutool show "$file" trailer/Root/Pages/Count)
  job "open, page count" "$name"
  ours=("$sheaf" show "$file" "$late"); qpdf_command=(qpdf "--show-object=$late" "$file")
  mutool_command=(mutool show "$file" "$late")
  job "one late object" "$name"
  ours=("$sheaf" check "$file"); qpdf_command=(qpdf --check "$file"); mutool_command=(mutool clean -d "$file" "$work/m.pdf")
  job "read and decode all" "$name"
  ours=("$sheaf" rewrite "$file" "$work/o.pdf"); qpdf_command=(qpdf "$file" "$work/q.pdf")
  mutool_command=(mutool clean -g "$file" "$work/m.pdf")
  job "rewrite without garbage" "$name"
  cp "$file" "$work/in_place"
  ours=("$sheaf" update --in-place "$work/in_place" --set Title=New); qpdf_command=("${none[@]}"); mutool_command=("${none[@]}")
  job "update in place, one change" "$name"
  if [ "${pages:-0}" -gt 1100 ]; then
    ours=("$sheaf" merge "$work/o.pdf" "$file:1001-1100"); qpdf_command=(qpdf --empty --pages "$file" 1001-1100 -- "$work/q.pdf")
    mutool_command=(mutool merge -o "$work/m.pdf" "$file" 1001-1100)
    job "merge 100 pages" "$name"
  fi
  if [ "$name" = bigstreams ]; then
    ours=("$sheaf" rewrite --encrypt aes256 --user-password u "$file" "$work/o.pdf")
    qpdf_command=(qpdf --encrypt u o 256 -- "$file" "$work/q.pdf"); mutool_command=(mutool clean -E aes-256 -U u "$file" "$work/m.pdf")
    job "rewrite, AES-256" "$name"
    ours=(cp "$file" "$work/o.pdf"); qpdf_command=("${none[@]}"); mutool_command=("${none[@]}")
    job "cp, in the first column" "$name"
  fi
done
if [ -f "$folder/fullrefman.pdf" ] && [ -f "$folder/octave.pdf" ]; then
  both=("$folder/fullrefman.pdf" "$folder/octave.pdf")
  ours=("$sheaf" merge "$work/o.pdf" "${both[@]}"); qpdf_command=(qpdf --empty --pages "${both[@]}" -- "$work/q.pdf")
  mutool_command=(mutool merge -o "$work/m.pdf" "${both[@]}")
  job "merge whole manuals" "fullrefman, octave"
fi
