#!/bin/sh
# The sounds of the voice key's benchmark, at full scale, 44100 Hz, 8 bits, mono: a tone, a
# noise burst and a spoken word. The benchmark scales each to its level and puts it over a hiss.
# Usage: make_voice_sounds.sh FOLDER   (needs sox and espeak-ng)
set -eu
out=${1:?usage: make_voice_sounds.sh FOLDER}
mkdir -p "$out"
fmt="-r 44100 -c 1 -b 8 -e unsigned"
# No dither: the levels are set by the benchmark, and the silence must stay silent.
sox -D -n $fmt "$out/tone.wav" synth 0.4 sine 440 gain -1
sox -D -n $fmt "$out/noise.wav" synth 0.4 whitenoise gain -1
espeak-ng -w "$out/word.raw.wav" "picture"
# The word's own leading silence goes, so that its first sound stands where it is put.
sox -D "$out/word.raw.wav" $fmt "$out/word.wav" silence 1 0.002 0.5% norm -3
rm "$out/word.raw.wav"
echo "$out: tone.wav noise.wav word.wav"
