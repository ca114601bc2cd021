// libavformat, loaded when something is recorded (base/LateLibrary.h). A package must name it: no
// program of ours does.
#pragma once

#include "base/LateLibrary.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/error.h>
#include <libavutil/mem.h>
}

namespace quorvid::app {

// libavcodec and libavutil come with it, and their functions are found through it.
inline constinit LateLibrary avFormatLibrary(
    "libavformat.so." AV_STRINGIFY(LIBAVFORMAT_VERSION_MAJOR));

QUORVID_LATE(avFormatLibrary, av_dict_free);
QUORVID_LATE(avFormatLibrary, av_dict_set);
QUORVID_LATE(avFormatLibrary, av_free);
QUORVID_LATE(avFormatLibrary, av_log_set_level);
QUORVID_LATE(avFormatLibrary, av_new_packet);
QUORVID_LATE(avFormatLibrary, av_packet_alloc);
QUORVID_LATE(avFormatLibrary, av_packet_free);
QUORVID_LATE(avFormatLibrary, av_packet_unref);
QUORVID_LATE(avFormatLibrary, av_strerror);
QUORVID_LATE(avFormatLibrary, av_write_frame);
QUORVID_LATE(avFormatLibrary, av_write_trailer);
QUORVID_LATE(avFormatLibrary, avformat_alloc_output_context2);
QUORVID_LATE(avFormatLibrary, avformat_free_context);
QUORVID_LATE(avFormatLibrary, avformat_new_stream);
QUORVID_LATE(avFormatLibrary, avio_close_dyn_buf);
QUORVID_LATE(avFormatLibrary, avio_closep);
QUORVID_LATE(avFormatLibrary, avio_flush);
QUORVID_LATE(avFormatLibrary, avio_open);
QUORVID_LATE(avFormatLibrary, avio_open_dyn_buf);
QUORVID_LATE(avFormatLibrary, avio_size);
QUORVID_LATE_AS(avFormatLibrary, avformat_write_header, int(AVFormatContext*, AVDictionary**));
QUORVID_LATE_AS(avFormatLibrary, av_mallocz, void*(std::size_t));

}  // namespace quorvid::app
