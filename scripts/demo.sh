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
echo "== velmar delta $sample --lap 3 --ref 2 --step 500 (lap 3 brakes later)"
"$cli" delta "$sample" --lap 3 --ref 2 --step 500
echo "== velmar plot $sample Speed Throttle \"Brake Pressure\" Gear --laps 2,3 --delta"
"$cli" --no-progress plot "$sample" Speed Throttle "Brake Pressure" Gear --laps 2,3 --delta -o "$out/overlay.png" \
  | sed 's/^/lap overlay with time delta: /'
echo "== velmar trackmap $sample --lap 3 --map $out/sample.map.json"
"$cli" --no-progress trackmap "$sample" --lap 3 --map "$out/sample.map.json" -o "$out/trackmap.png" \
  | sed 's/^/track map: /'
echo "== velmar math $sample --def data/math/sample_math.json (channels computed by expressions, through the add-in)"
"$cli" math "$sample" --def "$(dirname "$0")/../data/math/sample_math.json" --channels Speed_kmh "Tyre temperature front" "Lateral g" --to 0.1
echo "== velmar addins list"
"$cli" addins list
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
echo "== velmar rt-serve $store --speed 40 (in the background), then velmar follow for 4 s"
if [ -f "$store" ]; then
  "$cli" --no-progress rt-serve "$store" --speed 40 --name Demo > "$out/rt-address.txt" &
  server=$!
  for _ in $(seq 50); do [ -s "$out/rt-address.txt" ] && break; sleep 0.1; done
  address=$(head -1 "$out/rt-address.txt")
  echo "serving $address"
  "$cli" follow "$address" --for 4 --channels Speed,Gear || true
  kill -INT "$server" 2>/dev/null || true
  wait "$server" 2>/dev/null || true
fi
mat=tests/data/matfile/write_information_rewrite.mat
echo "== velmar info $mat (a MAT-file: channels are n x 2 matrices, information character variables)"
"$cli" info "$mat"
echo "== velmar channels $mat"
"$cli" channels "$mat"
if [ -f "$store" ]; then
  echo "== velmar constants $store add Toe 1.5 --unit deg; info set \"First lap number=5\"; blobs add"
  "$cli" constants "$store" add Toe 1.5 --unit deg && "$cli" constants "$store" | grep Toe
  "$cli" info "$store" set "Driver name=Demo Driver" "First lap number=5" && "$cli" laps "$store" | head -3
  printf 'demo setup sheet' > "$out/setup.txt"
  "$cli" blobs "$store" add "Setup sheet" "$out/setup.txt" && "$cli" blobs "$store"
fi
echo "== velmar export $sample: Speed and Gear with the events at 10 Hz, to text (the first 95 s) and to .trn"
rm -f "$out/export.txt" "$out/export.trn"
"$cli" export "$sample" "$out/export.txt" --channels Speed,Gear --events --to 95 --rate 10
"$cli" dump "$out/export.txt" Speed Gear --from 10 --to 10.5
"$cli" export "$sample" "$out/export.trn" --channels Speed,Gear --events --rate 10
echo "== velmar events $out/export.trn remove: the first lap end goes"
first=$("$cli" events "$out/export.trn" | sed -n 2p | cut -f1)
if [ -n "$first" ]; then
  "$cli" events "$out/export.trn" remove --name "End of lap" --time "$first" && "$cli" events "$out/export.trn"
fi
echo "== velmar clip, velmar media $store add, velmar frame: onboard video bound to the data's time"
if [ -f "$store" ]; then
  "$cli" media "$store" remove Onboard >/dev/null 2>&1 || true
  "$cli" clip "$out/onboard.mp4" --seconds 8 --width 640 --height 360
  "$cli" media "$store" add Onboard "$out/onboard.mp4" --start 10 --end 18 --folder "$out/media"
  "$cli" media "$store" list
  "$cli" frame "$store" Onboard --at 12.5 -o "$out/frame.png"
  echo "== velmar play $store --rate 5 --for 1 --channels Speed"
  "$cli" play "$store" --rate 5 --for 1 --channels Speed | head -6
  # The store's laps are numbered from 5 since the information edit above: its
  # second and third laps are "Lap 6" and "Lap 7".
  echo "== velmar play $store --media Lap2 --lap 6 --against $store --against-lap 7 --by distance"
  echo "   (the second lap's video kept to the place on the circuit where the third lap is; its sound to a WAV file at 1x)"
  "$cli" media "$store" remove Lap2 >/dev/null 2>&1 || true
  "$cli" clip "$out/lap2.mp4" --seconds 93 --width 320 --height 180 --tone 440
  "$cli" media "$store" add Lap2 "$out/lap2.mp4" --start 94.4 --end 187.4 --folder "$out/media"
  "$cli" play "$store" --media Lap2 --lap 6 --against "$store" --against-lap 7 --by distance --rate 5 --for 1 | head -6
  "$cli" play "$store" --media Lap2 --lap 6 --rate 2 --for 1 --audio "$out/lap2.wav" | tail -2
fi
echo "== velmar export $sample to .xlsx and .xls: the three sheets, channels on a 100 ms grid with the events"
rm -f "$out/export.xlsx" "$out/export.xls"
"$cli" export "$sample" "$out/export.xlsx" --channels Speed,Gear --events --info --to 95 --period 100
"$cli" export "$sample" "$out/export.xls" --channels Speed,Gear --events --to 95 --period 100
