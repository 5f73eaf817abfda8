/* A decoder for the tests: libavcodec of the machine that Wine runs on, in a module of Winelib that Windows programs
   load. It takes the samples of an MPEG-4 visual track in decoding order and gives pictures in I420. */

#include <libavcodec/avcodec.h>
#include <libavutil/imgutils.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#define EXPORTED __attribute__((ms_abi, visibility("default")))

struct decoder {
  AVCodecContext *context;
  AVPacket *packet;
  AVFrame *frame;
  uint8_t *output;
  int room;
};

EXPORTED void KtDecoderClose(struct decoder *decoder) {
  if (decoder == NULL) return;
  avcodec_free_context(&decoder->context);
  av_packet_free(&decoder->packet);
  av_frame_free(&decoder->frame);
  free(decoder->output);
  free(decoder);
}

/* NULL when there is no such decoder. */
EXPORTED struct decoder *KtDecoderOpen(const uint8_t *info, int size) {
  const AVCodec *codec = avcodec_find_decoder(AV_CODEC_ID_MPEG4);
  struct decoder *decoder = calloc(1, sizeof *decoder);
  if (codec == NULL || decoder == NULL) return NULL;
  decoder->context = avcodec_alloc_context3(codec);
  decoder->packet = av_packet_alloc();
  decoder->frame = av_frame_alloc();
  decoder->context->thread_count = 1;
  decoder->context->extradata = av_mallocz((size_t)size + AV_INPUT_BUFFER_PADDING_SIZE);
  decoder->context->extradata_size = size;
  memcpy(decoder->context->extradata, info, (size_t)size);
  if (avcodec_open2(decoder->context, codec, NULL) < 0) {
    KtDecoderClose(decoder);
    return NULL;
  }
  return decoder;
}

/* No bytes: nothing more comes. Negative when the sample is refused. */
EXPORTED int KtDecoderSend(struct decoder *decoder, const uint8_t *bytes, int size) {
  if (bytes == NULL) return avcodec_send_packet(decoder->context, NULL);
  if (av_new_packet(decoder->packet, size) < 0) return -1;
  memcpy(decoder->packet->data, bytes, (size_t)size);
  const int result = avcodec_send_packet(decoder->context, decoder->packet);
  av_packet_unref(decoder->packet);
  return result;
}

EXPORTED void KtDecoderFlush(struct decoder *decoder) { avcodec_flush_buffers(decoder->context); }

static int make_room(struct decoder *decoder, int size) {
  if (size > decoder->room) {
    free(decoder->output);
    decoder->output = malloc((size_t)size);
    decoder->room = decoder->output != NULL ? size : 0;
  }
  return decoder->output != NULL ? size : -1;
}

/* The bytes of the next picture, which stand until the next call; 0 when there is none yet. */
EXPORTED int KtDecoderReceive(struct decoder *decoder, const uint8_t **bytes) {
  AVFrame *frame = decoder->frame;
  if (avcodec_receive_frame(decoder->context, frame) < 0) return 0;
  const int size = make_room(decoder, av_image_get_buffer_size(frame->format, frame->width, frame->height, 1));
  if (size > 0) {
    av_image_copy_to_buffer(decoder->output, size, (const uint8_t *const *)frame->data, frame->linesize, frame->format,
                            frame->width, frame->height, 1);
  }
  av_frame_unref(frame);
  *bytes = decoder->output;
  return size;
}
