#!/usr/bin/env bash
# Makes the test videos.
# usage: make_media.sh GENERATOR FOLDER SET FINGERPRINT
#   SET          clips, bench for the large clips of the benchmarks, or sample for the demonstration alone
#   FINGERPRINT  changes when the clips would; a folder that already has the set by that name is left alone
# Several builds may share one folder: one makes the clips, the others wait for it. Finished files are moved into
# place one by one.
set -euo pipefail

generator=$1 folder=$2 set=$3 fingerprint=$4
mkdir -p "$folder"
exec 9>"$folder/.lock"
flock 9
stamp="$folder/.made-$set"
if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$fingerprint" ]; then
  exit 0
fi
work=$(mktemp -d "$folder/.work-XXXXXX")
trap 'rm -rf "$work"' EXIT
out="$work/out"
mkdir "$out"

ff() { ffmpeg -nostdin -hide_banner -loglevel error -y "$@"; }

# encode SECONDS_RATE FRAMES NAME OPTIONS... : counter pictures 1 … FRAMES, 320x180, into NAME
encode() {
  local rate=$1 frames=$2 name=$3
  shift 3
  ff -f rawvideo -pix_fmt rgb24 -s 320x180 -r "$rate" -i "$work/base.rgb" -frames:v "$frames" "$@" "$out/$name"
}

# sized WIDTH HEIGHT FRAMES NAME OPTIONS... : the same in another size, 25 per second
sized() {
  local width=$1 height=$2 frames=$3 name=$4
  shift 4
  "$generator" counter "$width" "$height" 1 "$frames" |
    ff -f rawvideo -pix_fmt rgb24 -s "${width}x$height" -r 25 -i - "$@" "$out/$name"
}

# same_time GROUP NAME OPTIONS... : 100 counter pictures, of which the first two, GROUP from number 51 on and the last
# two have one decode time stamp each. Made with intervals of 635 units there, which nobody else has; the table of intervals then
# gets 0 for each.
same_time() {
  local group=$1 name=$2
  shift 2
  encode 25 100 "$name" "$@" -fps_mode passthrough -enc_time_base 1/12800 -video_track_timescale 12800 \
    -vf "settb=1/12800,setpts='N*512+123*(gte(N,1)+clip(N-50,0,$((group - 1)))+gte(N,99))'"
  LC_ALL=C sed -i 's/\x00\x00\x00\([\x01-\x14]\)\x00\x00\x02\x7b/\x00\x00\x00\1\x00\x00\x00\x00/g' "$out/$name"
}

# H.264 with the B-frames and references that make the decoder hold two frames back, and without any.
x264=(-c:v libx264 -preset veryfast -pix_fmt yuv420p -threads 1)
plain=("${x264[@]}" -bf 0)
hevc=(-c:v libx265 -preset ultrafast -pix_fmt yuv420p -tag:v hvc1)
tone=(-f lavfi -i "sine=frequency=440:duration=4")

make_structures() {
  encode 25 250 bframes.mp4 "${x264[@]}" -g 50
  encode 25 250 plain.mp4 "${plain[@]}" -g 50
  encode 25 150 open_gop.mp4 "${x264[@]}" -x264-params keyint=25:open-gop=1:bframes=3
  encode 25 300 gop_250.mp4 "${x264[@]}" -x264-params keyint=250:min-keyint=250:scenecut=0
  sized 1920 1080 300 gop_250_1080p.mp4 -c:v libx264 -preset ultrafast -pix_fmt yuv420p -threads 1 \
    -x264-params keyint=250:min-keyint=250:scenecut=0
  encode 25 100 interlaced.mp4 "${x264[@]}" -g 25 -flags +ilme+ildct -x264-params tff=1
  ff -ss 3.3 -i "$out/bframes.mp4" -c copy "$out/edit_list.mp4"
  ff -i "$out/bframes.mp4" -c copy -movflags frag_keyframe+empty_moov+default_base_moof "$out/fragmented.mp4"
  ff -i "$out/bframes.mp4" -c copy -f mov "$out/bframes.mov"
  ff -itsoffset 1 -i "$out/plain.mp4" -c copy "$out/late_start.mp4"
  encode 25 120 variable_rate.mp4 "${plain[@]}" -g 25 -fps_mode passthrough -enc_time_base 1/90000 \
    -vf "settb=1/90000,setpts='N*3000+mod(N*N,7)*300'" -video_track_timescale 90000
  same_time 21 same_time.mp4 "${plain[@]}" -g 5
  # Without the edit list, which would hide some of the moved ones.
  same_time 3 same_time_bframes.mp4 "${x264[@]}" -g 20 -use_editlist 0
  ff -i "$out/plain.mp4" "${tone[@]}" -map 1:a -map 0:v -c:v copy -c:a aac "$out/audio_first.mp4"
  ff -f rawvideo -pix_fmt rgb24 -s 320x180 -r 25 -i "$work/base.rgb" \
    -f rawvideo -pix_fmt rgb24 -s 160x96 -r 25 -i "$work/second.rgb" \
    -map 0:v -map 1:v -frames:v 60 "${plain[@]}" "$out/two_videos.mp4"
  # One header, then pictures of another size with headers of their own in the stream.
  encode 25 50 first.h264 "${plain[@]}" -g 25
  "$generator" counter 240 136 51 50 | ff -f rawvideo -pix_fmt rgb24 -s 240x136 -r 25 -i - "${plain[@]}" -g 25 \
    "$out/second.h264"
  cat "$out/first.h264" "$out/second.h264" > "$work/both.h264"
  ff -r 25 -f h264 -i "$work/both.h264" -c copy "$out/size_change.mp4"
  rm "$out/first.h264" "$out/second.h264"
}

make_codecs() {
  encode 25 120 mpeg4_bframes.mp4 -c:v mpeg4 -bf 2 -q:v 3 -g 24
  encode 25 120 hevc.mp4 "${hevc[@]}" -x265-params log-level=none:pools=1:frame-threads=1:keyint=40:bframes=3
  encode 25 60 hevc_10bit_full.mp4 "${hevc[@]}" -vf scale=out_range=full -pix_fmt yuv420p10le -color_range pc \
    -x265-params log-level=none:pools=1:frame-threads=1:keyint=30:range=full
  encode 25 40 prores.mov -c:v prores_ks -profile:v 2 -pix_fmt yuv422p10le -threads 1
  encode 25 60 h264_10bit.mp4 "${x264[@]}" -pix_fmt yuv420p10le
  encode 25 60 full_range.mp4 "${x264[@]}" -vf scale=out_range=full -pix_fmt yuvj420p -color_range pc
  encode 25 60 bt709.mp4 "${x264[@]}" -vf scale=out_color_matrix=bt709 -colorspace bt709 -color_primaries bt709 \
    -color_trc bt709 -color_range tv
  ff -f lavfi -i smptehdbars=size=320x180:rate=25 -frames:v 20 "${plain[@]}" -crf 10 \
    -vf scale=out_color_matrix=bt709 -colorspace bt709 -color_primaries bt709 -color_trc bt709 -color_range tv \
    "$out/bars_bt709.mp4"
  ff -f lavfi -i smptehdbars=size=320x180:rate=25 -frames:v 20 "${plain[@]}" -crf 10 "$out/bars.mp4"
  sized 321 181 60 odd_321x181.mp4 -c:v mpeg4 -q:v 3 -g 12
  sized 321 181 40 odd_321x181.mov "${x264[@]}" -pix_fmt yuv444p
  sized 1 1 30 one_pixel.mp4 -c:v mpeg4 -q:v 3 -g 12
  sized 16400 16 4 wide_16400x16.mov -c:v png
  sized 8192 16 30 wide_8192x16.mp4 "${plain[@]}"
  sized 854 480 20 width_854.mp4 "${plain[@]}"
  sized 1080 608 20 width_1080.mp4 "${plain[@]}"
  sized 1366 768 12 width_1366.mp4 "${plain[@]}"
}

make_rates() {
  local name rate
  for name in 23976:24000/1001 25:25 2997:30000/1001 30:30 50:50 60:60 120:120 240:240; do
    rate=${name#*:}
    encode "$rate" 120 "fps_${name%%:*}.mp4" "${x264[@]}" -g 30
  done
  encode 90000 30 fps_90000.mp4 "${plain[@]}" -video_track_timescale 90000
  encode 5 300 fps_5.mp4 "${plain[@]}"
  encode 1/20 6 slow_one_per_20s.mp4 "${plain[@]}"
}

make_lengths() {
  encode 25 1 one_frame.mp4 "${plain[@]}"
  encode 25 2 two_frames.mp4 "${plain[@]}"
  ff -i "$out/bframes.mp4" -c copy -frames:v 1 "$out/one_frame_bframes.mp4"
  ff -i "$out/bframes.mp4" -c copy -frames:v 2 "$out/two_frames_bframes.mp4"
}

make_damaged() {
  local size part
  ff -i "$out/bframes.mp4" -c copy -movflags +faststart "$work/index_first.mp4"
  size=$(stat -c %s "$work/index_first.mp4")
  for part in 0 1 2 3 4 5 6 7 8 9; do
    head -c $((size * (5 + part * 10) / 100)) "$work/index_first.mp4" > "$out/truncated_$part.mp4"
  done
  size=$(stat -c %s "$out/bframes.mp4")
  head -c $((size / 2)) "$out/bframes.mp4" > "$out/truncated_no_index.mp4"
  cp "$work/index_first.mp4" "$out/corrupt.mp4"
  size=$(stat -c %s "$out/corrupt.mp4")
  printf 'damaged%.0s' {1..1700} | dd of="$out/corrupt.mp4" bs=1 seek=$((size / 2)) conv=notrunc status=none
  : > "$out/empty.mp4"
  printf 'This is no video.\nIt is a text that was given the wrong name.\n' > "$out/text.mp4"
  ff "${tone[@]}" -c:a aac "$out/audio_only.mp4"
  cp "$out/plain.mp4" "$out/unreadable.mp4"
  chmod 000 "$out/unreadable.mp4"
  mkdir -p "$out/directory.mp4"
}

make_names() {
  mkdir -p "$out/path with spaces" "$out/пример видео"
  encode 25 30 "path with spaces/clip one.mp4" "${plain[@]}"
  cp "$out/path with spaces/clip one.mp4" "$out/пример видео/Клип 🎬.mp4"
  cp "$out/path with spaces/clip one.mp4" "$out/a:b.mp4"
}

make_rotated() {
  local help
  help=$(ffmpeg -hide_banner -h full 2>/dev/null)
  if [[ $help == *-display_rotation* ]]; then
    ff -display_rotation 90 -i "$out/plain.mp4" -c copy "$out/rotated.mp4"
  else
    ff -i "$out/plain.mp4" -c copy -metadata:s:v rotate=90 "$out/rotated.mp4"
  fi
}

make_sample() {
  "$generator" scene 1280 720 302 "$work/regions.csv" |
    ff -f rawvideo -pix_fmt rgb24 -s 1280x720 -r 30 -i - -c:v libx264 -preset fast -crf 20 -pix_fmt yuv420p \
      "$out/sample.mp4"
  # The last two pictures stay in the decoder.
  awk -F, 'NR == 1 || $1 <= 300' "$work/regions.csv" > "$out/sample_regions.csv"
}

make_clips() {
  "$generator" counter 320 180 1 300 > "$work/base.rgb"
  "$generator" counter 160 96 1001 60 > "$work/second.rgb"
  make_sample &
  local sample=$!
  make_structures
  make_codecs
  make_rates
  make_lengths
  make_damaged
  make_names
  make_rotated
  wait "$sample"
}

make_bench() {
  "$generator" scene 1920 1080 300 |
    ff -f rawvideo -pix_fmt rgb24 -s 1920x1080 -r 30 -i - -c:v libx264 -preset medium -crf 20 -g 30 -pix_fmt yuv420p \
      "$out/bench_1080p30.mp4"
  ff -stream_loop 5 -i "$out/bench_1080p30.mp4" -c copy "$out/bench_1080p30_minute.mp4"
}

"make_$set"

rm -f "$stamp"
(cd "$out" && find . -type d -print0) | while IFS= read -r -d '' directory; do
  mkdir -p "$folder/$directory"
done
(cd "$out" && find . -type f -print0) | while IFS= read -r -d '' file; do
  mv -f "$out/$file" "$folder/$file"
done
printf '%s' "$fingerprint" > "$stamp"
