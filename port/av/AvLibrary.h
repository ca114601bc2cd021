// FFmpeg's libraries, loaded when the first stream is asked for (base/LateLibrary.h): libavcodec
// brings a hundred others along, and takes longer to load than a connection to open. libswscale
// comes with the first picture that isn't 8-bit 4:2:0.
//
// No program or library of ours names them as needed, so a package must: libavcodec, libavutil and
// libswscale in the versions whose headers are seen here.
#pragma once

#include "base/LateLibrary.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/buffer.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libavutil/hwcontext.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace quorvid {

// libavutil comes with it, and its functions are found through it.
inline constinit LateLibrary avCodecLibrary(
    "libavcodec.so." AV_STRINGIFY(LIBAVCODEC_VERSION_MAJOR));
inline constinit LateLibrary swScaleLibrary(
    "libswscale.so." AV_STRINGIFY(LIBSWSCALE_VERSION_MAJOR));

QUORVID_LATE(avCodecLibrary, av_buffer_is_writable);
QUORVID_LATE(avCodecLibrary, av_buffer_ref);
QUORVID_LATE(avCodecLibrary, av_buffer_unref);
QUORVID_LATE(avCodecLibrary, av_dict_free);
QUORVID_LATE(avCodecLibrary, av_dict_set);
QUORVID_LATE(avCodecLibrary, av_frame_alloc);
QUORVID_LATE(avCodecLibrary, av_frame_clone);
QUORVID_LATE(avCodecLibrary, av_frame_copy_props);
QUORVID_LATE(avCodecLibrary, av_frame_free);
QUORVID_LATE(avCodecLibrary, av_frame_get_buffer);
QUORVID_LATE(avCodecLibrary, av_frame_ref);
QUORVID_LATE(avCodecLibrary, av_frame_unref);
QUORVID_LATE(avCodecLibrary, av_hwdevice_ctx_create);
QUORVID_LATE(avCodecLibrary, av_hwdevice_get_type_name);
QUORVID_LATE(avCodecLibrary, av_hwframe_transfer_data);
QUORVID_LATE(avCodecLibrary, av_new_packet);
QUORVID_LATE(avCodecLibrary, av_packet_alloc);
QUORVID_LATE(avCodecLibrary, av_packet_free);
QUORVID_LATE(avCodecLibrary, av_packet_unref);
QUORVID_LATE(avCodecLibrary, av_pix_fmt_desc_get);
QUORVID_LATE(avCodecLibrary, avcodec_alloc_context3);
QUORVID_LATE(avCodecLibrary, avcodec_find_decoder);
QUORVID_LATE(avCodecLibrary, avcodec_find_decoder_by_name);
QUORVID_LATE(avCodecLibrary, avcodec_free_context);
QUORVID_LATE(avCodecLibrary, avcodec_get_hw_config);
QUORVID_LATE(avCodecLibrary, avcodec_open2);
QUORVID_LATE(avCodecLibrary, avcodec_receive_frame);
QUORVID_LATE(avCodecLibrary, avcodec_send_packet);
QUORVID_LATE(swScaleLibrary, sws_freeContext);
QUORVID_LATE(swScaleLibrary, sws_getCachedContext);
QUORVID_LATE(swScaleLibrary, sws_isSupportedInput);
QUORVID_LATE(swScaleLibrary, sws_scale);
QUORVID_LATE_AS(avCodecLibrary, av_mallocz, void*(std::size_t));

}  // namespace quorvid
