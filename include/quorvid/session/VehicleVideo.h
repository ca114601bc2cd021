// VehicleVideo: one live stream, that is one camera channel of one vehicle device from one server.
//
// Creating a session starts a thread of its own that receives the stream and offers its frames one
// at a time; UIFleetLiveView is the usual consumer.
//
// One controlling thread makes, polls and cancels a session. The running thread keeps the session
// alive, so it may be destroyed on either thread. There is no lock: the frame slot is
//
//   FrameData   131072 bytes   written by the worker, read by the consumer while the flag is set
//   FrameLen    32 bits        written by the worker after the bytes
//   canGetFrame 1 byte         set by the worker last; cleared by the consumer when done
//   isCancel    1 byte         set by the controlling thread; read by the worker once a turn
//
// A consumer that keeps a frame for longer than half a second has it overwritten by the next one.
//
// Side effects on the process: a detached thread for each session, lines on standard output for
// each frame; the process ends if carId has more than 31 bytes.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

#include "quorvid/base/Export.h"
#include "quorvid/base/Text.h"

namespace quorvid {

class H264HwDecoderImpl;
class Thread;
class UIImage;
struct SwsContext;

class QUORVID_API VehicleVideo : public std::enable_shared_from_this<VehicleVideo> {
 public:
  // host: name or dotted IPv4 address; media_port: where the stream comes from; cmd_port: kept;
  // channel: camera, counted from 0, at most 7 when device_type is 2; acc, pwd, carId: account,
  // password and device, may be missing; device_type: only 2 streams, the thread of any other kind
  // ends at once; isPFrame has no effect.
  // Null, with nothing started, when the channel is out of range, the host is missing or empty, or
  // there is no memory for the frame.
  static std::shared_ptr<VehicleVideo> initWithVideo(const Text& host, int media_port, int cmd_port,
                                                     int channel, const Text& acc, const Text& pwd,
                                                     int device_type, const Text& carId,
                                                     bool isPFrame);
  ~VehicleVideo();
  VehicleVideo(const VehicleVideo&) = delete;
  VehicleVideo& operator=(const VehicleVideo&) = delete;

  // The body of the session's thread; not for callers.
  void myMethod_VideoSource();
  // Asks the worker to end, ends its connection and returns at once; the worker ends by itself when
  // a connect or pause under way (3 s at most) is over. No effect when the thread was cancelled
  // before or has ended.
  void cancelVideoThread();

  // The consumer's order: getIsFrameReady, getFrameData and getFrameLen, use the bytes, then
  // setIsFrameReady(false). Only the flag's lowest bit counts.
  void setIsFrameReady(std::uint8_t flag);
  bool getIsFrameReady() const;
  // The same 131072 bytes for the session's whole life; the consumer may change them in place.
  char* getFrameData() const { return FrameData.get(); }
  // Bytes of the frame, 0 before the first.
  std::uint32_t getFrameLen() const { return FrameLen; }

  // What the session was made with.
  int getChannel() const { return Channel; }
  int getDeviceType() const { return deviceType; }
  const Text& getCarID() const { return CarId; }
  const Text& getDeviceHost() const { return Host; }
  const Text& getDevicePwd() const { return Pwd; }
  const Text& getDeviceAcc() const { return Acc; }
  int getDeviceMedia_Port() const { return Media_port; }
  int getDeviceCmd_port() const { return Cmd_port; }

 private:
  VehicleVideo() = default;
  QUORVID_LOCAL bool setUp();
  QUORVID_LOCAL void startThread();
  QUORVID_LOCAL Text makeTimestamp() const;

  [[maybe_unused]] std::int32_t videoStream = 0;           // reserved
  [[maybe_unused]] SwsContext* img_convert_ctx = nullptr;  // reserved
  [[maybe_unused]] std::int32_t sourceWidth = 0;           // reserved
  [[maybe_unused]] std::int32_t sourceHeight = 0;          // reserved
  [[maybe_unused]] std::int32_t outputWidth = 0;           // reserved
  [[maybe_unused]] std::int32_t outputHeight = 0;          // reserved
  std::shared_ptr<UIImage> currentImage;                   // reserved
  [[maybe_unused]] double duration = 0;                    // reserved
  Text Host;
  std::int32_t Media_port = 0;
  std::int32_t Cmd_port = 0;
  std::int32_t Channel = 0;
  Text Acc;
  Text Pwd;
  [[maybe_unused]] std::int32_t ptzPoint = 0;  // reserved
  std::int32_t deviceType = 0;
  Text timestamp;  // account and time, made by the worker thread
  Text CarId;
  std::shared_ptr<Thread> myVideoThread;  // empty once cancelled
  std::uint8_t isCancel = 0;
  std::shared_ptr<H264HwDecoderImpl> H264Decoder;  // reserved
  mutable std::uint8_t canGetFrame = 0;
  std::unique_ptr<char, void (*)(void*)> FrameData{nullptr, &std::free};
  std::uint32_t FrameLen = 0;
};

}  // namespace quorvid
