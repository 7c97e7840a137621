#!/usr/bin/env bash
# Times `quorvel process` against SoX and ffmpeg: five minutes of stereo through a ten-band
# equaliser, file to file, each writing 32-bit float WAV. Takes the best of three rounds of each,
# in turn, and prints how many times faster quorvel is. Fails below 5 times SoX or 1 time ffmpeg.
#
# Usage: bench/compare_tools.sh [path to quorvel]
set -euo pipefail

readonly root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
readonly quorvel="${1:-$root/build/release/tools/quorvel}"
readonly profile="$root/profiles/games_equaliser.json"
readonly rounds=3
readonly work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# The bands of the profile: frequency, Q, gain.
readonly bands=(
  "31.25 1.41 3.0" "62.5 1.41 2.5" "125 1.41 1.0" "250 1.41 -1.5" "500 1.41 -2.0"
  "1000 1.41 0.5" "2000 1.41 2.5" "4000 1.41 4.0" "8000 1.41 2.0" "14000 1.41 1.0"
)
sox_effects=(gain -9.5)
ffmpeg_filters="volume=-9.5dB"
for band in "${bands[@]}"; do
  read -r frequency quality gain <<<"$band"
  sox_effects+=(equalizer "$frequency" "${quality}q" "$gain")
  ffmpeg_filters+=",equalizer=f=$frequency:t=q:w=$quality:g=$gain"
done

run_quorvel() { "$quorvel" process "$profile" "$work/in.wav" "$work/quorvel.wav"; }
run_sox() { sox "$work/in.wav" -e floating-point -b 32 "$work/sox.wav" "${sox_effects[@]}"; }
run_ffmpeg() {
  ffmpeg -y -nostdin -i "$work/in.wav" -af "$ffmpeg_filters" -c:a pcm_f32le "$work/ffmpeg.wav"
}

# Seconds that a command takes.
seconds() {
  local start end
  start=$(date +%s.%N)
  "$@" >"$work/log" 2>&1 || { cat "$work/log" >&2; return 1; }
  end=$(date +%s.%N)
  echo "$start $end" | awk '{ print $2 - $1 }'
}

sox -R -n -r 48000 -c 2 -b 16 "$work/in.wav" synth 300 pinknoise pinknoise gain -12
declare -A best
for ((round = 0; round < rounds; ++round)); do
  for tool in quorvel sox ffmpeg; do
    took=$(seconds "run_$tool")
    best[$tool]=$(echo "$took ${best[$tool]:-$took}" | awk '{ print $1 < $2 ? $1 : $2 }')
  done
done

echo "${best[quorvel]} ${best[sox]} ${best[ffmpeg]}" | awk '{
  printf "quorvel %.3f s, SoX %.3f s (%.1f times), ffmpeg %.3f s (%.1f times)\n",
         $1, $2, $2 / $1, $3, $3 / $1
  exit !($2 / $1 >= 5 && $3 / $1 > 1)
}'
