#!/usr/bin/env bash
# The tinted desktop picture from photos of 1920 × 1080, 3840 × 2160 and 6000 × 4000 pixels for a
# 1920 × 1080 monitor under a 33-pixel panel: CPU time and peak memory of one render by Quillet
# (decode, fill, crop, strip in the average colour of the picture's own top strip, JPEG 92), each
# in a process of its own, against one ImageMagick command doing the same job; then the PSNR of
# Quillet's picture against ImageMagick's (Lanczos resize) and against an area-averaging resize.
# Prints a table; asserts nothing.
# Usage: bench/wallpaper.sh [PATH-TO-BENCH_WALLPAPER] [RUNS]
set -uo pipefail

repo=$(cd "$(dirname "$0")/.." && pwd)
bench=${1:-$repo/build/bench/bench_wallpaper}
runs=${2:-3}
convert=/usr/bin/convert
[ -x "$convert" ] || { echo "ImageMagick's convert is not installed" >&2; exit 77; }
work=$(mktemp -d "${TMPDIR:-/tmp}/quillet-bench-wallpaper.XXXXXX")
trap 'rm -rf "$work"' EXIT
export XDG_DATA_HOME=$work/data XDG_CONFIG_HOME=$work/config QT_QPA_PLATFORM=offscreen

panel=33
# "user-seconds system-seconds peak-KiB" of a command, the best of $runs runs.
measure() {
  local best="" line cpu
  for ((i = 0; i < runs; i++)); do
    line=$(/usr/bin/time -f '%U %S %M' "$@" 2>&1 >/dev/null | tail -n 1)
    cpu=$(awk '{ printf "%.3f", $1 + $2 }' <<<"$line")
    if [ -z "$best" ] || awk -v a="$cpu" -v b="${best%% *}" 'BEGIN { exit !(a < b) }'; then
      best="$cpu $(awk '{ print $3 }' <<<"$line")"
    fi
  done
  echo "$best"
}
psnr() { compare -metric PSNR "$1" "$2" null: 2>&1 | awk '{ print $1 }'; }

printf '%-10s | %-22s | %-22s | %-13s | %-13s\n' photo "Quillet CPU s / peak MiB" \
  "convert CPU s / peak MiB" "PSNR vs IM dB" "PSNR vs area dB"
for size in 1920x1080 3840x2160 6000x4000; do
  w=${size%x*} h=${size#*x}
  photo=$work/photo-$size.jpg
  "$bench" --make-photo "$w" "$h" "$photo" || { echo "could not make $photo" >&2; exit 1; }
  # The strip samples 2 % of the picture scaled to fill, at least the panel's share of it.
  fill_h=$(awk -v w="$w" -v h="$h" 'BEGIN { f = 1920 * h / w; print (f > 1080 ? int(f + 0.5) : 1080) }')
  rows=$(awk -v p="$panel" -v f="$fill_h" 'BEGIN { r = p / 1080; if (r < 0.02) r = 0.02; print int(r * f) }')
  ours=$work/ours-$size.jpg theirs=$work/im-$size.jpg area=$work/area-$size.png
  read -r our_cpu our_kib < <(measure "$bench" --render-once "$photo" "$ours" 1920 1080 "$panel")
  read -r im_cpu im_kib < <(measure "$convert" "$photo" -resize '1920x1080^' \
    \( +clone -crop "x$rows+0+0" +repage -scale '1x1!' -scale "1920x$panel!" -write mpr:strip +delete \) \
    -gravity center -extent 1920x1080 mpr:strip -gravity north -composite -quality 92 "$theirs")
  # The reference for aliasing: every pixel the mean of the photo's pixels under it.
  "$convert" "$photo" -filter box -resize '1920x1080^' -gravity center -extent 1920x1080 \
    \( "$theirs" -crop "1920x$panel+0+0" +repage \) -gravity north -composite "$area"
  printf '%-10s | %8s / %-11s | %8s / %-11s | %-13s | %-13s\n' "$size" \
    "$our_cpu" "$(awk -v k="$our_kib" 'BEGIN { printf "%.0f", k / 1024 }')" \
    "$im_cpu" "$(awk -v k="$im_kib" 'BEGIN { printf "%.0f", k / 1024 }')" \
    "$(psnr "$ours" "$theirs")" "$(psnr "$ours" "$area")"
done
