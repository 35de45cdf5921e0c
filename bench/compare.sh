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
for file in "$folder"/*.pdf; do
  name=$(basename "$file" .pdf)
  ours=("$sheaf" info "$file"); qpdf_command=(qpdf --show-npages "$file"); mutool_command=(mutool show "$file" trailer/Root/Pages/Count)
  job "open, page count" "$name"
  ours=("$sheaf" check "$file"); qpdf_command=(qpdf --check "$file"); mutool_command=(mutool clean -d "$file" "$work/m.pdf")
  job "read and decode all" "$name"
  ours=("$sheaf" rewrite "$file" "$work/o.pdf"); qpdf_command=(qpdf "$file" "$work/q.pdf"); mutool_command=(mutool clean -g "$file" "$work/m.pdf")
  job "rewrite without garbage" "$name"
  cp "$file" "$work/in_place.pdf"
  ours=("$sheaf" update --in-place "$work/in_place.pdf" --set Title=New); qpdf_command=(); mutool_command=()
  job "update in place, one change" "$name"
  ours=("$sheaf" rewrite --encrypt aes256 --user-password u "$file" "$work/o.pdf")
  qpdf_command=(qpdf --encrypt u o 256 -- "$file" "$work/q.pdf"); mutool_command=(mutool clean -E aes-256 -U u "$file" "$work/m.pdf")
  job "rewrite, AES-256" "$name"
done
