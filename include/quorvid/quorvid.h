// quorvid.h: the live view and the player of pictures for programs in C and in every language that
// calls C. C11 and C++. Link with -lquorvid.
//
//   #include <stdio.h>
//
//   #include "quorvid/quorvid.h"
//
//   int main(void) {
//     quorvid_target target = QUORVID_TARGET_INIT;
//     target.host = "fleet.example.com";
//     target.port = 6602;
//     target.device = "BUS-17";
//     quorvid_player* player = quorvid_player_create(NULL);
//     quorvid_player_connect(player, &target);
//     quorvid_picture* picture = NULL;
//     while (quorvid_player_wait(player, 10, &picture) == QUORVID_OK) {
//       quorvid_image image = QUORVID_IMAGE_INIT;
//       quorvid_picture_read(picture, QUORVID_RGB, &image);
//       printf("%d x %d, first red %d\n", image.width, image.height, image.plane[0][0]);
//       quorvid_picture_free(picture);
//     }
//     quorvid_player_free(player);
//     return 0;
//   }
//
// Two ways to a picture: a player (any thread, no window, no GL) hands out decoded pictures; a view
// inside a host (one thread, your GL context) is drawn into your window. A player of frames hands
// out the stream itself, not decoded.
//
// Handles are opaque and belong to the caller until their _free function, which takes null. Texts
// given to a function are copied; texts returned are constant and stay. Nothing ends the process
// and no exception comes out: what can't be done is said by the result. A null handle or a null
// argument that is needed gives QUORVID_BAD_ARGUMENT, 0, null or no effect, as each function's type
// allows. A handle that was freed, or that never was one, is not recognised.
//
// Structs begin with their size, which the caller sets (the _INIT values do), and only grow. What
// an older caller's struct has no room for is left out; what a newer caller's struct has beyond
// this library's is ignored when read, and left as it was when written. A size below 8 is
// QUORVID_BAD_ARGUMENT. Numbers of states, reasons, formats and results never change, and further
// ones may come: treat an unknown state as not live and an unknown result below 0 as a failure.
//
// A handler is called with the context that was given beside it; it must not throw or longjmp.
#ifndef QUORVID_QUORVID_H
#define QUORVID_QUORVID_H

#include <stdint.h>

#define QUORVID_C_API __attribute__((visibility("default")))

// NOLINTBEGIN(readability-identifier-naming): names as C programs have them.
#ifdef __cplusplus
extern "C" {
#endif

// ---- Version and texts. Any thread.

// This header; QUORVID_VERSION / 10000 is the major number, a library of the same serves.
#define QUORVID_VERSION 10000
// The library that is loaded: 10000 * major + 100 * minor + patch.
QUORVID_C_API int32_t quorvid_version(void);

enum quorvid_result {
  QUORVID_OK = 0,
  QUORVID_BAD_ARGUMENT = -1,    // null, a size below 8, a number out of range
  QUORVID_TARGET_REFUSED = -2,  // an impossible target; the status has the sentence
  QUORVID_TIMED_OUT = -3,       // no picture came in time
  QUORVID_NOT_PLAYING = -4,     // nothing is played, or no longer
  QUORVID_NO_PICTURE = -5,      // none was shown yet, or not in that format
  QUORVID_NO_RESOURCES = -6,    // no memory or thread
  QUORVID_NOT_DRAWN = -7,       // the GL context or framebuffer is missing or unfit
  QUORVID_WRONG_THREAD = -8     // a host's or view's, called on another thread than its own
};
// "timed out" ...; "unknown" for another number.
QUORVID_C_API const char* quorvid_result_name(int32_t result);

enum quorvid_state {
  QUORVID_IDLE = 0,             // nothing was played yet
  QUORVID_RESOLVING = 1,        // the server's name is looked up
  QUORVID_CONNECTING = 2,       // a connection is opened, or a relay asked for
  QUORVID_WAITING_FOR_KEY = 3,  // connected; nothing that can be decoded has come yet
  QUORVID_LIVE = 4,             // pictures come
  QUORVID_LATE = 5,             // decoding, or a view's drawing, doesn't keep pace
  QUORVID_STALLED = 6,          // none came for stall_after seconds; tried again in next_try
  QUORVID_RECONNECTING = 7,     // the connection is lost or can't be had; again in next_try
  QUORVID_REFUSED = 8,          // the server answered with answer_status; again in next_try
  QUORVID_STOPPED = 9,          // by a stop function
  QUORVID_FAILED = 10           // nothing is tried: an impossible target, or no graphics
};
// "waiting for a key frame" ...; "unknown" for another number.
QUORVID_C_API const char* quorvid_state_name(int32_t state);

enum quorvid_reason {
  QUORVID_REASON_NONE = 0,
  QUORVID_REASON_TARGET_IMPOSSIBLE = 1,  // a text too long, a port or channel out of range
  QUORVID_REASON_NAME_NOT_FOUND = 2,
  QUORVID_REASON_CONNECTION_REFUSED = 3,  // nobody listens at that port
  QUORVID_REASON_UNREACHABLE = 4,         // no way to the server, or no answer
  QUORVID_REASON_CONNECTION_LOST = 5,     // reset or closed
  QUORVID_REASON_SILENT = 6,              // connected, but nothing comes
  QUORVID_REASON_REFUSED_BY_SERVER = 7,
  QUORVID_REASON_NO_RELAY = 8,       // no place is known where the device is served
  QUORVID_REASON_BROKEN_STREAM = 9,  // bytes that are not of the protocol
  QUORVID_REASON_NO_KEY_FRAME = 10,  // frames come, but none to begin with
  QUORVID_REASON_OUT_OF_ORDER = 11,  // frames are missing between those that came
  QUORVID_REASON_UNDECODABLE = 12,
  QUORVID_REASON_TOO_SLOW = 13,  // decoding or drawing doesn't keep pace: the sentence says which
  QUORVID_REASON_NO_RESOURCES = 14,
  QUORVID_REASON_NO_GRAPHICS = 15  // a view's: no OpenGL ES 2 context, or no storage to draw into
};
// "connection refused" ...; "unknown" for another number.
QUORVID_C_API const char* quorvid_reason_name(int32_t reason);

// ---- What is played, and how it goes. Plain values.

enum quorvid_path {
  QUORVID_FLEET = 0,  // from the fleet server itself
  QUORVID_CAR = 1,    // from the recorder, or what stands for it
  QUORVID_RELAY = 2   // from where the server says that the recorder's stream is served
};

typedef struct quorvid_target {
  uint32_t size;
  int32_t path;
  const char* host;      // name or dotted IPv4 address
  int32_t port;          // 1 to 65535
  int32_t channel;       // camera, counted from 0; at most 7
  const char* device;    // 31 characters at most; 63 on the car and relay paths
  const char* account;   // null: empty; 22 characters at most on the car and relay paths
  const char* password;  // null: empty; 31 characters at most on the car and relay paths
} quorvid_target;
#define QUORVID_TARGET_INIT \
  { sizeof(quorvid_target), 0, 0, 0, 0, 0, 0, 0 }

typedef struct quorvid_status {
  uint32_t size;
  int32_t state;          // quorvid_state
  int32_t reason;         // quorvid_reason
  int32_t answer_status;  // QUORVID_REFUSED
  double next_try;        // seconds from now; QUORVID_RECONNECTING, _REFUSED and _STALLED
  char sentence[256];     // the reason for a person, UTF-8, cut to fit; may be empty
} quorvid_status;
#define QUORVID_STATUS_INIT               \
  {                                       \
    sizeof(quorvid_status), 0, 0, 0, 0, { \
      0                                   \
    }                                     \
  }

// Since the play function, over all reconnections. Times in seconds; below 0: there was none yet.
// A picture of a player counts as shown when it is handed out.
typedef struct quorvid_figures {
  uint32_t size;
  int32_t stream_width, stream_height;  // what the stream states; 0 until a key frame came
  int32_t reserved;                     // 0
  double shape;                         // width / height as shown; 0 until a key frame came
  double playing;                       // since the play function
  double first_picture;                 // from the play function to the first picture shown
  double since_last_picture;
  double lag;                // from a frame's arrival to its picture, the last one
  double longest_pause;      // between two pictures shown, or since the last; not hidden
  double picture_rate;       // pictures shown a second, of late
  double bit_rate;           // bits received a second, of late
  uint64_t received, bytes;  // frames
  uint64_t decoded;          // pictures
  uint64_t converted;        // of them, made ready to be shown: the others nobody would see
  uint64_t shown;            // pictures
  uint64_t overwritten;      // pictures that a newer one overtook
  uint64_t held;             // frames that gave no picture: damaged, or built on lost ones
  uint64_t lost;             // frames dropped before decoding: late, hidden, beyond the bound
  uint64_t reconnections;    // attempts after the first
  uint64_t restarts;         // of them, because pictures stayed away
} quorvid_figures;
#define QUORVID_FIGURES_INIT \
  { sizeof(quorvid_figures), 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0 }

// status: lasts as long as the call.
typedef void (*quorvid_status_handler)(const quorvid_status* status, void* context);

// ---- Pictures. Any thread; one picture may be read by one thread at a time.

typedef struct quorvid_picture quorvid_picture;

enum quorvid_format {
  QUORVID_I420 = 0,  // planes Y', Cb, Cr as decoded: no conversion, no copy
  QUORVID_NV12 = 1,  // planes Y' and CbCr (in turn), video range
  QUORVID_RGB = 2    // one plane, red, green, blue, a byte each
};
enum quorvid_matrix {
  QUORVID_BT601 = 0,
  QUORVID_BT709 = 1,
  QUORVID_SMPTE240 = 2,
  QUORVID_BT2020 = 3
};

// Rows from the top down. Chroma planes have half the size, odd ones rounded up.
typedef struct quorvid_image {
  uint32_t size;
  int32_t format;           // quorvid_format
  int32_t width, height;    // pixels, the stream's own size
  int32_t matrix;           // quorvid_matrix, of I420 and NV12
  int32_t full_range;       // 1: Y', Cb and Cr from 0 to 255; I420 only
  double shape;             // width / height where it is shown
  uint64_t number;          // of the frame, from 1 since the play function; a gap: what was lost,
                            // held back or overtaken, or gave no picture. 0 of a snapshot
  double arrival;           // of the frame, seconds of CLOCK_MONOTONIC; 0 of a snapshot
  double arrival_date;      // the same, seconds since 1970-01-01 00:00 UTC
  const uint8_t* plane[3];  // not to be written to; valid until the picture is freed
  int32_t stride[3];        // bytes from row to row
  int32_t reserved;         // 0
} quorvid_image;
#define QUORVID_IMAGE_INIT \
  { sizeof(quorvid_image), 0, 0, 0, 0, 0, 0, 0, 0, 0, {0, 0, 0}, {0, 0, 0}, 0 }

// Fills `image` with the picture in that format, converting it the first time that one is asked
// for. QUORVID_NO_PICTURE for another format than QUORVID_RGB of a snapshot.
QUORVID_C_API int32_t quorvid_picture_read(quorvid_picture* picture, int32_t format,
                                           quorvid_image* image);
// Another handle to the same bytes, to be freed by itself: keeps a handler's picture. Null when
// memory is short.
QUORVID_C_API quorvid_picture* quorvid_picture_keep(const quorvid_picture* picture);
QUORVID_C_API void quorvid_picture_free(quorvid_picture* picture);

// ---- The player: pictures without a window. Any thread makes any call, several at once.

typedef struct quorvid_player quorvid_player;

typedef struct quorvid_player_options {
  uint32_t size;
  // 0: the newest picture; one that nobody took is overtaken. 1: every picture, in order; up to
  // most_waiting decoded ones wait, the stream behind them as it came; beyond 8 MiB or 12 s of it
  // whole groups of frames are lost.
  int32_t every_picture;
  int32_t most_waiting;  // 1 to 64
  int32_t reserved;      // 0
  double most_lag;       // seconds that a picture may be late; ignored for every picture
  double stall_after;    // seconds without a picture until the stream is started again; 0: never
} quorvid_player_options;
#define QUORVID_PLAYER_OPTIONS_INIT \
  { sizeof(quorvid_player_options), 0, 8, 0, 1.0, 5.0 }

// options: null for those of QUORVID_PLAYER_OPTIONS_INIT; values out of range are brought into it.
// Null when the system gives no thread or memory, or the options have no size.
QUORVID_C_API quorvid_player* quorvid_player_create(const quorvid_player_options* options);
// Stops and frees. Waits for a handler that runs, unless called by it; none is called afterwards.
// A quorvid_player_wait() under way on another thread returns QUORVID_NOT_PLAYING. Pictures stay.
QUORVID_C_API void quorvid_player_free(quorvid_player* player);

// Plays this target; what plays is stopped first. Returns at once; QUORVID_TARGET_REFUSED, with the
// sentence in the status, when the target is impossible. Drops pictures that wait.
QUORVID_C_API int32_t quorvid_player_connect(quorvid_player* player, const quorvid_target* target);
// Plays the last target (again); QUORVID_OK while it plays.
QUORVID_C_API int32_t quorvid_player_play(quorvid_player* player);
// Returns at once. Pictures that wait are dropped, and waits end; a handler may still run.
QUORVID_C_API int32_t quorvid_player_stop(quorvid_player* player);
// Stop and play, without a pause.
QUORVID_C_API int32_t quorvid_player_restart(quorvid_player* player);
QUORVID_C_API int32_t quorvid_player_status(const quorvid_player* player, quorvid_status* status);
QUORVID_C_API int32_t quorvid_player_figures(const quorvid_player* player,
                                             quorvid_figures* figures);

// Waits `seconds` at most (0: not at all) for a picture and takes it; it is the caller's to free.
// QUORVID_TIMED_OUT, or QUORVID_NOT_PLAYING at once when nothing is played or a stop came,
// QUORVID_BAD_ARGUMENT while a picture handler is set; *picture is null then. Any number of threads
// may wait: each gets other pictures.
QUORVID_C_API int32_t quorvid_player_wait(quorvid_player* player, double seconds,
                                          quorvid_picture** picture);

// picture: freed after the call; quorvid_picture_keep() keeps it.
typedef void (*quorvid_picture_handler)(quorvid_picture* picture, void* context);
// Hands each picture to `handler`, on the player's own thread, one at a time; null: no longer. It
// may make any call, and free the player. Pictures that come while it runs wait, as the options
// say. Returns once the former handler no longer runs, unless called by a handler: don't hold a
// lock that it waits for.
QUORVID_C_API int32_t quorvid_player_set_picture_handler(quorvid_player* player,
                                                         quorvid_picture_handler handler,
                                                         void* context);
// Called on the player's own thread when the status has changed; as for the picture handler.
QUORVID_C_API int32_t quorvid_player_set_status_handler(quorvid_player* player,
                                                        quorvid_status_handler handler,
                                                        void* context);

// ---- Hosts: your window, drawn by you. A host and its views belong to the thread that made the
// host; another thread gets QUORVID_WRONG_THREAD (or 0) and changes nothing.
//
// The context is one of OpenGL ES 3 or OpenGL 3 or later, made with EGL or GLX. No call changes
// the current context for longer than it lasts; composite and release put back the GL state that
// they touch (quorvid/view/ViewHost.h lists it).

typedef struct quorvid_host quorvid_host;
typedef struct quorvid_view quorvid_view;

// The host's loader: SDL_GL_GetProcAddress, eglGetProcAddress, glfwGetProcAddress ...
typedef void* (*quorvid_get_proc_address)(const char* name);

// get_proc_address, null if there is none: the library finds GL functions by itself, in the EGL and
// GL libraries of the system. The loader is asked for glGetString alone, in each composite: when
// your GL isn't the one that the library sees, nothing is drawn and composite says so, where the
// picture would go astray. Null when memory is short.
QUORVID_C_API quorvid_host* quorvid_host_create(quorvid_get_proc_address get_proc_address);
// Frees the host and what it holds in the current GL context. Free its views first: one that is
// left is stopped, is drawn nowhere and remains to be freed.
QUORVID_C_API void quorvid_host_free(quorvid_host* host);
// Size in points and pixels per point; values that are not above 0 are ignored.
QUORVID_C_API int32_t quorvid_host_resize(quorvid_host* host, double width, double height,
                                          double scale);
// 0: nobody can see the window (minimised, covered, another workspace). Its views go on receiving,
// and neither decode nor draw, whatever quorvid_view_set_visible() was told. 1 at first.
QUORVID_C_API int32_t quorvid_host_set_visible(quorvid_host* host, int32_t visible);
// Lets the views take and draw what came, and calls their status handlers. Each frame, or when a
// view's descriptor is readable; a few times a second in any case. No context need be current.
QUORVID_C_API int32_t quorvid_host_refresh(quorvid_host* host);
// 1: composite would draw something else than it did last.
QUORVID_C_API int32_t quorvid_host_needs_composite(quorvid_host* host);
// Draws the views into a rectangle of the framebuffer that is bound in the current context, in
// pixels from its lower left. QUORVID_NOT_DRAWN: quorvid_host_why() has the sentence.
QUORVID_C_API int32_t quorvid_host_composite(quorvid_host* host, int32_t x, int32_t y,
                                             int32_t width, int32_t height);
// Why the last composite drew nothing; empty when it did. Until the next call for this host.
QUORVID_C_API const char* quorvid_host_why(const quorvid_host* host);
// Deletes what composite made in the GL context, which is current; before the context goes.
QUORVID_C_API int32_t quorvid_host_release(quorvid_host* host);

// ---- Views: a live stream inside a host. No call waits.

typedef struct quorvid_view_options {
  uint32_t size;
  int32_t grey_when_still;  // 1: the last picture in grey while none follows
  double most_lag;          // seconds that a picture may be late and still be shown
  double stall_after;       // seconds without a picture until the stream is started again; 0: never
  double shape;  // width / height on screen; 0: the stream's own; below 0: fills the view
} quorvid_view_options;
#define QUORVID_VIEW_OPTIONS_INIT \
  { sizeof(quorvid_view_options), 0, 1.0, 5.0, 0 }

// Where it stands in the host: in points from the upper left, width and height above 0. options:
// null for those of QUORVID_VIEW_OPTIONS_INIT. Null for an impossible frame, when memory is short,
// or on another thread than the host's. A view that can't draw, because no OpenGL ES 2 context can
// be had, is QUORVID_FAILED with QUORVID_REASON_NO_GRAPHICS for good.
QUORVID_C_API quorvid_view* quorvid_view_create(quorvid_host* host, double x, double y,
                                                double width, double height,
                                                const quorvid_view_options* options);
// Stops and frees; on the host's thread, also inside the view's own handler.
QUORVID_C_API void quorvid_view_free(quorvid_view* view);
// The same later; all that a resize takes.
QUORVID_C_API int32_t quorvid_view_set_frame(quorvid_view* view, double x, double y, double width,
                                             double height);
// As for the player; the last picture stays. QUORVID_NOT_DRAWN when the view can't draw: nothing is
// played then.
QUORVID_C_API int32_t quorvid_view_connect(quorvid_view* view, const quorvid_target* target);
QUORVID_C_API int32_t quorvid_view_play(quorvid_view* view);
QUORVID_C_API int32_t quorvid_view_stop(quorvid_view* view);
QUORVID_C_API int32_t quorvid_view_restart(quorvid_view* view);
// 0: goes on receiving, and neither decodes nor draws. 1 at first.
QUORVID_C_API int32_t quorvid_view_set_visible(quorvid_view* view, int32_t visible);
QUORVID_C_API int32_t quorvid_view_set_options(quorvid_view* view,
                                               const quorvid_view_options* options);
QUORVID_C_API int32_t quorvid_view_status(const quorvid_view* view, quorvid_status* status);
QUORVID_C_API int32_t quorvid_view_figures(const quorvid_view* view, quorvid_figures* figures);
// Called inside quorvid_host_refresh() when the status has changed; null: no longer.
QUORVID_C_API int32_t quorvid_view_set_status_handler(quorvid_view* view,
                                                      quorvid_status_handler handler,
                                                      void* context);
// Readable (poll) when a refresh would draw a picture or tell of a change; the view's own, cleared
// by the refresh. -1 where there is none.
QUORVID_C_API int32_t quorvid_view_descriptor(const quorvid_view* view);
// Called when the descriptor becomes readable, on a thread of the view: to wake a loop, no more. A
// call may still be under way when this, or quorvid_view_free(), returns: let the context last.
QUORVID_C_API int32_t quorvid_view_set_wake_handler(quorvid_view* view,
                                                    void (*handler)(void* context), void* context);
// The last picture in the stream's own shape, as QUORVID_RGB; the caller's to free.
// QUORVID_NO_PICTURE before the first one; *picture is null then.
QUORVID_C_API int32_t quorvid_view_snapshot(const quorvid_view* view, quorvid_picture** picture);

// ---- Frames: the stream as it came, not decoded, for recorders, relays and decoders of your own.

typedef struct quorvid_frame quorvid_frame;

typedef struct quorvid_access_unit {
  uint32_t size;
  int32_t is_key;     // 1: brings parameter sets or an IDR picture
  int32_t continues;  // 1: no frame is missing since the one handed out before; 0: the first of a
                      // connection, or the one behind what was lost
  int32_t width, height;  // pixels shown, as the stream's parameter set states them
  int32_t reserved;       // 0
  const uint8_t* bytes;   // one access unit, Annex B, as it came; valid until the frame is freed
  uint64_t length;        // of bytes
  uint64_t number;        // of the frame, from 1 since the play function
  double arrival;         // of the frame, seconds of CLOCK_MONOTONIC
  double arrival_date;    // the same, seconds since 1970-01-01 00:00 UTC
} quorvid_access_unit;
#define QUORVID_ACCESS_UNIT_INIT \
  { sizeof(quorvid_access_unit), 0, 0, 0, 0, 0, 0, 0, 0, 0, 0 }

// A player that hands out frames and decodes nothing, with the same calls, states and reasons, but
// for quorvid_player_wait() and a picture handler, which are QUORVID_BAD_ARGUMENT. Each frame is
// handed out, in order, from the first parameter sets of each connection on: the frames before them
// are counted as held. 64 frames wait to be taken, and behind them what came since; beyond 8 MiB or
// 12 s of that whole groups of frames are lost and counted. A frame counts as shown when it is
// handed out. stall_after: seconds without a frame until the stream is started again; 0: never.
// Null when the system gives no thread or memory.
QUORVID_C_API quorvid_player* quorvid_player_create_for_frames(double stall_after);
// As quorvid_player_wait(), for a frame; QUORVID_BAD_ARGUMENT of a player of pictures.
QUORVID_C_API int32_t quorvid_player_wait_frame(quorvid_player* player, double seconds,
                                                quorvid_frame** frame);
QUORVID_C_API int32_t quorvid_frame_read(const quorvid_frame* frame, quorvid_access_unit* unit);
QUORVID_C_API void quorvid_frame_free(quorvid_frame* frame);

#ifdef __cplusplus
}
#endif
// NOLINTEND(readability-identifier-naming)

#endif
