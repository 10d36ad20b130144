#!/usr/bin/env bash
# Runs the velmar command-line host on a generated sample outing:
#   scripts/demo.sh CLI OUTDIR
set -euo pipefail
cli=$1
out=$2
mkdir -p "$out"
sample="$out/sample.txt"
store="$out/sample.trn"

"$cli" --version
echo "== velmar sample $sample --laps 3 --rate 50"
"$cli" sample "$sample" --laps 3 --rate 50
echo "== velmar info $sample"
"$cli" info "$sample"
echo "== velmar channels $sample"
"$cli" channels "$sample"
echo "== velmar laps $sample"
"$cli" laps "$sample"
echo "== velmar regions $sample --finder segment --map $out/sample.map.json (first lap)"
"$cli" regions "$sample" --finder segment --map "$out/sample.map.json" | head -8
echo "== velmar regions $sample --finder outing"
"$cli" regions "$sample" --finder outing
echo "== velmar dump $sample Speed --to 0.1 --offset 5 (through a selection's offset filter)"
"$cli" dump "$sample" Speed --to 0.1 --offset 5
echo "== velmar align: a second car logged 13 s later on its own clock"
"$cli" sample "$out/second.txt" --laps 1 --rate 50 --seed 2 --clock 10:00:13 >/dev/null
"$cli" align "$sample" "$out/second.txt"
echo "== velmar convert $sample $store"
if "$cli" convert "$sample" "$store"; then
  echo "== velmar channels $store"
  "$cli" channels "$store"
  echo "== velmar laps $store"
  "$cli" laps "$store"
  echo "== velmar markers $store add --time 30, then laps, then reset"
  "$cli" markers "$store" add --time 30 && "$cli" laps "$store" | head -4 && "$cli" markers "$store" reset
else
  echo "(conversion to .trn failed; see the message above)"
fi
