// UIFleetLiveView: a view that plays the live stream of one camera channel of one vehicle device.
//
// Main thread only: make it, set the connection, playVideo(), and stopVideo() before letting it go
// (a playing view is kept alive by its frame timer). Nothing is reported to the caller: a stream
// that cannot be had shows nothing, the session behind the view keeps trying until it is stopped.
//
// Side effects on the process: one worker thread for each session; per-frame lines on standard
// output (the worker) and in the log (the decoder); the process ends if the device identifier has
// more than 31 bytes. playVideo() on a playing view and restartVdieo() block the caller for half a
// second.
#pragma once

#include <cstdint>
#include <memory>

#include "quorvid/base/Export.h"
#include "quorvid/base/Geometry.h"
#include "quorvid/base/Text.h"
#include "quorvid/decoder/H264HwDecoderImpl.h"
#include "quorvid/render/AAPLEAGLLayer.h"
#include "quorvid/session/VehicleVideo.h"
#include "quorvid/view/RunLoop.h"
#include "quorvid/view/View.h"

namespace quorvid {

class QUORVID_API UIFleetLiveView : public UIView, public H264HwDecoderImplDelegate {
 public:
  // frame: in the superview's points. The render layer gets this very rectangle, inside the view:
  // give views that tile a window a zero origin and put each into a container. Null when the view
  // can't be made.
  static std::shared_ptr<UIFleetLiveView> initWithFrame(CGRect frame);
  ~UIFleetLiveView() override;

  // host: name or dotted IPv4 address; port: 1 to 65535; channel: camera, 0 to 7; acc, pwd: account
  // and password (the fleet path does not send them); deviceId: at most 31 bytes. Only clears
  // isPlaying: call stopVideo() first to switch streams, or the earlier session goes on unseen.
  void setConnectionParm(const Text& host, int port, int channel, const Text& acc, const Text& pwd,
                         const Text& deviceId);
  // Starts a session and shows its frames. On a playing view: stops, pauses 0.5 s, starts anew.
  void playVideo();
  // Ends the session without waiting for its thread; the last picture stays in the layer.
  void stopVideo();
  // On a playing view: stopVideo(), a pause of 0.5 s, playVideo(). On an idle one: nothing.
  void restartVdieo();

  // One tick of the frame timer: takes at most one frame from the session, decodes and shows it.
  void feedFrames();
  // Gives the picture to the layer and releases it once; null is ignored.
  void displayDecodedFrame(CVPixelBufferRef pixelBuffer) override;

  // Plain accessors: a change takes effect at the next playVideo().
  void setHost(const Text& host) { Host = host; }
  const Text& getHost() const { return Host; }
  void setPort(int port) { Port = port; }
  int getPort() const { return Port; }
  void setChannel(int channel) { Channel = channel; }
  int getChannel() const { return Channel; }
  void setAcc(const Text& acc) { Acc = acc; }
  const Text& getAcc() const { return Acc; }
  void setPwd(const Text& pwd) { Pwd = pwd; }
  const Text& getPwd() const { return Pwd; }
  void setDeviceId(const Text& deviceId) { DeviceId = deviceId; }
  const Text& getDeviceId() const { return DeviceId; }
  void setVideoH264(std::shared_ptr<VehicleVideo> session);
  const std::shared_ptr<VehicleVideo>& videoH264() const { return videoH264_; }
  void setDisplayTimer(std::shared_ptr<CADisplayLink> timer);
  const std::shared_ptr<CADisplayLink>& displayTimer() const { return displayTimer_; }
  void setH264Decoder(std::shared_ptr<H264HwDecoderImpl> decoder);
  const std::shared_ptr<H264HwDecoderImpl>& h264Decoder() const { return h264Decoder_; }
  void setPlayLayer(std::shared_ptr<AAPLEAGLLayer> layer);
  const std::shared_ptr<AAPLEAGLLayer>& playLayer() const { return playLayer_; }

 private:
  QUORVID_LOCAL explicit UIFleetLiveView(CGRect frame);
  QUORVID_LOCAL bool setUp(CGRect frame);
  QUORVID_LOCAL static void feedKeyFrame(H264HwDecoderImpl& decoder, char* frame,
                                         std::uint32_t length);

  Text Host;
  std::int32_t Port = 0;
  std::int32_t Channel = 0;
  Text Acc;
  Text Pwd;
  Text timestamp;  // reserved
  Text DeviceId;
  std::uint8_t isPlaying = 0;  // 1 between playVideo and stopVideo
  std::shared_ptr<VehicleVideo> videoH264_;
  std::shared_ptr<CADisplayLink> displayTimer_;
  std::shared_ptr<H264HwDecoderImpl> h264Decoder_;
  std::shared_ptr<AAPLEAGLLayer> playLayer_;
};

}  // namespace quorvid
