#!/usr/bin/env bash
# Makes the seeds anew:   fuzz/seeds/make.sh PROGRAM   where PROGRAM is a built ktmp4_make_seeds.
# The ffmpeg-* files come from the distribution's ffmpeg and its own test sources; the `found-*` files are inputs
# that have once broken something and are kept as they are.
set -euo pipefail

[[ $# == 1 ]] || { echo "usage: $0 PROGRAM" >&2; exit 2; }
here=$(dirname "$0")
"$1" "$here"

make_file() { ffmpeg -hide_banner -loglevel error -nostdin -y -filter_threads 1 "$@"; }
exact=(-fflags +bitexact -flags:v +bitexact -flags:a +bitexact -map_metadata -1 -threads 1)
picture=(-f lavfi -i "testsrc2=duration=0.4:size=32x32:rate=25")
tone=(-f lavfi -i "sine=duration=0.2:sample_rate=8000")

make_file "${picture[@]}" "${tone[@]}" -vf setsar=0 -c:v mpeg4 -bf 2 -g 5 -b:v 8k -c:a aac -b:a 8k \
  "${exact[@]}" -write_btrt 0 -f mp4 "$here/file/ffmpeg-bframes-aac"
make_file "${picture[@]}" -vf setsar=0 -c:v mpeg4 -b:v 8k -movflags +faststart "${exact[@]}" -write_btrt 0 \
  -f mp4 "$here/file/ffmpeg-faststart"
make_file "${picture[@]}" -c:v mpeg4 -b:v 8k "${exact[@]}" -f mp4 "$here/file/ffmpeg-refused-entry"
make_file "${picture[@]}" -vf setsar=0 -c:v mpeg4 -b:v 8k -movflags +frag_keyframe+empty_moov "${exact[@]}" \
  -write_btrt 0 -f mp4 "$here/file/ffmpeg-fragmented"
make_file "${tone[@]}" -c:a aac -b:a 8k "${exact[@]}" -write_btrt 0 -f ipod "$here/file/ffmpeg-m4a"
make_file "${tone[@]}" -c:a aac -b:a 8k "${exact[@]}" -f mov "$here/file/ffmpeg-quicktime"

mkdir -p "$here/adapt"
both=("${picture[@]}" "${tone[@]}" -vf setsar=0 -c:v mpeg4 -bf 2 -g 5 -b:v 8k -c:a aac -b:a 8k "${exact[@]}")
make_file "${both[@]}" -f mp4 "$here/adapt/ffmpeg-edits"
make_file "${both[@]}" -f mov "$here/adapt/ffmpeg-quicktime"
make_file "${both[@]}" -movflags +frag_keyframe+empty_moov+default_base_moof+negative_cts_offsets \
  -f mp4 "$here/adapt/ffmpeg-default-base"
make_file "${both[@]}" -movflags +frag_keyframe+delay_moov -f mp4 "$here/adapt/ffmpeg-fragments-and-edits"

# Calls of any kind: noise from a start that is always the same.
mkdir -p "$here/writer"
for start in 1 2 3 4 5 6; do
  python3 -c "import random, sys; sys.stdout.buffer.write(random.Random($start).randbytes(1500))" \
    >"$here/writer/noise-$start"
done

# The first byte says whether a name or captions follow; of captions each pair stands behind a step in time.
mkdir -p "$here/texts"
printf '\0ktmp4file://c:/films/a film.mp4&mdccid=window&cc=on&adapt=on&vmr9=0' >"$here/texts/url"
printf '\0C:\\films\\film&more.mp4' >"$here/texts/name"
printf '\1\1\x94\x25\1\x94\x25\1\x94\xad\1\xc8\xe5\1\xec\xec\1\xef\x80\1\x94\xad' >"$here/texts/roll-up"
printf '\1\1\x94\x20\1\x94\xae\1\x94\x70\1\xc8\xe5\1\xec\xec\1\x94\x2f\1\x94\x2c' >"$here/texts/pop-on"
printf '\1\1\x94\x29\1\xc8\xe5\xf4abcd\1\xec\xec\xff\x80\1\x94\x2a\1\xc8\xe5' >"$here/texts/paint-on-and-text"
