// H264HwDecoderImpl: turns H.264 units, one a call, into decoded pictures for a delegate.
//
// Not thread-safe: all calls come from one thread, and the delegate is called on it before
// decodeNalu() returns.
//
// The first unit that is no parameter set builds the decompression session from the sets stored by
// then. That session stays for good: later sets are stored and never reach it, so a stream that
// changes its size needs a new decoder. Pictures are 1280 by 960 "420v" whatever the stream's size,
// unless setPictureForm() asks for another form.
// Errors are logged and swallowed. Zeros that fill the place of a shorter parameter set are taken.
// A unit whose slices could hold the thread for longer than about a quarter of a second, or a set
// whose pictures or reference pictures are larger than level 5.1 allows, is refused.
//
// Memory: at most one parameter set of each kind is held, each of up to 131068 bytes; a set that a
// different one replaces is released. Sets, format description and session go with the decoder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "quorvid/base/Export.h"
#include "quorvid/base/PixelBuffer.h"

namespace quorvid {

class CMVideoFormatDescription;
class VTDecompressionSession;
class VTKeptPicture;

// What a decoder's pictures are.
enum class PictureForm : std::uint8_t {
  OneSize,    // "420v" of 1280 by 960
  OwnSize,    // "420v" of the stream's own size
  AsDecoded,  // "y420" or "f420" of the stream's own size, without a copy; not to be written to
};

// Receives decoded pictures, on the thread that called the decoder.
class QUORVID_API H264HwDecoderImplDelegate {
 public:
  virtual ~H264HwDecoderImplDelegate();
  // pixelBuffer carries one reference that the delegate releases exactly once. Null when a unit
  // gave no picture.
  virtual void displayDecodedFrame(CVPixelBufferRef pixelBuffer) = 0;
};

class QUORVID_API H264HwDecoderImpl {
 public:
  // Never null.
  static std::shared_ptr<H264HwDecoderImpl> init();
  ~H264HwDecoderImpl();
  H264HwDecoderImpl(const H264HwDecoderImpl&) = delete;
  H264HwDecoderImpl& operator=(const H264HwDecoderImpl&) = delete;

  // Held weakly. Without a delegate the reference to each decoded picture is the caller's of
  // decode(), and lost by decodeNalu().
  std::shared_ptr<H264HwDecoderImplDelegate> delegate() const { return _delegate.lock(); }
  void setDelegate(const std::shared_ptr<H264HwDecoderImplDelegate>& delegate);

  // Of the session that is built next; OneSize at first.
  void setPictureForm(PictureForm form) { form_ = form; }

  // Takes one unit: stores a parameter set, decodes everything else.
  //
  //   frame  0        4        5                    frameSize
  //          | start  | NAL    | rest of the unit   |
  //          | code   | header |                    |
  //
  // frame: at least 5 readable and writable bytes, whatever frameSize says. Bytes 0 to 3 are not
  // looked at; on return they hold frameSize - 4, most significant byte first. frameSize: bytes,
  // start code included; a unit below 5 or above 131072 bytes is logged and ignored.
  void decodeNalu(char* frame, std::uint32_t frameSize);

  // Builds the session from the stored sets unless there is one. Always true; a failure is logged
  // and the next call tries again. Called by decodeNalu().
  bool initH264Decoder();

  // Decodes one unit whose first 4 bytes hold its length; buffer is borrowed for the call, size
  // includes the 4 bytes. Returns the picture that the delegate got (its reference is the
  // delegate's), null when there was none. Called by decodeNalu().
  CVPixelBufferRef decode(char* buffer, std::uint32_t size);

  // True from a unit that was held back, because its picture may refer to frames that were lost (or
  // came before the first key frame), to the next picture. A held unit gives the delegate null and
  // no line in the log.
  bool isWaitingForKeyFrame() const { return isWaitingForKeyFrame_; }
  // How many units were held back so far.
  std::uint64_t heldUnits() const { return heldUnits_; }

  // For who shows only some of the pictures: the delegate gets null for every unit, and a picture
  // is converted and scaled only when copyPicture() asks for it. Call it before the first unit.
  void setPicturesOnRequest() { picturesOnRequest_ = true; }
  // Whether the last unit gave a picture, to the delegate or to be asked for.
  bool hasPicture() const { return hasPicture_; }
  // The last unit's picture, made anew by each call, with one reference for the caller. Null when
  // there is none, with a line in the log when it can't be made.
  CVPixelBufferRef copyPicture();
  // The last unit's picture as it was decoded, for as long as its owner likes; null when there is
  // none. For who can't tell yet whether it will be seen.
  std::shared_ptr<VTKeptPicture> keepPicture();
  // On any thread: converts it unless that is done, true when it was this call; and hands it out as
  // copyPicture() does, converted by then at the latest, once.
  static bool convertPicture(VTKeptPicture& kept);
  static CVPixelBufferRef copyPicture(VTKeptPicture& kept);

 private:
  H264HwDecoderImpl() = default;

  char* _sps = nullptr;  // last sets received, without start code; malloc'ed
  std::ptrdiff_t _spsSize = 0;
  char* _pps = nullptr;
  std::ptrdiff_t _ppsSize = 0;
  VTDecompressionSession* _deocderSession = nullptr;
  CMVideoFormatDescription* _decoderFormatDescription = nullptr;
  std::weak_ptr<H264HwDecoderImplDelegate> _delegate;
  PictureForm form_ = PictureForm::OneSize;
  bool isWaitingForKeyFrame_ = false;
  std::uint64_t heldUnits_ = 0;
  bool picturesOnRequest_ = false;
  bool hasPicture_ = false;
};

}  // namespace quorvid
