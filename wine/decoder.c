/* Decoders for the tests: libavcodec of the machine that Wine runs on, in a module of Winelib that Windows programs
   load. Samples go in in decoding order with their times; what comes out, pictures in I420 and sound in 16 bits, all
   channels in turn, has the time of the sample that it was made of. */

#include <fenv.h>
#include <libavcodec/avcodec.h>
#include <libavutil/common.h>
#include <libavutil/imgutils.h>
#include <math.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

/* winegcc says what this calling convention is, with a stack as this machine's libraries want it. */
#define EXPORTED __cdecl __attribute__((visibility("default")))

struct decoder {
  AVCodecContext *context;
  AVPacket *packet;
  AVFrame *frame;
  uint8_t *output;
  int room;
};

/* Windows has a thread of 32 bits count with 53 bits where this machine's libraries count with 64, and sound is what
   ffmpeg makes of it only with these. */
static fenv_t own_numbers(void) {
  fenv_t theirs;
  fegetenv(&theirs);
  fesetenv(FE_DFL_ENV);
  return theirs;
}
#define WITH_OWN_NUMBERS __attribute__((cleanup(fesetenv))) const fenv_t theirs = own_numbers()

EXPORTED void KtDecoderClose(struct decoder *decoder) {
  if (decoder == NULL) return;
  avcodec_free_context(&decoder->context);
  av_packet_free(&decoder->packet);
  av_frame_free(&decoder->frame);
  free(decoder->output);
  free(decoder);
}

/* By libavcodec's name of the coding. Rate and channels are those of sound; a set-up that says others counts more.
   NULL when there is no such decoder. */
EXPORTED struct decoder *KtDecoderOpen(const char *name, const uint8_t *info, int size, int rate, int channels) {
  WITH_OWN_NUMBERS;
  const AVCodec *codec = avcodec_find_decoder_by_name(name);
  struct decoder *decoder = calloc(1, sizeof *decoder);
  if (codec == NULL || decoder == NULL) {
    free(decoder);
    return NULL;
  }
  decoder->context = avcodec_alloc_context3(codec);
  decoder->packet = av_packet_alloc();
  decoder->frame = av_frame_alloc();
  decoder->context->thread_count = 1;
  decoder->context->sample_rate = rate;
  if (channels > 0) av_channel_layout_default(&decoder->context->ch_layout, channels);
  if (size > 0) {
    decoder->context->extradata = av_mallocz((size_t)size + AV_INPUT_BUFFER_PADDING_SIZE);
    decoder->context->extradata_size = size;
    memcpy(decoder->context->extradata, info, (size_t)size);
  }
  if (avcodec_open2(decoder->context, codec, NULL) < 0) {
    KtDecoderClose(decoder);
    return NULL;
  }
  return decoder;
}

/* No bytes: nothing more comes. Negative when the sample is refused. */
EXPORTED int KtDecoderSend(struct decoder *decoder, const uint8_t *bytes, int size, int64_t time) {
  WITH_OWN_NUMBERS;
  if (bytes == NULL) return avcodec_send_packet(decoder->context, NULL);
  if (av_new_packet(decoder->packet, size) < 0) return -1;
  memcpy(decoder->packet->data, bytes, (size_t)size);
  decoder->packet->pts = time;
  const int result = avcodec_send_packet(decoder->context, decoder->packet);
  av_packet_unref(decoder->packet);
  return result;
}

static int make_room(struct decoder *decoder, int size) {
  if (size > decoder->room) {
    free(decoder->output);
    decoder->output = malloc((size_t)size);
    decoder->room = decoder->output != NULL ? size : 0;
  }
  return size > 0 && decoder->output != NULL ? size : -1;
}

static int copy_picture(struct decoder *decoder) {
  const AVFrame *frame = decoder->frame;
  const int size = make_room(decoder, av_image_get_buffer_size(frame->format, frame->width, frame->height, 1));
  if (size < 0) return size;
  return av_image_copy_to_buffer(decoder->output, size, (const uint8_t *const *)frame->data, frame->linesize,
                                 frame->format, frame->width, frame->height, 1);
}

static int copy_sound(struct decoder *decoder) {
  const AVFrame *frame = decoder->frame;
  const int channels = frame->ch_layout.nb_channels, count = frame->nb_samples * channels;
  const int size = frame->format == AV_SAMPLE_FMT_FLTP ? make_room(decoder, count * 2) : -1;
  for (int i = 0; size > 0 && i < count; ++i) {
    const float *plane = (const float *)frame->extended_data[i % channels];
    const int16_t level = av_clip_int16(lrintf(plane[i / channels] * 32768));
    memcpy(decoder->output + i * 2, &level, 2);
  }
  return size;
}

/* The bytes of the next picture or piece of sound, which stand until the next call; 0 when there is none yet. */
EXPORTED int KtDecoderReceive(struct decoder *decoder, const uint8_t **bytes, int64_t *time) {
  WITH_OWN_NUMBERS;
  if (avcodec_receive_frame(decoder->context, decoder->frame) < 0) return 0;
  *time = decoder->frame->pts;
  const int size = decoder->frame->nb_samples > 0 ? copy_sound(decoder) : copy_picture(decoder);
  av_frame_unref(decoder->frame);
  *bytes = decoder->output;
  return size;
}
