#!/usr/bin/env bash
# Times the tool, qpdf and mutool on the same jobs in alternating runs: compare.sh FOLDER
# FOLDER holds what make_inputs.py writes, and any other PDF. Prints processor time (user and system, in milliseconds)
# of RUNS runs (5), the least and the most of them, the peak memory in MiB, and the share of the tool in the least time
# of the faster peer. A program that has taken PATIENCE seconds (4) of it for a job is not run again, so that a whole table
# takes some five minutes. Peers that are missing are left out. To be run on a quiet machine.
set -u
folder=$1
sheaf=${SHEAF:-$(dirname "$0")/../build/release/tools/sheaf}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
runs=${RUNS:-5}
patience=${PATIENCE:-4}
TIMEFORMAT='%3U %3S %3R'

# measure NAME COMMAND...: one run, appended to the results of NAME as "processor-ms elapsed-ms MiB", unless it has
# taken its time already
measure() {
  local name=$1 used
  shift
  used=$(awk '{all += $1} END {print int(all / 1000)}' "$work/$name" 2>/dev/null)
  [ "${used:-0}" -ge "$patience" ] && return
  rm -f "$work"/[omq].pdf  # every run writes a new file
  { time /usr/bin/time -f %M -o "$work/memory" "$@" >/dev/null 2>&1; } 2>"$work/times"
  awk -v memory="$(tail -n 1 "$work/memory")" \
    '{printf "%.1f %.0f %.0f\n", ($1 + $2) * 1000, $3 * 1000, memory / 1024}' "$work/times" >>"$work/$name"
}

least() { sort -n "$work/$1" 2>/dev/null | awk 'NR == 1 {print $1}'; }

# cell NAME: "least to most ms, MiB", or a dash
cell() {
  [ -s "$work/$1" ] || { printf -- "-"; return; }
  sort -n "$work/$1" | awk '{if (NR == 1) least = $1; most = $1; if ($3 > memory) memory = $3}
    END {printf NR == 1 ? "%s ms, %s MiB, one run" : "%s to %s ms, %s MiB", least, NR == 1 ? memory : most, memory}'
}

share() {
  { least qpdf; least mutool; } | sort -n | awk -v ours="$(least ours)" \
    'NR == 1 && ours > 0 {printf "%.2f", ours / $1; found = 1} END {if (!found) printf "-"}'
}

# job LABEL FILE: compares the commands in the arrays ours, qpdf_command, mutool_command
job() {
  rm -f "$work"/ours "$work"/qpdf "$work"/mutool
  for _ in $(seq "$runs"); do
    measure ours "${ours[@]}"
    [ ${#qpdf_command[@]} -gt 0 ] && command -v qpdf >/dev/null && measure qpdf "${qpdf_command[@]}"
    [ ${#mutool_command[@]} -gt 0 ] && command -v mutool >/dev/null && measure mutool "${mutool_command[@]}"
  done
  echo "| $1 | $2 | $(cell ours) | $(cell qpdf) | $(cell mutool) | $(share) |"
}

echo "| job | input | sheaf | qpdf | mutool | share |"
echo "|---|---|---|---|---|---|"
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
