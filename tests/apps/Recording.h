// Recording: what a file written by `quorvid record` holds.
#pragma once

#include <cstdint>
#include <string>

extern "C" {
#include <libavformat/avformat.h>
}

struct Recording {
  int frames = 0;
  double seconds = 0;  // from the first frame to the last
  int width = 0;
  bool beginsWithKey = false;
  std::string title, creationTime;
};

inline Recording readRecording(const std::string& fileName) {
  Recording recording;
  av_log_set_level(AV_LOG_QUIET);  // the file may just be growing
  AVFormatContext* context = nullptr;
  if (avformat_open_input(&context, fileName.c_str(), nullptr, nullptr) < 0) return recording;
  avformat_find_stream_info(context, nullptr);
  AVPacket* packet = av_packet_alloc();
  std::int64_t first = 0;
  const AVStream* stream = context->streams[0];
  while (av_read_frame(context, packet) >= 0) {
    if (recording.frames++ == 0) {
      first = packet->pts;
      recording.beginsWithKey = (packet->flags & AV_PKT_FLAG_KEY) != 0;
    }
    recording.seconds = static_cast<double>(packet->pts - first) * av_q2d(stream->time_base);
    av_packet_unref(packet);
  }
  const auto tag = [context](const char* key) -> std::string {
    const AVDictionaryEntry* const entry = av_dict_get(context->metadata, key, nullptr, 0);
    return entry != nullptr ? entry->value : "";
  };
  recording.title = tag("title");
  recording.creationTime = tag("creation_time");
  recording.width = stream->codecpar->width;
  av_packet_free(&packet);
  avformat_close_input(&context);
  return recording;
}
