// The functions of libavcodec and libavutil that are made to fail. They are not shown: those
// libraries call them too.
#include <cerrno>

#include "faults/refuse/Refuse.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/buffer.h>
#include <libavutil/frame.h>
#include <libavutil/mem.h>
}

namespace {

// NOLINTBEGIN(bugprone-macro-parentheses): a type can't have them
#define REFUSE_CALL(result, name, parameters, arguments, failed)                     \
  void* real_##name = nullptr;                                                       \
  result refused_##name parameters {                                                 \
    if (refuse::isRefused(refuse::Kind::Codec, #name, REFUSE_CALLER)) return failed; \
    return reinterpret_cast<result(*) parameters>(real_##name) arguments;            \
  }
// NOLINTEND(bugprone-macro-parentheses)

REFUSE_CALL(const AVCodec*, avcodec_find_decoder, (AVCodecID a), (a), nullptr)
REFUSE_CALL(const AVCodec*, avcodec_find_decoder_by_name, (const char* a), (a), nullptr)
REFUSE_CALL(AVCodecContext*, avcodec_alloc_context3, (const AVCodec* a), (a), nullptr)
REFUSE_CALL(int, avcodec_open2, (AVCodecContext * a, const AVCodec* b, AVDictionary** c), (a, b, c),
            AVERROR(ENOMEM))
REFUSE_CALL(int, avcodec_send_packet, (AVCodecContext * a, const AVPacket* b), (a, b),
            AVERROR(ENOMEM))
REFUSE_CALL(int, avcodec_receive_frame, (AVCodecContext * a, AVFrame* b), (a, b), AVERROR(ENOMEM))
REFUSE_CALL(AVPacket*, av_packet_alloc, (), (), nullptr)
REFUSE_CALL(int, av_new_packet, (AVPacket * a, int b), (a, b), AVERROR(ENOMEM))
REFUSE_CALL(AVFrame*, av_frame_alloc, (), (), nullptr)
REFUSE_CALL(AVFrame*, av_frame_clone, (const AVFrame* a), (a), nullptr)
REFUSE_CALL(int, av_frame_get_buffer, (AVFrame * a, int b), (a, b), AVERROR(ENOMEM))
REFUSE_CALL(int, av_frame_copy_props, (AVFrame * a, const AVFrame* b), (a, b), AVERROR(ENOMEM))
REFUSE_CALL(AVBufferRef*, av_buffer_ref, (const AVBufferRef* a), (a), nullptr)
REFUSE_CALL(void*, av_mallocz, (std::size_t a), (a), nullptr)

#define REFUSE_ROW(name) \
  { #name, reinterpret_cast < void*>(&refused_##name), real_##name }
refuse::StandIn standIns[] = {
    REFUSE_ROW(avcodec_find_decoder),   REFUSE_ROW(avcodec_find_decoder_by_name),
    REFUSE_ROW(avcodec_alloc_context3), REFUSE_ROW(avcodec_open2),
    REFUSE_ROW(avcodec_send_packet),    REFUSE_ROW(avcodec_receive_frame),
    REFUSE_ROW(av_packet_alloc),        REFUSE_ROW(av_new_packet),
    REFUSE_ROW(av_frame_alloc),         REFUSE_ROW(av_frame_clone),
    REFUSE_ROW(av_frame_get_buffer),    REFUSE_ROW(av_frame_copy_props),
    REFUSE_ROW(av_buffer_ref),          REFUSE_ROW(av_mallocz)};

}  // namespace

std::span<refuse::StandIn> refuse::ofCodec() {
  return standIns;
}
