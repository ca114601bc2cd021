// VehicleConnection: live video, device lists, relays and positions from a vehicle server over TCP.
//
// The Thread... functions block the thread they are called on, for a whole session where they
// stream or poll; give each a thread of its own. Any number may run at once. Texts are
// NUL-terminated, stay the caller's and must last until the call returns.
//
// Effects on the process: diagnostics go to standard output through printf, or to where
// SetConnectionPrinter says; SIGPIPE is never raised; sockets are close-on-exec; a text that does
// not fit its field in a request ends the process with abort() after one line on standard error.
// The fields hold 31 characters, carId on the car and relay paths 63. Check texts before the call.
//
// Block signals on the threads that run the car stream, the queries and the poller: their search
// for a tag reads byte by byte, and a signal there breaks the connection (also one whose handler
// was installed with SA_RESTART). Everything else goes on after a signal as if there had been none.
//
// Flags are single bytes of which only bit 0 counts. Read and write them as atomics (acquire and
// release): no lock guards them.
//
// All integers on the wire are 32 bits, little-endian. One request goes out per connection.
#ifndef QUORVID_CONNECTION_VEHICLECONNECTION_H
#define QUORVID_CONNECTION_VEHICLECONNECTION_H

#include <stdint.h>

#define QUORVID_CONNECTION_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

// The longest frame: what a stream may carry and the buffer of a slot holds.
enum { QUORVID_FRAME_CAPACITY = 131072 };

// Reads exactly n bytes from fd into buf, resuming after signals.
//
// Any thread. Returns n, fewer when the stream ended first, 0 for n <= 0, or -1 on an error
// (a receive timeout is one, with EAGAIN in errno, counted from the last byte whatever signals
// come; bytes read before it are lost).
QUORVID_CONNECTION_API int32_t readn(int32_t fd, void* buf, int32_t n);

// Writes exactly n bytes of buf to fd (socket, pipe or file), resuming after signals.
//
// Any thread. Returns n (also when n <= 0, without writing), or -1 on an error, with errno set; a
// peer that is gone is EPIPE or ECONNRESET, never a signal.
QUORVID_CONNECTION_API int32_t writen(int32_t fd, const void* buf, int32_t n);

// Streams one camera channel of a fleet device into a one-frame slot until cancelled.
//
// Blocks its thread. Reconnects 3 s after any failure, for ever; a peer that closed in order is
// not noticed, so a host restarts a stream that stands still. Setting isCancel ends the call after
// the blocking step under way (a read: 10 s after the last byte, so a server that sends a byte now
// and then holds it for as long as it likes; a pause: 3 s; a connect: as long as the system tries).
// CancelVideoSource ends the read as well.
//
//   host, mediaPort   server, a name or a dotted address of any length; what is too long for the
//                     name service is not found. Only the low 16 bits of the port count
//   cmdPort           kept, not used
//   channel           0-based camera channel; the fleet request holds two characters, and another
//                     number than -9 to 99 ends the process
//   acc, pwd, timestamp  not part of the fleet request, so of any length; may be null
//   isCancel          set by the caller to end the session; stays set until the call has returned
//   carId             device identifier, 31 characters at most
//   canGetFrame       1: a frame waits in the slot; the consumer clears it once done with it.
//                     Cleared by the worker at its start and when a connection breaks
//   frameData         QUORVID_FRAME_CAPACITY bytes of the caller's, filled with one unit of H.264
//   frameLen          bytes in frameData, 1 to QUORVID_FRAME_CAPACITY, valid while canGetFrame is 1
//
// A frame not taken within half a second is overwritten by the next one. For nearly every frame the
// line "Wait to canGetFrame N" says after how many milliseconds the slot was found free.
// Returns 0 after cancellation, -1 when memory for the session could not be had.
//
// Fleet request, 81 bytes, the channel as two decimal digits:
//   +0 "001"  +3 carId[32]  +35 channel[2]  +37 "L"  +38 zero[43]
//
// Fleet stream: an answer of 18 bytes, then packets of kind 'V' (video) or 'A' (dropped). Any other
// status, kind or length ends the connection.
//   answer   +0 answerStatus (0)  +4 skipped[14]
//   packet   +0 byte packetKind  +1 payloadLen (0..131072)  +5 skipped[14]  +19 payload
QUORVID_CONNECTION_API int32_t ThreadVideoSourceForFleet(const char* host, int32_t mediaPort,
                                                         int32_t cmdPort, int32_t channel,
                                                         const char* acc, const char* pwd,
                                                         uint8_t* isCancel, const char* timestamp,
                                                         const char* carId, uint8_t* canGetFrame,
                                                         uint8_t* frameData, int32_t* frameLen);

// Streams one camera channel from a car relay: arguments, slot and result as for the fleet.
//
// Blocks its thread. acc and pwd go out together or, if either is null, both empty; timestamp and
// carId may be null. acc, pwd and timestamp have 31 characters at most, carId 63; a longer one ends
// the process. The stream is searched for its tag byte by byte, so any damage is skipped.
//
// Car request, 500 bytes:
//   +0 "3GTXV100"  +8 2  +12 164  +16 acc[32]  +48 pwd[32]  +80 timestamp[32]  +112 carId[64]
//   +176 byte 2  +177 byte 1  +178 byte channel + 1  +179 byte 0  +180 zero[320]
//
// Car stream: frames, each found by its tag; byte 13 of info is frameType.
//   +0 "3GTSV100"  +8 frameSeq  +12 skipped[4]  +16 payloadLen (0..131072)
//   +20 info[16]  +36 payload
// A frame of type 3 is dropped unless frameSeq follows that of the last accepted frame.
QUORVID_CONNECTION_API int32_t ThreadVideoSourceForCar(const char* host, int32_t mediaPort,
                                                       int32_t cmdPort, int32_t channel,
                                                       const char* acc, const char* pwd,
                                                       uint8_t* isCancel, const char* timestamp,
                                                       const char* carId, uint8_t* canGetFrame,
                                                       uint8_t* frameData, int32_t* frameLen);

// One device as the server describes it. The fields are copied as they come; only itemLen has a
// meaning here. On the wire the record is packed and its integers have 4 bytes; where a long has 8,
// the low half is filled and the high half left as it was (start from a zeroed table).
//
// itemLen is the record's length on the wire: from 284 on, bytes follow that are skipped, 2364 at
// most.
//
//   +0 itemLen  +4 blk64  +68 blkA32  +100 blkB32  +132 numA  +136 numB
//   +140 byte byteA  +141 byte byteB  +142 byte byteC  +143 blk9  +152 blk128
//   +280 skipped[itemLen - 280]
typedef struct DevInfoItem {
  long itemLen;
  uint8_t blk64[64];
  uint8_t blkA32[32];
  uint8_t blkB32[32];
  long numA;
  long numB;
  uint8_t byteA;
  uint8_t byteB;
  uint8_t byteC;
  uint8_t blk9[9];
  uint8_t blk128[128];
} DevInfoItem;

// A table for ThreadGetCarGPS, zero at the start of the program. On Linux a process has one table
// and one carCount, whichever libraries that define them it has loaded; those stay after dlclose().
QUORVID_CONNECTION_API extern DevInfoItem myDevInfoItemsForGPS[200];

// Records that the poll under way has read; 0 from each new connection on. Written by
// ThreadGetCarGPS on its thread, so run one poller at a time.
QUORVID_CONNECTION_API extern int32_t carCount;

// Asks once for the devices that an account may see.
//
// Blocks its thread until the reply is complete or fails (10 s without a byte is a failure).
//
//   items             at least 200 records, filled from index 0; more are not asked for
//   count             grows by 1 for each complete record; the caller sets it to 0 before
//   host, port        server; port2 is not used
//   acc, pwd, text3   31 characters at most, a longer one ends the process; may be null
//   done              becomes 1 on success, else is left alone
//
// Returns 0 on success. Returns -1 when the server can't be reached or the reply is wrong or short;
// count then says how many records are good.
//
// List request, 500 bytes:
//   +0 "3GAPV104"  +8 1  +12 130  +16 284  +20 acc[32]  +52 pwd[32]  +84 text3[32]  +116 0
//   +120 zero[380]
//
// Reply: any bytes, then a header of 124 bytes, then itemCount records, of which 200 are read. The
// tag is "3GAPV103", "3GAPV104" or "3GAPV105".
//   +0 tag[8]  +8 skipped[4]  +12 replyCmd (32769)  +16 replyLen (8 or more)  +20 skipped[100]
//   +120 itemCount (1 or more)
QUORVID_CONNECTION_API int32_t ThreadGetListForCar(DevInfoItem* items, int32_t* count,
                                                   const char* host, int32_t port, int32_t port2,
                                                   const char* acc, const char* pwd,
                                                   const char* text3, int32_t* done);

// Asks host:port which relay serves a device, then streams from it as ThreadVideoSourceForCar.
//
// Blocks its thread; isCancel is looked at only once the stream runs, but CancelVideoSource ends a
// lookup under way, too. Returns 0 when the stream was cancelled, -1 when the lookup failed (it is
// not repeated). carId goes into the lookup only beside a timestamp that is not null. Texts have
// the lengths of the car stream.
//
// Relay request, 500 bytes:
//   +0 "3GAPV104"  +8 1  +12 134  +16 size  +20 acc[32]  +52 pwd[32]  +84 timestamp[32]  +116 1
//   +120 size  +124 1  +128 carId[64]  +192 channel + 1  +196 0  +200 0  +204 zero[296]
// where size is 104 on systems with 64-bit longs and 84 on those with 32-bit longs.
//
// Reply: any bytes, then a header with a tag of a list reply's; relayAddr is a.b.c.d.
//   +0 tag[8]  +8 skipped[4]  +12 replyCmd (32769)  +16 replyLen (8..508)  +20 skipped[104]
//   +124 skipped[replyLen - 8], relayAddr[4], relayPort
QUORVID_CONNECTION_API int32_t ThreadGetRelayForCar(const char* host, int32_t port, int32_t cmdPort,
                                                    int32_t channel, const char* acc,
                                                    const char* pwd, uint8_t* isCancel,
                                                    const char* timestamp, const char* carId,
                                                    uint8_t* canGetFrame, uint8_t* frameData,
                                                    int32_t* frameLen);

// Fetches the device list again and again, 4 s after each poll, while bit 0 of run is set.
//
// Blocks its thread. items, host, port, port2, acc, pwd and text3 as for the list, their lengths
// included. done is 0 while
// a reply is searched for. A wrong reply is asked for again at once, without a pause: also one with
// no records, so a server that has none is asked as fast as it answers. Returns 0 once run was
// cleared (done is 1 then), -1 when the server can't be reached.
//
// A poll ends in this order: the last record and carCount, then done = 1, then count = the number
// of records, then the 4 s. So count may be the last poll's for a moment after done has become 1,
// and whoever has read the new count sees its records, too. The poller never reads either of them:
// store -1 in count before the call and each time that you have copied the records; once count is 0
// or more, a new poll is complete. Its records stay for the 4 s at least, those beyond count are of
// earlier polls. A done that has become 0 meanwhile says that they may be overwritten.
QUORVID_CONNECTION_API int32_t ThreadGetCarGPS(DevInfoItem* items, int32_t* count, const char* host,
                                               int32_t port, int32_t port2, const char* acc,
                                               const char* pwd, const char* text3, int32_t* done,
                                               uint8_t* run);

// Sets bit 0 of isCancel and shuts down the connection of every video worker or relay lookup that
// is running with this very isCancel, so that the read under way ends and the call returns.
//
// Any thread, but not a signal handler; never waits. Safe at any time while isCancel is valid, also
// before the worker's thread has begun, and again. Nothing that was read after it is delivered. It
// leaves name look-up, connecting and the pauses (3 s, 0.5 s) to end by themselves. A relay lookup
// that begins only later isn't ended: look at isCancel first, or call this again.
QUORVID_CONNECTION_API void CancelVideoSource(uint8_t* isCancel);

// Clears bit 0 of run and ends the read of every ThreadGetCarGPS that is running with this very
// run, as CancelVideoSource does. A list that is cut counts as a poll of the records that came.
QUORVID_CONNECTION_API void StopCarGPS(uint8_t* run);

// Has each line that the functions above print given to `printer` in place of standard output; a
// null one brings that back. One of the process, whichever libraries that define it are loaded.
//
// Any thread, but not a signal handler; never waits. The printer is called on the thread whose call
// prints, by several at once where several print; it must not throw, and holds that call up while
// it runs. It may call anything. A line under way may still reach the former printer after this has
// returned, so its context must last until the calls that were running by then have returned.
//
//   line     without its line end, the printer's until it returns; a failed name look-up's has one
//            inside: the time, then the text
//   context  given to each call as it is
QUORVID_CONNECTION_API void SetConnectionPrinter(void (*printer)(const char* line, void* context),
                                                 void* context);

// Turns the lines off until the next SetConnectionPrinter: they are not even formatted. Otherwise
// the same.
QUORVID_CONNECTION_API void SilenceConnectionPrinter(void);

#ifdef __cplusplus
}
#endif

#endif
