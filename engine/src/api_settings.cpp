// SPDX-License-Identifier: GPL-2.0-or-later

// The setters of plain values: each checks, stores, and is in effect from the next frame.
#include "guarded_call.h"

using namespace kalvio::engine;

namespace {

// `field` takes the settings and gives the place of the value.
template <typename Field>
int32_t set_number(kl_engine *engine, float value, float low, float high, Field field)
{
	return guarded_call(engine, [=](kl_engine &self) -> int32_t {
		const std::optional<float> clamped = finite_in_range(value, low, high);
		if (!clamped)
			return KL_ERROR_INVALID_ARGUMENT;
		field(self.settings) = *clamped;
		return KL_OK;
	});
}

template <typename Field>
int32_t set_strength(kl_engine *engine, float value, Field field)
{
	return set_number(engine, value, 0.0F, 1.0F, field);
}

template <typename Field>
int32_t set_choice(kl_engine *engine, int32_t value, int32_t count, Field field)
{
	return guarded_call(engine, [=](kl_engine &self) -> int32_t {
		if (value < 0 || value >= count)
			return KL_ERROR_INVALID_ARGUMENT;
		field(self.settings) = value;
		return KL_OK;
	});
}

} // namespace

// A setter of the boundary in one line: its name, where the value goes and, for a choice, how many there are.
#define KALVIO_STRENGTH(function, member)                                                                              \
	int32_t function(kl_engine *engine, float strength)                                                            \
	{                                                                                                              \
		return set_strength(engine, strength, [](Settings &s) -> float & { return s.member; });                \
	}
#define KALVIO_CHOICE(function, member, count)                                                                         \
	int32_t function(kl_engine *engine, int32_t value)                                                             \
	{                                                                                                              \
		return set_choice(engine, value, count, [](Settings &s) -> int32_t & { return s.member; });            \
	}

extern "C" {

KALVIO_STRENGTH(kl_set_smoothing, smoothing)
KALVIO_CHOICE(kl_set_smoothing_style, smoothing_style, KL_SMOOTHING_STYLE_COUNT)
KALVIO_STRENGTH(kl_set_whitening, whitening)
KALVIO_CHOICE(kl_set_whitening_style, whitening_style, KL_WHITENING_STYLE_COUNT)
KALVIO_STRENGTH(kl_set_rosiness, rosiness)
KALVIO_STRENGTH(kl_set_sharpening, sharpening)

int32_t kl_set_beauty_skin_only(kl_engine *engine, bool skin_only)
{
	return guarded_call(engine, [=](kl_engine &self) -> int32_t {
		self.settings.skin_only = skin_only;
		return KL_OK;
	});
}

int32_t kl_set_reshape(kl_engine *engine, int32_t id, float amount)
{
	if (id < 0 || id >= KL_RESHAPE_COUNT)
		return KL_ERROR_INVALID_ARGUMENT;
	const auto index = static_cast<size_t>(id);
	return set_number(engine, amount, -1.0F, 1.0F,
			  [index](Settings &s) -> float & { return s.face_reshape[index]; });
}

int32_t kl_set_body_reshape(kl_engine *engine, int32_t id, float amount)
{
	if (id < 0 || id >= KL_BODY_RESHAPE_COUNT)
		return KL_ERROR_INVALID_ARGUMENT;
	const auto index = static_cast<size_t>(id);
	return set_strength(engine, amount, [index](Settings &s) -> float & { return s.body_reshape[index]; });
}

KALVIO_STRENGTH(kl_set_lipstick, lipstick.strength)
KALVIO_CHOICE(kl_set_lipstick_color, lipstick.color, KL_LIPSTICK_COLOR_COUNT)
KALVIO_STRENGTH(kl_set_blush, blush.strength)
KALVIO_CHOICE(kl_set_blush_style, blush.style, KL_BLUSH_STYLE_COUNT)
KALVIO_CHOICE(kl_set_blush_color, blush.color, KL_BLUSH_COLOR_COUNT)
KALVIO_STRENGTH(kl_set_contour, contour.strength)
KALVIO_CHOICE(kl_set_contour_style, contour.style, KL_CONTOUR_STYLE_COUNT)
KALVIO_STRENGTH(kl_set_eye_shadow, eye_shadow.strength)
KALVIO_CHOICE(kl_set_eye_shadow_style, eye_shadow.style, KL_EYE_SHADOW_STYLE_COUNT)
KALVIO_CHOICE(kl_set_eye_shadow_color, eye_shadow.color, KL_EYE_SHADOW_COLOR_COUNT)
KALVIO_STRENGTH(kl_set_eye_liner, eye_liner.strength)
KALVIO_CHOICE(kl_set_eye_liner_style, eye_liner.style, KL_EYE_LINER_STYLE_COUNT)
KALVIO_CHOICE(kl_set_eye_liner_color, eye_liner.color, KL_EYE_LINER_COLOR_COUNT)
KALVIO_STRENGTH(kl_set_eyebrow, eyebrow.strength)
KALVIO_CHOICE(kl_set_eyebrow_style, eyebrow.style, KL_EYEBROW_STYLE_COUNT)
KALVIO_CHOICE(kl_set_eyebrow_color, eyebrow.color, KL_EYEBROW_COLOR_COUNT)
KALVIO_STRENGTH(kl_set_eyelash, eyelash.strength)
KALVIO_CHOICE(kl_set_eyelash_style, eyelash.style, KL_EYELASH_STYLE_COUNT)
KALVIO_CHOICE(kl_set_eyelash_color, eyelash.color, KL_EYELASH_COLOR_COUNT)
KALVIO_STRENGTH(kl_set_pupil, pupil.strength)
KALVIO_CHOICE(kl_set_pupil_color, pupil.color, KL_PUPIL_COLOR_COUNT)

int32_t kl_set_chroma_key(kl_engine *engine, int32_t color)
{
	return guarded_call(engine, [=](kl_engine &self) -> int32_t {
		if (color < 0 || color >= KL_CHROMA_KEY_COLOR_COUNT)
			return KL_ERROR_INVALID_ARGUMENT;
		self.settings.chroma_key.enabled = true;
		self.settings.chroma_key.color = color;
		return KL_OK;
	});
}

int32_t kl_clear_chroma_key(kl_engine *engine)
{
	return guarded_call(engine, [](kl_engine &self) -> int32_t {
		self.settings.chroma_key.enabled = false;
		return KL_OK;
	});
}

KALVIO_STRENGTH(kl_set_chroma_key_similarity, chroma_key.similarity)
KALVIO_STRENGTH(kl_set_chroma_key_smoothness, chroma_key.smoothness)
KALVIO_STRENGTH(kl_set_chroma_key_desaturation, chroma_key.desaturation)
KALVIO_STRENGTH(kl_set_filter_intensity, filter_intensity)

} // extern "C"
