/* SPDX-License-Identifier: GPL-2.0-or-later */

/*
 * The boundary between the OBS module and the engine library `kalvio`.
 *
 * The module knows the engine by this header alone, and the engine knows neither OBS nor Qt. Any library that exports
 * these functions can stand behind it; the open engine in this repository is one.
 *
 * Threads. Calls on one handle must not overlap: the caller serializes them. Calls on different handles may run at the
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
	KL_EVENT_RESOURCE_FAILED = 2, /* an effect's file could not be loaded, or the resource bundle lacks what some
					 effects need; the message says which */
	KL_EVENT_FRAME_BUDGET = 3     /* frames take longer than a thirtieth of a second; at most once per minute */
};

/* What a log holds; each level includes those before it. */
enum kl_log_level {
	KL_LOG_ERROR = 0,
	KL_LOG_WARNING = 1,
	KL_LOG_INFORMATION = 2, /* what the module asks for */
	KL_LOG_DEBUG = 3
};

/* Where an engine writes its log. The texts are the engine's. */
typedef struct kl_log_config {
	int32_t console;  /* 1: also write to the standard error stream; the module passes 0 */
	int32_t file;     /* 1: append to the file at `path`; the module passes 1 */
	int32_t level;    /* kl_log_level */
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

/* --- What the library is ------------------------------------------------------------------------------------- */
/*
 * The calls of this section need not be exported by every engine. A host that runs with any of them looks them up at
 * run time.
 */

/* The version of this header. It grows with each function or enumerator that is added; none is changed or removed. */
enum { KL_API_VERSION = 1 };

/* The KL_API_VERSION that the library was built with. Any thread. */
KL_API int32_t kl_get_api_version(void);

/* What an engine may need data for, and can then draw. Everything else is always there. */
enum kl_capability {
	KL_CAPABILITY_FACES = 1 << 0,        /* face reshape, makeup, face and 3D stickers */
	KL_CAPABILITY_PERSON_MATTE = 1 << 1, /* the background's blur and picture without a chroma key */
	KL_CAPABILITY_BODY = 1 << 2          /* body reshape */
};

/*
 * The capabilities that this engine has now, a sum of kl_capability, at least 0. Settings of the others are stored and
 * have no effect. A negative status for a null handle, and while another call on the handle runs.
 */
KL_API int32_t kl_get_capabilities(kl_engine *engine);

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

enum {
	KL_PIXEL_FORMAT_RGBA = 1,
	KL_MAX_FRAME_SIZE = 16384 /* the largest width and height, in pixels */
};

/*
 * Processes one frame: 8-bit RGBA, 4 bytes per pixel, straight alpha, sRGB-encoded color, rows from top to bottom.
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
/*
 * Strengths are 0 (no effect, the initial value) to 1. A style or color outside its enumeration is refused. The numbers
 * never change: hosts store them.
 */

/* What smoothing leaves of the skin. */
enum kl_smoothing_style {
	KL_SMOOTHING_STYLE_NATURAL = 0, /* smooth areas, some of the fine detail */
	KL_SMOOTHING_STYLE_TEXTURE = 1, /* smooth areas, all of the fine detail; the initial value */
	KL_SMOOTHING_STYLE_SMOOTH = 2,  /* also the fine detail, and over stronger variation */
	KL_SMOOTHING_STYLE_COUNT
};

/* The tone that whitening pulls towards. */
enum kl_whitening_style {
	KL_WHITENING_STYLE_COLD_WHITE = 0, /* brighter and bluish; the initial value */
	KL_WHITENING_STYLE_PINK_WHITE = 1, /* brighter and pink */
	KL_WHITENING_STYLE_WARM_WHITE = 2, /* brighter and yellowish */
	KL_WHITENING_STYLE_WHEAT = 3,      /* slightly brighter and golden */
	KL_WHITENING_STYLE_TAN = 4,        /* darker and brown */
	KL_WHITENING_STYLE_COUNT
};

KL_API int32_t kl_set_smoothing(kl_engine *engine, float strength);
KL_API int32_t kl_set_smoothing_style(kl_engine *engine, int32_t style); /* kl_smoothing_style */
KL_API int32_t kl_set_whitening(kl_engine *engine, float strength);
KL_API int32_t kl_set_whitening_style(kl_engine *engine, int32_t style); /* kl_whitening_style */
KL_API int32_t kl_set_rosiness(kl_engine *engine, float strength);
KL_API int32_t kl_set_sharpening(kl_engine *engine, float strength);
KL_API int32_t kl_set_beauty_skin_only(kl_engine *engine, bool skin_only); /* limit the skin effects to found skin */

/* --- Reshape ------------------------------------------------------------------------------------------------- */

/*
 * What a face reshape changes. Amounts are -1..1, 0 initially; above 0 is what the comment says, below 0 the opposite.
 * Needs KL_CAPABILITY_FACES. Works on up to four faces and fades with how surely each part of a face is seen.
 */
enum kl_reshape {
	KL_RESHAPE_FACE_THIN = 0,        /* narrower lower face */
	KL_RESHAPE_FACE_VSHAPE = 1,      /* narrower towards the chin */
	KL_RESHAPE_FACE_NARROW = 2,      /* narrower face */
	KL_RESHAPE_FACE_SHORT = 3,       /* shorter lower face */
	KL_RESHAPE_CHEEKBONE = 4,        /* narrower at the cheekbones */
	KL_RESHAPE_JAWBONE = 5,          /* narrower at the jaw */
	KL_RESHAPE_CHIN = 6,             /* longer chin */
	KL_RESHAPE_NOSE_SLIM = 7,        /* narrower nose */
	KL_RESHAPE_EYE_SIZE = 8,         /* larger eyes */
	KL_RESHAPE_EYE_DISTANCE = 9,     /* eyes further apart */
	KL_RESHAPE_FACE_SMALL = 10,      /* smaller face */
	KL_RESHAPE_FOREHEAD = 11,        /* higher forehead */
	KL_RESHAPE_NOSE_LONG = 12,       /* longer nose */
	KL_RESHAPE_PHILTRUM = 13,        /* larger distance from nose to mouth */
	KL_RESHAPE_MOUTH_SIZE = 14,      /* larger mouth */
	KL_RESHAPE_MOUTH_POSITION = 15,  /* higher mouth */
	KL_RESHAPE_MOUTH_SMILE = 16,     /* corners of the mouth up and out */
	KL_RESHAPE_LIP_THICKNESS = 17,   /* fuller lips */
	KL_RESHAPE_EYE_ROUND = 18,       /* wider open eyes */
	KL_RESHAPE_EYE_POSITION = 19,    /* higher eyes */
	KL_RESHAPE_EYE_ANGLE = 20,       /* outer corners of the eyes up */
	KL_RESHAPE_EYE_CORNER_OPEN = 21, /* inner corners of the eyes further in */
	KL_RESHAPE_LOWER_EYELID = 22,    /* lower lid down */
	KL_RESHAPE_BROW_POSITION = 23,   /* higher brows */
	KL_RESHAPE_BROW_DISTANCE = 24,   /* brows further apart */
	KL_RESHAPE_BROW_THICKNESS = 25,  /* thicker brows */
	KL_RESHAPE_COUNT
};

/*
 * What a body reshape changes. Amounts are 0..1, 0 initially. Needs KL_CAPABILITY_BODY. Works on up to four people
 * whose faces are seen; what concerns the legs, where the whole figure is in the frame.
 */
enum kl_body_reshape {
	KL_BODY_RESHAPE_BODY_SLIM = 0, /* width of the whole body */
	KL_BODY_RESHAPE_WAIST_SLIM = 1,
	KL_BODY_RESHAPE_LEG_SLIM = 2,
	KL_BODY_RESHAPE_SHOULDER_SLIM = 3,
	KL_BODY_RESHAPE_ARM_SLIM = 4,
	KL_BODY_RESHAPE_LEG_LONG = 5, /* length of the legs */
	KL_BODY_RESHAPE_BUST_ENHANCE = 6,
	KL_BODY_RESHAPE_LEG_STRETCH = 7, /* length of the lower legs */
	KL_BODY_RESHAPE_TORSO_LONG = 8,  /* length of the torso */
	KL_BODY_RESHAPE_COUNT
};

KL_API int32_t kl_set_reshape(kl_engine *engine, int32_t id, float amount);      /* `id`: kl_reshape */
KL_API int32_t kl_set_body_reshape(kl_engine *engine, int32_t id, float amount); /* `id`: kl_body_reshape */

/* --- Makeup: strengths 0..1, initially 0 --------------------------------------------------------------------- */

/* Initially the first one, as all choices of makeup. */
enum kl_lipstick_color {
	KL_LIPSTICK_COLOR_ROUGE = 0,
	KL_LIPSTICK_COLOR_RETRO_RED = 1,
	KL_LIPSTICK_COLOR_PEACH = 2,
	KL_LIPSTICK_COLOR_CORAL_ORANGE = 3,
	KL_LIPSTICK_COLOR_GENTLE_PINK = 4,
	KL_LIPSTICK_COLOR_VITALITY_ORANGE = 5,
	KL_LIPSTICK_COLOR_COUNT
};

/* Where the blush lies and how it fades. */
enum kl_blush_style {
	KL_BLUSH_STYLE_SUN_KISSED = 0,
	KL_BLUSH_STYLE_IGARI = 1,
	KL_BLUSH_STYLE_SOFT = 2,
	KL_BLUSH_STYLE_APPLE = 3,
	KL_BLUSH_STYLE_CLASSIC = 4,
	KL_BLUSH_STYLE_DOLL = 5,
	KL_BLUSH_STYLE_ROSE = 6,
	KL_BLUSH_STYLE_COUNT
};

enum kl_blush_color {
	KL_BLUSH_COLOR_CORAL_PINK = 0,
	KL_BLUSH_COLOR_DUSTY_ROSE = 1,
	KL_BLUSH_COLOR_VIVID_RED = 2,
	KL_BLUSH_COLOR_BERRY = 3,
	KL_BLUSH_COLOR_SUNSET_ORANGE = 4,
	KL_BLUSH_COLOR_COUNT
};

/* Which parts of the face are shaded and lit. */
enum kl_contour_style {
	KL_CONTOUR_STYLE_NATURAL = 0,
	KL_CONTOUR_STYLE_SCULPT = 1,
	KL_CONTOUR_STYLE_GLOW = 2,
	KL_CONTOUR_STYLE_SLIM = 3,
	KL_CONTOUR_STYLE_NOSE = 4,
	KL_CONTOUR_STYLE_GLAM = 5,
	KL_CONTOUR_STYLE_COUNT
};

/* How the shadow is spread over the lid. */
enum kl_eye_shadow_style {
	KL_EYE_SHADOW_STYLE_SOFT = 0,
	KL_EYE_SHADOW_STYLE_CREASE = 1,
	KL_EYE_SHADOW_STYLE_SMOKY = 2,
	KL_EYE_SHADOW_STYLE_HALO = 3,
	KL_EYE_SHADOW_STYLE_GLOW = 4,
	KL_EYE_SHADOW_STYLE_DRAMA = 5,
	KL_EYE_SHADOW_STYLE_WARM = 6,
	KL_EYE_SHADOW_STYLE_COUNT
};

enum kl_eye_shadow_color {
	KL_EYE_SHADOW_COLOR_PLUM = 0,
	KL_EYE_SHADOW_COLOR_BROWN = 1,
	KL_EYE_SHADOW_COLOR_GOLD = 2,
	KL_EYE_SHADOW_COLOR_PINK = 3,
	KL_EYE_SHADOW_COLOR_COUNT
};

/* The shape of the line along the lid. */
enum kl_eye_liner_style {
	KL_EYE_LINER_STYLE_CLASSIC = 0,
	KL_EYE_LINER_STYLE_FLICK = 1,
	KL_EYE_LINER_STYLE_CAT_EYE = 2,
	KL_EYE_LINER_STYLE_NATURAL = 3,
	KL_EYE_LINER_STYLE_BOLD = 4,
	KL_EYE_LINER_STYLE_SOFT = 5,
	KL_EYE_LINER_STYLE_COUNT
};

enum kl_eye_liner_color {
	KL_EYE_LINER_COLOR_BURGUNDY = 0,
	KL_EYE_LINER_COLOR_PLUM = 1,
	KL_EYE_LINER_COLOR_CHOCOLATE = 2,
	KL_EYE_LINER_COLOR_COFFEE = 3,
	KL_EYE_LINER_COLOR_MAUVE = 4,
	KL_EYE_LINER_COLOR_COUNT
};

/* The shape and texture of the brow. */
enum kl_eyebrow_style {
	KL_EYEBROW_STYLE_NATURAL = 0,
	KL_EYEBROW_STYLE_SOFT = 1,
	KL_EYEBROW_STYLE_FEATHERED = 2,
	KL_EYEBROW_STYLE_MIST = 3,
	KL_EYEBROW_STYLE_ARCHED = 4,
	KL_EYEBROW_STYLE_POWDER = 5,
	KL_EYEBROW_STYLE_WILD = 6,
	KL_EYEBROW_STYLE_FULL = 7,
	KL_EYEBROW_STYLE_STRAIGHT = 8,
	KL_EYEBROW_STYLE_COUNT
};

enum kl_eyebrow_color {
	KL_EYEBROW_COLOR_DARK_BROWN = 0,
	KL_EYEBROW_COLOR_BLACK = 1,
	KL_EYEBROW_COLOR_SOFT_BROWN = 2,
	KL_EYEBROW_COLOR_COUNT
};

/* The length and grouping of the lashes. */
enum kl_eyelash_style {
	KL_EYELASH_STYLE_CLASSIC = 0,
	KL_EYELASH_STYLE_MANGA = 1,
	KL_EYELASH_STYLE_WINGED = 2,
	KL_EYELASH_STYLE_WISPY = 3,
	KL_EYELASH_STYLE_CLUSTERED = 4,
	KL_EYELASH_STYLE_DOLL = 5,
	KL_EYELASH_STYLE_COUNT
};

enum kl_eyelash_color {
	KL_EYELASH_COLOR_BLACK = 0,
	KL_EYELASH_COLOR_BROWN = 1,
	KL_EYELASH_COLOR_SOFT_BLACK = 2,
	KL_EYELASH_COLOR_COUNT
};

/* The color of a contact lens over the iris. */
enum kl_pupil_color {
	KL_PUPIL_COLOR_HAZEL = 0,
	KL_PUPIL_COLOR_ICE = 1,
	KL_PUPIL_COLOR_MOCHA = 2,
	KL_PUPIL_COLOR_OLIVE = 3,
	KL_PUPIL_COLOR_GLOSS = 4,
	KL_PUPIL_COLOR_MOSS = 5,
	KL_PUPIL_COLOR_SAND = 6,
	KL_PUPIL_COLOR_GLOW = 7,
	KL_PUPIL_COLOR_SLATE = 8,
	KL_PUPIL_COLOR_COUNT
};

KL_API int32_t kl_set_lipstick(kl_engine *engine, float strength);
KL_API int32_t kl_set_lipstick_color(kl_engine *engine, int32_t color); /* kl_lipstick_color */
KL_API int32_t kl_set_blush(kl_engine *engine, float strength);
KL_API int32_t kl_set_blush_style(kl_engine *engine, int32_t style); /* kl_blush_style */
KL_API int32_t kl_set_blush_color(kl_engine *engine, int32_t color); /* kl_blush_color */
KL_API int32_t kl_set_contour(kl_engine *engine, float strength);
KL_API int32_t kl_set_contour_style(kl_engine *engine, int32_t style); /* kl_contour_style */
KL_API int32_t kl_set_eye_shadow(kl_engine *engine, float strength);
KL_API int32_t kl_set_eye_shadow_style(kl_engine *engine, int32_t style); /* kl_eye_shadow_style */
KL_API int32_t kl_set_eye_shadow_color(kl_engine *engine, int32_t color); /* kl_eye_shadow_color */
KL_API int32_t kl_set_eye_liner(kl_engine *engine, float strength);
KL_API int32_t kl_set_eye_liner_style(kl_engine *engine, int32_t style); /* kl_eye_liner_style */
KL_API int32_t kl_set_eye_liner_color(kl_engine *engine, int32_t color); /* kl_eye_liner_color */
KL_API int32_t kl_set_eyebrow(kl_engine *engine, float strength);
KL_API int32_t kl_set_eyebrow_style(kl_engine *engine, int32_t style); /* kl_eyebrow_style */
KL_API int32_t kl_set_eyebrow_color(kl_engine *engine, int32_t color); /* kl_eyebrow_color */
KL_API int32_t kl_set_eyelash(kl_engine *engine, float strength);
KL_API int32_t kl_set_eyelash_style(kl_engine *engine, int32_t style); /* kl_eyelash_style */
KL_API int32_t kl_set_eyelash_color(kl_engine *engine, int32_t color); /* kl_eyelash_color */
KL_API int32_t kl_set_pupil(kl_engine *engine, float strength);
KL_API int32_t kl_set_pupil_color(kl_engine *engine, int32_t color); /* kl_pupil_color */

/* --- Chroma key ---------------------------------------------------------------------------------------------- */

/* The color that a chroma key takes for background. */
enum kl_chroma_key_color {
	KL_CHROMA_KEY_COLOR_GREEN = 0,
	KL_CHROMA_KEY_COLOR_BLUE = 1,
	KL_CHROMA_KEY_COLOR_RED = 2,
	KL_CHROMA_KEY_COLOR_COUNT
};

/* Switches the chroma key on; `color`: kl_chroma_key_color. Off initially. */
KL_API int32_t kl_set_chroma_key(kl_engine *engine, int32_t color);
/* Switches the chroma key off; the three values below are kept. */
KL_API int32_t kl_clear_chroma_key(kl_engine *engine);
/* 0..1, 0 initially: how far from the key color a pixel may be and still be keyed. */
KL_API int32_t kl_set_chroma_key_similarity(kl_engine *engine, float similarity);
/* 0..1, 0 initially: width of the ramp from keyed to kept. */
KL_API int32_t kl_set_chroma_key_smoothness(kl_engine *engine, float smoothness);
/* 0..1, 0 initially: how much of the key color's spill is taken out of what is kept. */
KL_API int32_t kl_set_chroma_key_desaturation(kl_engine *engine, float desaturation);

/* --- Effects from files -------------------------------------------------------------------------------------- */
/*
 * Paths are absolute. A loader that fails leaves the effect that was loaded before in place; the module clears it
 * itself. KL_ERROR_FILE and KL_ERROR_FORMAT tell an absent file from a bad one; the engine's log says which.
 */

/* Loads a color filter bundle (".kld"). */
KL_API int32_t kl_set_filter(kl_engine *engine, const char *path);
/* Mix of the color filter, 0..1, initially 1; kept when the filter changes. */
KL_API int32_t kl_set_filter_intensity(kl_engine *engine, float intensity);
/* Takes the color filter away; the mix is kept. */
KL_API int32_t kl_clear_filter(kl_engine *engine);

/* Load a face or screen sticker bundle, or a 3D one (".kld"). The two places are independent. */
KL_API int32_t kl_set_sticker(kl_engine *engine, const char *path);
KL_API int32_t kl_set_3d_sticker(kl_engine *engine, const char *path);
/* Take one of the two away; the other stays. */
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
/*
 * Blurs the background; takes the place of a background picture. `strength` 0..1: the standard deviation of the
 * Gaussian is strength * 0.03 of the frame's height.
 */
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
