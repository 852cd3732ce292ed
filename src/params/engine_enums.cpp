// SPDX-License-Identifier: GPL-2.0-or-later

// The numbers of the module's choices are those of the engine's header. Checked by the compiler; there is no code here.
#include "params/beauty_params.h"

#include <kalvio_engine.h>

namespace kalvio::beauty_params {

namespace {

template <class Choice>
constexpr bool is(Choice choice, int number)
{
	return static_cast<int>(choice) == number;
}

static_assert(is(SmoothingStyle::Natural, KL_SMOOTHING_STYLE_NATURAL));
static_assert(is(SmoothingStyle::Texture, KL_SMOOTHING_STYLE_TEXTURE));
static_assert(is(SmoothingStyle::Smooth, KL_SMOOTHING_STYLE_SMOOTH));
static_assert(KL_SMOOTHING_STYLE_COUNT == 3);

static_assert(is(WhiteningStyle::ColdWhite, KL_WHITENING_STYLE_COLD_WHITE));
static_assert(is(WhiteningStyle::PinkWhite, KL_WHITENING_STYLE_PINK_WHITE));
static_assert(is(WhiteningStyle::WarmWhite, KL_WHITENING_STYLE_WARM_WHITE));
static_assert(is(WhiteningStyle::Wheat, KL_WHITENING_STYLE_WHEAT));
static_assert(is(WhiteningStyle::Tan, KL_WHITENING_STYLE_TAN));
static_assert(KL_WHITENING_STYLE_COUNT == 5);

static_assert(is(LipstickColor::Rouge, KL_LIPSTICK_COLOR_ROUGE));
static_assert(is(LipstickColor::RetroRed, KL_LIPSTICK_COLOR_RETRO_RED));
static_assert(is(LipstickColor::Peach, KL_LIPSTICK_COLOR_PEACH));
static_assert(is(LipstickColor::CoralOrange, KL_LIPSTICK_COLOR_CORAL_ORANGE));
static_assert(is(LipstickColor::GentlePink, KL_LIPSTICK_COLOR_GENTLE_PINK));
static_assert(is(LipstickColor::VitalityOrange, KL_LIPSTICK_COLOR_VITALITY_ORANGE));
static_assert(KL_LIPSTICK_COLOR_COUNT == 6);

static_assert(is(BlushStyle::SunKissed, KL_BLUSH_STYLE_SUN_KISSED));
static_assert(is(BlushStyle::Igari, KL_BLUSH_STYLE_IGARI));
static_assert(is(BlushStyle::Soft, KL_BLUSH_STYLE_SOFT));
static_assert(is(BlushStyle::Apple, KL_BLUSH_STYLE_APPLE));
static_assert(is(BlushStyle::Classic, KL_BLUSH_STYLE_CLASSIC));
static_assert(is(BlushStyle::Doll, KL_BLUSH_STYLE_DOLL));
static_assert(is(BlushStyle::Rose, KL_BLUSH_STYLE_ROSE));
static_assert(KL_BLUSH_STYLE_COUNT == 7);

static_assert(is(BlushColor::CoralPink, KL_BLUSH_COLOR_CORAL_PINK));
static_assert(is(BlushColor::DustyRose, KL_BLUSH_COLOR_DUSTY_ROSE));
static_assert(is(BlushColor::VividRed, KL_BLUSH_COLOR_VIVID_RED));
static_assert(is(BlushColor::Berry, KL_BLUSH_COLOR_BERRY));
static_assert(is(BlushColor::SunsetOrange, KL_BLUSH_COLOR_SUNSET_ORANGE));
static_assert(KL_BLUSH_COLOR_COUNT == 5);

static_assert(is(ContourStyle::Natural, KL_CONTOUR_STYLE_NATURAL));
static_assert(is(ContourStyle::Sculpt, KL_CONTOUR_STYLE_SCULPT));
static_assert(is(ContourStyle::Glow, KL_CONTOUR_STYLE_GLOW));
static_assert(is(ContourStyle::Slim, KL_CONTOUR_STYLE_SLIM));
static_assert(is(ContourStyle::Nose, KL_CONTOUR_STYLE_NOSE));
static_assert(is(ContourStyle::Glam, KL_CONTOUR_STYLE_GLAM));
static_assert(KL_CONTOUR_STYLE_COUNT == 6);

static_assert(is(EyeShadowStyle::Soft, KL_EYE_SHADOW_STYLE_SOFT));
static_assert(is(EyeShadowStyle::Crease, KL_EYE_SHADOW_STYLE_CREASE));
static_assert(is(EyeShadowStyle::Smoky, KL_EYE_SHADOW_STYLE_SMOKY));
static_assert(is(EyeShadowStyle::Halo, KL_EYE_SHADOW_STYLE_HALO));
static_assert(is(EyeShadowStyle::Glow, KL_EYE_SHADOW_STYLE_GLOW));
static_assert(is(EyeShadowStyle::Drama, KL_EYE_SHADOW_STYLE_DRAMA));
static_assert(is(EyeShadowStyle::Warm, KL_EYE_SHADOW_STYLE_WARM));
static_assert(KL_EYE_SHADOW_STYLE_COUNT == 7);

static_assert(is(EyeShadowColor::Plum, KL_EYE_SHADOW_COLOR_PLUM));
static_assert(is(EyeShadowColor::Brown, KL_EYE_SHADOW_COLOR_BROWN));
static_assert(is(EyeShadowColor::Gold, KL_EYE_SHADOW_COLOR_GOLD));
static_assert(is(EyeShadowColor::Pink, KL_EYE_SHADOW_COLOR_PINK));
static_assert(KL_EYE_SHADOW_COLOR_COUNT == 4);

static_assert(is(EyeLinerStyle::Classic, KL_EYE_LINER_STYLE_CLASSIC));
static_assert(is(EyeLinerStyle::Flick, KL_EYE_LINER_STYLE_FLICK));
static_assert(is(EyeLinerStyle::CatEye, KL_EYE_LINER_STYLE_CAT_EYE));
static_assert(is(EyeLinerStyle::Natural, KL_EYE_LINER_STYLE_NATURAL));
static_assert(is(EyeLinerStyle::Bold, KL_EYE_LINER_STYLE_BOLD));
static_assert(is(EyeLinerStyle::Soft, KL_EYE_LINER_STYLE_SOFT));
static_assert(KL_EYE_LINER_STYLE_COUNT == 6);

static_assert(is(EyeLinerColor::Burgundy, KL_EYE_LINER_COLOR_BURGUNDY));
static_assert(is(EyeLinerColor::Plum, KL_EYE_LINER_COLOR_PLUM));
static_assert(is(EyeLinerColor::Chocolate, KL_EYE_LINER_COLOR_CHOCOLATE));
static_assert(is(EyeLinerColor::Coffee, KL_EYE_LINER_COLOR_COFFEE));
static_assert(is(EyeLinerColor::Mauve, KL_EYE_LINER_COLOR_MAUVE));
static_assert(KL_EYE_LINER_COLOR_COUNT == 5);

static_assert(is(EyebrowStyle::Natural, KL_EYEBROW_STYLE_NATURAL));
static_assert(is(EyebrowStyle::Soft, KL_EYEBROW_STYLE_SOFT));
static_assert(is(EyebrowStyle::Feathered, KL_EYEBROW_STYLE_FEATHERED));
static_assert(is(EyebrowStyle::Mist, KL_EYEBROW_STYLE_MIST));
static_assert(is(EyebrowStyle::Arched, KL_EYEBROW_STYLE_ARCHED));
static_assert(is(EyebrowStyle::Powder, KL_EYEBROW_STYLE_POWDER));
static_assert(is(EyebrowStyle::Wild, KL_EYEBROW_STYLE_WILD));
static_assert(is(EyebrowStyle::Full, KL_EYEBROW_STYLE_FULL));
static_assert(is(EyebrowStyle::Straight, KL_EYEBROW_STYLE_STRAIGHT));
static_assert(KL_EYEBROW_STYLE_COUNT == 9);

static_assert(is(EyebrowColor::DarkBrown, KL_EYEBROW_COLOR_DARK_BROWN));
static_assert(is(EyebrowColor::Black, KL_EYEBROW_COLOR_BLACK));
static_assert(is(EyebrowColor::SoftBrown, KL_EYEBROW_COLOR_SOFT_BROWN));
static_assert(KL_EYEBROW_COLOR_COUNT == 3);

static_assert(is(EyelashStyle::Classic, KL_EYELASH_STYLE_CLASSIC));
static_assert(is(EyelashStyle::Manga, KL_EYELASH_STYLE_MANGA));
static_assert(is(EyelashStyle::Winged, KL_EYELASH_STYLE_WINGED));
static_assert(is(EyelashStyle::Wispy, KL_EYELASH_STYLE_WISPY));
static_assert(is(EyelashStyle::Clustered, KL_EYELASH_STYLE_CLUSTERED));
static_assert(is(EyelashStyle::Doll, KL_EYELASH_STYLE_DOLL));
static_assert(KL_EYELASH_STYLE_COUNT == 6);

static_assert(is(EyelashColor::Black, KL_EYELASH_COLOR_BLACK));
static_assert(is(EyelashColor::Brown, KL_EYELASH_COLOR_BROWN));
static_assert(is(EyelashColor::SoftBlack, KL_EYELASH_COLOR_SOFT_BLACK));
static_assert(KL_EYELASH_COLOR_COUNT == 3);

static_assert(is(PupilColor::Hazel, KL_PUPIL_COLOR_HAZEL));
static_assert(is(PupilColor::Ice, KL_PUPIL_COLOR_ICE));
static_assert(is(PupilColor::Mocha, KL_PUPIL_COLOR_MOCHA));
static_assert(is(PupilColor::Olive, KL_PUPIL_COLOR_OLIVE));
static_assert(is(PupilColor::Gloss, KL_PUPIL_COLOR_GLOSS));
static_assert(is(PupilColor::Moss, KL_PUPIL_COLOR_MOSS));
static_assert(is(PupilColor::Sand, KL_PUPIL_COLOR_SAND));
static_assert(is(PupilColor::Glow, KL_PUPIL_COLOR_GLOW));
static_assert(is(PupilColor::Slate, KL_PUPIL_COLOR_SLATE));
static_assert(KL_PUPIL_COLOR_COUNT == 9);

} // namespace

} // namespace kalvio::beauty_params
