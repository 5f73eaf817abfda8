#!/usr/bin/env bash
# make_films.sh MEDIA OUT   makes in OUT the films that need this machine's encoders, and of these and of those of the
# folder MEDIA what ffmpeg decodes: NAME.i420 with all pictures, NAME.s16 with all sound.
set -euo pipefail

media=$1 out=$2
mkdir -p "$out"

make_file() { ffmpeg -hide_banner -loglevel error -nostdin -y "$@"; }
exact=(-fflags +bitexact -flags:v +bitexact -flags:a +bitexact -map_metadata -1 -threads 1)

# Groups of pictures with B-frames that others lean on, and what writers of today put into a file besides.
make_file -f lavfi -i testsrc2=duration=2:size=160x96:rate=25 -f lavfi -i sine=frequency=440:duration=2 \
  -c:v libx264 -bf 3 -g 15 -pix_fmt yuv420p -c:a aac -b:a 32k "${exact[@]}" "$out/h264-aac.mp4"

# amr HEADER FRAME LENGTH: a second of noise, since nothing here codes speech. The frames hold LENGTH bytes.
amr() {
  printf '%s\n' "$1"
  local hex i
  for i in {1..50}; do
    hex=$(sha256sum <<<"$i")
    hex=${hex%% *}$hex
    # shellcheck disable=SC2059
    printf "\\x$2$(sed 's/../\\x&/g' <<<"${hex:0:$3*2}")"
  done
}
amr '#!AMR' 3c 31 >"$out/amr"
make_file -i "$out/amr" -c copy "${exact[@]}" -write_btrt 0 "$out/amr.3gp"
amr '#!AMR-WB' 44 60 >"$out/amr"
make_file -i "$out/amr" -c copy "${exact[@]}" "$out/amr-wide.3gp"

for film in "$media"/bframes-aac.mp4 "$media"/h263.3gp "$out"/*.mp4 "$out"/*.3gp; do
  name=$out/$(basename "$film") kinds=$(ffprobe -v error -show_entries stream=codec_type -of csv=p=0 "$film")
  # Everything that the file holds, whether it is to be shown or not.
  whole=(-ignore_editlist 1 -flags2 +skip_manual -i "$film")
  [[ $kinds != *video* ]] || make_file "${whole[@]}" -fps_mode passthrough -f rawvideo -pix_fmt yuv420p "$name.i420"
  [[ $kinds != *audio* ]] || make_file "${whole[@]}" -vn -f s16le "$name.s16"
done
