#!/usr/bin/env bash
# Makes the pictures of README.md and docs/ with the morvik tool. Run scripts/demo.sh first.
set -euo pipefail
cd "$(dirname "$0")/.."
morvik=build/demo/tools/morvik
to=docs/pictures
frame=(samples/hopper_frame_640x480.nv21 --raw nv21 --size 640x480)
mkdir -p "$to"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# The strip of the README: input, coarse mask, smooth mask, sticker, forehead.
"$morvik" resize samples/hopper.jpg --to 256x300 -o "$to/photo.jpg"
"$morvik" resize out/demo/mask_coarse.png --to 256x300 -o "$to/coarse.png"
"$morvik" resize out/demo/mask_smooth.png --to 256x300 -o "$to/smooth.png"
"$morvik" sticker "$to/photo.jpg" "$to/smooth.png" --expand 6 --color '#ffd60a' -o "$to/sticker.png"
"$morvik" forehead samples/hopper_landmarks106.txt --overlay samples/hopper.jpg -o "$scratch/face.png"
"$morvik" resize "$scratch/face.png" --to 256x300 -o "$to/forehead.jpg"

# Sharp edges: rows taken as packed, the direction of turns, growing by even and odd amounts.
"$morvik" convert "${frame[@]}" --format gray -o "$scratch/frame.gray"
head -c $((636 * 480)) "$scratch/frame.gray" >"$scratch/cut.gray"
"$morvik" resize "$scratch/cut.gray" --raw gray --size 636x480 --to 265x200 -o "$to/packed.jpg"
for angle in 90 180 270; do
  "$morvik" rotate "${frame[@]}" --angle "$angle" -o "$scratch/turned.nv21"
  size=640x480
  ((angle == 180)) || size=480x640
  small=160x120
  ((angle == 180)) || small=120x160
  "$morvik" resize "$scratch/turned.nv21" --raw nv21 --size "$size" --to "$small" -o "$to/turn_$angle.jpg"
done
"$morvik" resize "${frame[@]}" --to 160x120 -o "$to/turn_0.jpg"
"$morvik" fill-polygon --points '10,10 13,10 13,13 10,13' --size 24x24 -o "$scratch/dot.png"
"$morvik" resize "$scratch/dot.png" --to 120x120 --method nearest -o "$to/grown_0.png"
for amount in 1 2 3 6; do
  "$morvik" morph "$scratch/dot.png" --amount "$amount" -o "$scratch/grown.png"
  "$morvik" resize "$scratch/grown.png" --to 120x120 --method nearest -o "$to/grown_$amount.png"
done
