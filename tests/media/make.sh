#!/usr/bin/env bash
# Makes the real files of the tests with the distribution's ffmpeg, from its own test sources.
# The files are kept beside this script; run it only to make them anew:   tests/media/make.sh [FOLDER]
# The bits depend on the version of ffmpeg (here 5.1.9), not on the machine or the time.
set -euo pipefail

out=${1:-$(dirname "$0")}
mkdir -p "$out"

make_file() { ffmpeg -hide_banner -loglevel error -nostdin -y "$@"; }

picture() { printf 'testsrc2=duration=%s:size=%s:rate=%s' "$1" "$2" "$3"; }
# A tone with a beep each second.
tone() { printf 'sine=frequency=440:beep_factor=4:duration=%s:sample_rate=%s' "$1" "$2"; }

exact=(-fflags +bitexact -flags:v +bitexact -flags:a +bitexact -map_metadata -1 -threads 1)
# The reader refuses a sample entry with a box behind "esds": no "btrt" and no "pasp".
bare=(-write_btrt 0)

# Up to two B-frames between references, a key frame every 12 pictures, 100 chunks in each track, "moov" last.
make_file -f lavfi -i "$(picture 4 176x144 25)" -f lavfi -i "$(tone 4 44100)" -vf setsar=0 \
  -c:v mpeg4 -bf 2 -g 12 -b:v 160k -c:a aac -b:a 48k -ac 2 "${exact[@]}" "${bare[@]}" \
  "$out/bframes-aac.mp4"

# The same kind of picture with "moov" first, a rate of 30000/1001 and one chunk for the whole track.
make_file -f lavfi -i "$(picture 3 128x96 30000/1001)" -vf setsar=0 \
  -c:v mpeg4 -bf 1 -g 10 -b:v 100k -video_track_timescale 30000 -movflags +faststart "${exact[@]}" "${bare[@]}" \
  "$out/ntsc-faststart.mp4"

# H.263 in the 3GP flavour; the distribution has no AMR encoder, so there is no sound. It goes by way of a stream
# that does not know the field order or the pixel shape: muxed straight from the encoder, or after a look into
# the pictures, the entry gets "fiel" or "pasp" behind "d263" and is refused as well.
passing=$(mktemp --suffix=.nut)
trap 'rm -f "$passing"' EXIT
make_file -f lavfi -i "$(picture 3 176x144 15)" -vf setsar=0 -c:v h263 -g 15 -b:v 64k "${exact[@]}" "$passing"
make_file -nofind_stream_info -i "$passing" -c copy "${exact[@]}" "${bare[@]}" -f 3gp "$out/h263.3gp"

# Sound alone, mono at 22050 Hz, in the .m4a flavour.
make_file -f lavfi -i "$(tone 3 22050)" \
  -c:a aac -b:a 32k "${exact[@]}" "${bare[@]}" -f ipod "$out/aac.m4a"

# To be refused: what ffmpeg writes when nothing is asked, with "btrt" and "pasp" behind "esds".
make_file -f lavfi -i "$(picture 0.4 64x48 10)" \
  -c:v mpeg4 -b:v 20k "${exact[@]}" "$out/refused-btrt.mp4"
