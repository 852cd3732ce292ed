/* SPDX-License-Identifier: GPL-2.0-or-later */

/*
 * The boundary between the OBS module and the engine library `kalvio`.
 *
 * The module knows the engine by this header alone, and the engine knows neither OBS nor Qt. Any library that exports
 * these functions can stand behind it; the open engine in this repository is one.
 *
 * Threads. Calls on one handle must not overlap: the caller serialises them. Calls on different handles may run at the
 * same time on different threads. kl_set_log_config and kl_engine_create may be called from any thread at any time. The
 * engine has threads of its own: some share the work of a frame within its call, one for all engines loads pictures.
 *
 * Errors. A status is 0 on success and any other value on failure; callers only test for zero and log the number. The
 * named codes below are those of the open engine. No function throws, and none aborts on a bad argument: a null handle,
 * a null pointer, a value that is not finite or an unknown id is refused with KL_ERROR_INVALID_ARGUMENT and changes
 * nothing. Numbers outside the stated range are clamped to it by the engine.
 *
 * Text is UTF-8 and null-terminated. Texts and records that are passed in are copied during the call; the caller keeps
 * them.
 */
#ifndef KALVIO_ENGINE_H
#define KALVIO_ENGINE_H

/* This is C: NOLINTBEGIN(modernize-deprecated-headers,modernize-use-using) */

#include <assert.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#if defined(KALVIO_ENGINE_BUILD)
#define KL_API __declspec(dllexport)
#else
#define KL_API /* without dllimport, so that a program may bring its own functions of these names */
#endif
#else
#define KL_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* One engine: its settings, its loaded effects and its per-frame memory. Created by kl_engine_create. */
typedef struct kl_engine kl_engine;

/* The status codes of the open engine. Another engine may use others; only 0 is fixed. */
enum kl_status {
	KL_OK = 0,
	KL_ERROR_INVALID_ARGUMENT = -1, /* null pointer, size, stride, range or id that cannot be used */
	KL_ERROR_FILE = -2,             /* a file is missing, is no regular file, or cannot be read */
	KL_ERROR_FORMAT = -3,           /* a file is not what its kind must be, or is damaged */
	KL_ERROR_OUT_OF_MEMORY = -4,
	KL_ERROR_INTERNAL = -5, /* a defect of the engine; the frame or the setting is lost, the engine stays usable */
	KL_ERROR_BUSY = -6      /* another call on the same handle is still running; this one changed nothing */
};

/* The event codes of the open engine. */
enum kl_event {
	KL_EVENT_READY = 1,           /* the engine was created */
	KL_EVENT_RESOURCE_FAILED = 2, /* an effect's file could not be loaded; the message names it */
	KL_EVENT_FRAME_BUDGET = 3     /* frames take longer than a thirtieth of a second; at most once a minute */
};

/* Where an engine writes its log. The texts and the levels are the engine's. */
typedef struct kl_log_config {
	int32_t console;  /* 1: also write to the standard error stream; the module passes 0 */
	int32_t file;     /* 1: append to the file at `path`; the module passes 1 */
	int32_t level;    /* 0 errors, 1 and warnings, 2 and information, 3 and debug lines; the module passes 2 */
	int32_t reserved; /* 0 */
	const char *path; /* the log file, UTF-8; null or unwritable: no file is written and nothing fails */
} kl_log_config;

/* What an engine is created from: six fields of pointer size. */
typedef struct kl_engine_config {
	uint64_t reserved0;         /* 0 */
	uint64_t reserved1;         /* 0 */
	const char *reserved_text;  /* null */
	const char *resource_path;  /* the resource bundle "resource.kld", an absolute path */
	const char *application_id; /* reverse-domain name of the host module, for the log; null reads as empty */
	uint64_t reserved2;         /* 0 */
} kl_engine_config;

/* Caller and engine may come from different compilers, so both find the fields in the same places: on 64 bits. */
static_assert(offsetof(kl_log_config, level) == 8 && offsetof(kl_log_config, path) == 16, "layout of kl_log_config");
static_assert(sizeof(kl_log_config) == 24, "size of kl_log_config");
static_assert(offsetof(kl_engine_config, resource_path) == 24 && offsetof(kl_engine_config, application_id) == 32,
	      "layout of kl_engine_config");
static_assert(sizeof(kl_engine_config) == 48, "size of kl_engine_config");

/*
 * An event of the engine, for the host's log.
 *   user_data  as given to kl_engine_set_event_callback
 *   code       the engine's own number
 *   message    valid during the call only; may be null
 * May come from any thread, also from inside another kl_* call. Events of one engine come one at a time. The callback
 * must return quickly, call no kl_* function, and wait for no lock that the host holds while it calls one.
 */
typedef void (*kl_event_callback)(void *user_data, int32_t code, const char *message);

/* --- Session ------------------------------------------------------------------------------------------------- */

/*
 * Sets the log of the whole process for every engine created afterwards. Null: KL_ERROR_INVALID_ARGUMENT.
 */
KL_API int32_t kl_set_log_config(const kl_log_config *config);

/*
 * Opens and checks the resource bundle and makes an engine with neutral settings. May block for as long as that takes.
 * Returns null on any failure, after a line in the engine's log. The caller owns the handle.
 */
KL_API kl_engine *kl_engine_create(const kl_engine_config *config);

/*
 * Sets or, with a null callback, removes the receiver of the engine's events. `user_data` is not read; it must stay
 * valid until the engine is destroyed or the callback is replaced: when this call returns, the callback that was set
 * before is neither running on any thread nor called again. An event that occurred during creation is delivered from
 * inside this call.
 */
KL_API int32_t kl_engine_set_event_callback(kl_engine *engine, kl_event_callback callback, void *user_data);

/*
 * Frees the engine. No event is delivered after it returns. A load that is under way is given up, which takes a moment;
 * the last engine also ends the threads. Null does nothing.
 */
KL_API void kl_engine_destroy(kl_engine *engine);

/* --- Frames -------------------------------------------------------------------------------------------------- */

enum { KL_PIXEL_FORMAT_RGBA = 1, KL_MAX_FRAME_SIZE = 16384 };

/*
 * Processes one frame: 8-bit RGBA, 4 bytes a pixel, straight alpha, sRGB-encoded colour, rows from top to bottom.
 *   input         stride_bytes * height bytes, read only
 *   width, height in pixels, each 1..KL_MAX_FRAME_SIZE; may change from frame to frame
 *   stride_bytes  distance of two rows in both buffers, at least width * 4
 *   output        stride_bytes * height bytes, must not overlap the input; written whole (bytes between the end of a
 *                 row and the stride excepted) when KL_OK is returned, undefined otherwise
 *   pixel_format  KL_PIXEL_FORMAT_RGBA
 *   flags         0
 * With neutral settings the output equals the input bit for bit. A setter called before the call is in effect in it; a
 * background picture that was ready before the call is. Stickers move with the time, however many frames there are.
 */
KL_API int32_t kl_process_rgba(kl_engine *engine, const uint8_t *input, int32_t width, int32_t height,
			       int32_t stride_bytes, uint8_t *output, int32_t pixel_format, int32_t flags);

/* --- Skin ---------------------------------------------------------------------------------------------------- */
/* Strengths are 0 (no effect, the initial value) to 1. Styles and colours are the numbers of kalvio::beauty_params. */

KL_API int32_t kl_set_smoothing(kl_engine *engine, float strength);
KL_API int32_t kl_set_smoothing_style(kl_engine *engine, int32_t style); /* SmoothingStyle, initially 1 */
KL_API int32_t kl_set_whitening(kl_engine *engine, float strength);
KL_API int32_t kl_set_whitening_style(kl_engine *engine, int32_t style); /* WhiteningStyle, initially 0 */
KL_API int32_t kl_set_rosiness(kl_engine *engine, float strength);
KL_API int32_t kl_set_sharpening(kl_engine *engine, float strength);
KL_API int32_t kl_set_beauty_skin_only(kl_engine *engine, bool skin_only); /* limit the skin effects to found skin */

/* --- Reshape ------------------------------------------------------------------------------------------------- */

/* Face reshape: `id` 0..25, `amount` -1..1, 0 initially. */
KL_API int32_t kl_set_reshape(kl_engine *engine, int32_t id, float amount);
/* Body reshape: `id` 0..8, `amount` 0..1, 0 initially. */
KL_API int32_t kl_set_body_reshape(kl_engine *engine, int32_t id, float amount);

/* --- Makeup: strengths 0..1, initially 0 --------------------------------------------------------------------- */

KL_API int32_t kl_set_lipstick(kl_engine *engine, float strength);
KL_API int32_t kl_set_lipstick_color(kl_engine *engine, int32_t color); /* LipstickColor */
KL_API int32_t kl_set_blush(kl_engine *engine, float strength);
KL_API int32_t kl_set_blush_style(kl_engine *engine, int32_t style); /* BlushStyle */
KL_API int32_t kl_set_blush_color(kl_engine *engine, int32_t color); /* BlushColor */
KL_API int32_t kl_set_contour(kl_engine *engine, float strength);
KL_API int32_t kl_set_contour_style(kl_engine *engine, int32_t style); /* ContourStyle */
KL_API int32_t kl_set_eye_shadow(kl_engine *engine, float strength);
KL_API int32_t kl_set_eye_shadow_style(kl_engine *engine, int32_t style); /* EyeShadowStyle */
KL_API int32_t kl_set_eye_shadow_color(kl_engine *engine, int32_t color); /* EyeShadowColor */
KL_API int32_t kl_set_eye_liner(kl_engine *engine, float strength);
KL_API int32_t kl_set_eye_liner_style(kl_engine *engine, int32_t style); /* EyeLinerStyle */
KL_API int32_t kl_set_eye_liner_color(kl_engine *engine, int32_t color); /* EyeLinerColor */
KL_API int32_t kl_set_eyebrow(kl_engine *engine, float strength);
KL_API int32_t kl_set_eyebrow_style(kl_engine *engine, int32_t style); /* EyebrowStyle */
KL_API int32_t kl_set_eyebrow_color(kl_engine *engine, int32_t color); /* EyebrowColor */
KL_API int32_t kl_set_eyelash(kl_engine *engine, float strength);
KL_API int32_t kl_set_eyelash_style(kl_engine *engine, int32_t style); /* EyelashStyle */
KL_API int32_t kl_set_eyelash_color(kl_engine *engine, int32_t color); /* EyelashColor */
KL_API int32_t kl_set_pupil(kl_engine *engine, float strength);
KL_API int32_t kl_set_pupil_color(kl_engine *engine, int32_t color); /* PupilColor */

/* --- Chroma key ---------------------------------------------------------------------------------------------- */

/* Switches the colour key on: 0 green, 1 blue, 2 red. Off initially. */
KL_API int32_t kl_set_chroma_key(kl_engine *engine, int32_t color);
/* Switches the colour key off; the three values below are kept. */
KL_API int32_t kl_clear_chroma_key(kl_engine *engine);
/* 0..1, 0 initially: how far from the key colour a pixel may be and still be keyed. */
KL_API int32_t kl_set_chroma_key_similarity(kl_engine *engine, float similarity);
/* 0..1, 0 initially: width of the ramp from keyed to kept. */
KL_API int32_t kl_set_chroma_key_smoothness(kl_engine *engine, float smoothness);
/* 0..1, 0 initially: how much of the key colour's spill is taken out of what is kept. */
KL_API int32_t kl_set_chroma_key_desaturation(kl_engine *engine, float desaturation);

/* --- Effects from files -------------------------------------------------------------------------------------- */
/*
 * Paths are absolute. A loader that fails leaves the effect that was loaded before in place; the module clears it
 * itself. KL_ERROR_FILE and KL_ERROR_FORMAT tell an absent file from a bad one; the engine's log says which.
 */

/* Loads a colour filter bundle (".kld"). */
KL_API int32_t kl_set_filter(kl_engine *engine, const char *path);
/* Mix of the colour filter, 0..1, initially 1; kept when the filter changes. */
KL_API int32_t kl_set_filter_intensity(kl_engine *engine, float intensity);
KL_API int32_t kl_clear_filter(kl_engine *engine);

/* Load a face or screen sticker bundle, or a 3D one (".kld"). The two places are independent. */
KL_API int32_t kl_set_sticker(kl_engine *engine, const char *path);
KL_API int32_t kl_set_3d_sticker(kl_engine *engine, const char *path);
KL_API int32_t kl_clear_sticker(kl_engine *engine);
KL_API int32_t kl_clear_3d_sticker(kl_engine *engine);

/*
 * Replaces the background by a picture (".jpg" or ".png"), soon. The call opens the file and looks at its first bytes:
 * a file that is missing, cannot be read, is no picture or says that it is too large is refused at once. With KL_OK the
 * engine's loading thread reads, decodes and scales what was opened, and the picture takes effect in the first
 * kl_process_rgba that begins when it is ready; until then the background stays as it is. A later call of this function
 * that returns KL_OK, of kl_set_virtual_background_blur or of kl_clear_virtual_background takes the place of a picture
 * that is not in effect yet.
 *
 * A file that turns out to be damaged, a JPEG of more than 100 scans, and a picture that takes more than two seconds to
 * decode fail later: with one line in the engine's log, one KL_EVENT_RESOURCE_FAILED from the loading thread, and in
 * the next frame no background, as after kl_clear_virtual_background.
 */
KL_API int32_t kl_set_virtual_background(kl_engine *engine, const char *path);
/* Blurs the background, 0..1; takes the place of a background picture. */
KL_API int32_t kl_set_virtual_background_blur(kl_engine *engine, float strength);
/* Leaves the background as captured, the initial state. */
KL_API int32_t kl_clear_virtual_background(kl_engine *engine);

/*
 * Waits until nothing is being loaded for this engine: what was chosen is in effect in the next frame, or has failed
 * and its event was delivered. KL_ERROR_BUSY when that takes longer than `timeout_ms`, 0 or more; the load goes on. For
 * tools and tests, which want a certain picture in a certain frame; a host that shows moving pictures does without.
 */
KL_API int32_t kl_wait_for_loads(kl_engine *engine, int32_t timeout_ms);

#ifdef __cplusplus
}
#endif

/* NOLINTEND(modernize-deprecated-headers,modernize-use-using) */

#endif
