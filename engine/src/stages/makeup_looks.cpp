// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/makeup_looks.h"

#include "kalvio_engine.h"
#include "kernels/makeup_kernels.h"

#include <algorithm>

namespace kalvio::engine {

namespace {

// The light of an sRGB color as the panel shows it.
constexpr MakeupColor pigment(unsigned hex)
{
	const auto channel = [hex](int shift) {
		return kernels::light_of(static_cast<float>(hex >> shift & 0xff) / 255);
	};
	return {channel(16), channel(8), channel(0)};
}

constexpr LipstickColor lipsticks[KL_LIPSTICK_COLOR_COUNT] = {
	{pigment(0x9d174d), pigment(0xbe185d)}, // rouge
	{pigment(0x990024), pigment(0xc2183b)}, // retro red
	{pigment(0xbe185d), pigment(0xfb7185)}, // peach
	{pigment(0xb3391b), pigment(0xd65129)}, // coral orange
	{pigment(0x9d174d), pigment(0xf9a8d4)}, // gentle pink
	{pigment(0xc2410c), pigment(0xfb923c)}, // vitality orange
};

constexpr MakeupColor blushes[KL_BLUSH_COLOR_COUNT] = {pigment(0xb45309), pigment(0x9f1239), pigment(0xbe123c),
						       pigment(0x831843), pigment(0xc2410c)};
constexpr MakeupColor eye_shadows[KL_EYE_SHADOW_COLOR_COUNT] = {pigment(0x6b21a8), pigment(0x78350f), pigment(0xa16207),
								pigment(0x9d174d)};
constexpr MakeupColor eye_liners[KL_EYE_LINER_COLOR_COUNT] = {pigment(0x7f1d1d), pigment(0x581c87), pigment(0x431407),
							      pigment(0x1c1917), pigment(0x3f3f46)};
constexpr MakeupColor eyebrows[KL_EYEBROW_COLOR_COUNT] = {pigment(0x44403c), pigment(0x18181b), pigment(0x78716c)};
constexpr MakeupColor eyelashes[KL_EYELASH_COLOR_COUNT] = {pigment(0x09090b), pigment(0x44403c), pigment(0x27272a)};
constexpr float eyelash_covers[KL_EYELASH_COLOR_COUNT] = {0.97F, 0.86F, 0.93F};
constexpr MakeupColor pupils[KL_PUPIL_COLOR_COUNT] = {pigment(0x92400e), pigment(0x38bdf8), pigment(0x78350f),
						      pigment(0x4d7c0f), pigment(0xa8a29e), pigment(0x3f6212),
						      pigment(0xd4a017), pigment(0xfacc15), pigment(0x64748b)};

// Blush. Points of the cheek: 50 its apple, 205 below it, 101 towards the nose, 116 the cheekbone.
constexpr MakeupStroke sun_kissed[] = {{{117, 118, 101, 142, 195, -1}, 0.25F, 0.85F},
				       {{151, 9, -1, -1, -1, -1}, 0.26F, 0.30F}};
constexpr MakeupStroke igari[] = {{{117, 118, 119, -1, -1, -1}, 0.21F, 1.0F}, {{195, 5, -1, -1, -1, -1}, 0.13F, 0.35F}};
constexpr MakeupStroke soft_blush[] = {{{50, 101, -1, -1, -1, -1}, 0.50F, 0.72F}};
constexpr MakeupStroke apple[] = {{{50, 205, -1, -1, -1, -1}, 0.32F, 1.0F}};
constexpr MakeupStroke classic_blush[] = {{{205, 50, 123, -1, -1, -1}, 0.25F, 0.9F},
					  {{123, 116, 143, -1, -1, -1}, 0.20F, 0.55F}};
constexpr MakeupStroke doll_blush[] = {{{205, 36, -1, -1, -1, -1}, 0.23F, 1.25F}};
constexpr MakeupStroke rose_blush[] = {{{123, 116, 143, 139, -1, -1}, 0.26F, 1.0F},
				       {{50, 123, -1, -1, -1, -1}, 0.20F, 0.5F}};
constexpr std::span<const MakeupStroke> blush_styles[KL_BLUSH_STYLE_COUNT] = {
	sun_kissed, igari, soft_blush, apple, classic_blush, doll_blush, rose_blush};

// Contour: shades under the cheekbone, along the jaw, at the temples and beside the nose, light above them.
constexpr MakeupStroke contour_natural[] = {{{137, 147, 187, -1, -1, -1}, 0.26F, 1.1F, false, false, 0.5F},
					    {{58, 172, 136, 150, -1, -1}, 0.24F, 0.9F}};
constexpr MakeupStroke contour_sculpt[] = {{{137, 147, 187, 207, -1, -1}, 0.20F, 1.25F, false, false, 0.2F},
					   {{58, 172, 136, 150, 149, -1}, 0.18F, 0.9F},
					   {{127, 162, 21, 54, 103, -1}, 0.26F, 0.75F},
					   {{193, 188, 174, 198, -1, -1}, 0.085F, 0.55F, false, true}};
constexpr MakeupStroke contour_glow[] = {{{143, 116, 117, 118, -1, -1}, 0.22F, 1.2F, true},
					 {{6, 197, 195, 5, 4, -1}, 0.075F, 0.9F, true, true},
					 {{164, 0, -1, -1, -1, -1}, 0.07F, 0.6F, true},
					 {{223, 224, 225, -1, -1, -1}, 0.09F, 0.6F, true},
					 {{200, 199, -1, -1, -1, -1}, 0.17F, 0.8F, true},
					 {{9, 151, -1, -1, -1, -1}, 0.24F, 0.7F, true},
					 {{137, 147, 187, -1, -1, -1}, 0.20F, 0.4F, false, false, 0.3F}};
constexpr MakeupStroke contour_slim[] = {{{162, 127, 234, 93, 132, 58}, 0.34F, 1.0F},
					 {{58, 172, 136, 150, 149, -1}, 0.26F, 0.9F}};
constexpr MakeupStroke contour_nose[] = {{{193, 188, 174, 198, 131, -1}, 0.10F, 0.95F, false, true, 0.6F},
					 {{129, 98, -1, -1, -1, -1}, 0.09F, 0.5F, false, true},
					 {{6, 197, 195, 5, 4, -1}, 0.07F, 0.9F, true, true}};
constexpr MakeupStroke contour_glam[] = {{{137, 147, 187, 207, -1, -1}, 0.20F, 1.4F, false, false, 0.2F},
					 {{58, 172, 136, 150, 149, -1}, 0.19F, 0.9F},
					 {{127, 162, 21, 54, 103, 67}, 0.28F, 0.8F},
					 {{193, 188, 174, 198, -1, -1}, 0.085F, 0.7F, false, true},
					 {{6, 197, 195, 5, 4, -1}, 0.07F, 0.9F, true, true},
					 {{143, 116, 117, 118, -1, -1}, 0.17F, 1.1F, true},
					 {{119, 120, -1, -1, -1, -1}, 0.15F, 0.7F, true},
					 {{9, 151, -1, -1, -1, -1}, 0.24F, 0.7F, true},
					 {{200, 199, -1, -1, -1, -1}, 0.13F, 0.6F, true}};
constexpr std::span<const MakeupStroke> contour_styles[KL_CONTOUR_STYLE_COUNT] = {
	contour_natural, contour_sculpt, contour_glow, contour_slim, contour_nose, contour_glam};

// Reach, feather, crease; inner, center, outer; wing, lower, depth, shimmer, warmth, strength.
constexpr EyeShadowStyle eye_shadow_styles[KL_EYE_SHADOW_STYLE_COUNT] = {
	{1.5F, 1.2F, 0.0F, 0.7F, 0.8F, 0.9F, 0.10F, 0.0F, 0.0F, 0.0F, 0.0F, 0.70F},     // soft
	{2.0F, 1.0F, 0.85F, 0.5F, 0.85F, 1.1F, 0.16F, 0.0F, 0.15F, 0.0F, 0.0F, 0.95F},  // crease
	{2.2F, 1.6F, 0.0F, 0.8F, 1.0F, 1.1F, 0.20F, 0.75F, 0.60F, 0.0F, 0.0F, 1.0F},    // smoky
	{1.8F, 1.1F, 0.0F, 1.1F, 0.15F, 1.2F, 0.12F, 0.25F, 0.15F, 0.55F, 0.0F, 0.95F}, // halo
	{1.5F, 1.0F, 0.0F, 0.9F, 0.7F, 0.5F, 0.06F, 0.15F, 0.0F, 0.85F, 0.15F, 0.55F},  // glow
	{3.2F, 1.9F, 0.15F, 0.5F, 1.0F, 1.3F, 0.42F, 0.6F, 0.25F, 0.0F, 0.0F, 1.0F},    // drama
	{1.9F, 1.4F, 0.3F, 0.8F, 0.9F, 1.0F, 0.14F, 0.45F, 0.0F, 0.15F, 0.75F, 0.85F},  // warm
};

// Start, inner, outer; wing, rise, smudge, lower, strength.
constexpr EyeLinerStyle eye_liner_styles[KL_EYE_LINER_STYLE_COUNT] = {
	{0.03F, 0.020F, 0.055F, 0.06F, 0.4F, 0.004F, 0.0F, 0.95F},  // classic
	{0.10F, 0.018F, 0.055F, 0.24F, 0.7F, 0.004F, 0.0F, 0.95F},  // flick
	{0.0F, 0.030F, 0.095F, 0.42F, 0.75F, 0.004F, 0.0F, 1.0F},   // cat eye
	{0.35F, 0.014F, 0.038F, 0.0F, 0.3F, 0.008F, 0.0F, 0.75F},   // natural
	{0.0F, 0.070F, 0.135F, 0.16F, 0.5F, 0.005F, 0.35F, 1.0F},   // bold
	{0.05F, 0.045F, 0.085F, 0.08F, 0.4F, 0.026F, 0.45F, 0.75F}, // soft
};

// Thickness, arch, straight; fill, head, feather; hairs, hair length, hair lift, unruly.
constexpr EyebrowStyle eyebrow_styles[KL_EYEBROW_STYLE_COUNT] = {
	{1.00F, 0.000F, 0.0F, 0.45F, 0.6F, 0.016F, 26, 0.085F, 0.35F, 0.3F}, // natural
	{1.05F, 0.000F, 0.0F, 0.50F, 0.5F, 0.040F, 0, 0.0F, 0.0F, 0.0F},     // soft
	{1.10F, 0.005F, 0.0F, 0.20F, 0.8F, 0.020F, 44, 0.110F, 0.75F, 0.3F}, // feathered
	{1.00F, 0.000F, 0.0F, 0.75F, 0.1F, 0.030F, 0, 0.0F, 0.0F, 0.0F},     // mist
	{0.90F, 0.045F, 0.0F, 0.75F, 0.7F, 0.012F, 18, 0.080F, 0.30F, 0.2F}, // arched
	{1.05F, 0.000F, 0.0F, 0.90F, 0.8F, 0.014F, 0, 0.0F, 0.0F, 0.0F},     // powder
	{1.25F, 0.000F, 0.0F, 0.25F, 0.9F, 0.020F, 58, 0.135F, 0.90F, 0.9F}, // wild
	{1.45F, 0.000F, 0.0F, 0.85F, 0.8F, 0.016F, 30, 0.100F, 0.50F, 0.3F}, // full
	{1.10F, 0.000F, 0.9F, 0.75F, 0.8F, 0.014F, 22, 0.085F, 0.25F, 0.2F}, // straight
};

// Count; inner, middle, outer; sweep, thickness, cluster, uneven, lower.
constexpr EyelashStyle eyelash_styles[KL_EYELASH_STYLE_COUNT] = {
	{34, 0.14F, 0.24F, 0.25F, 0.55F, 0.017F, 1, 0.20F, 0.00F}, // classic
	{15, 0.17F, 0.33F, 0.34F, 0.45F, 0.042F, 1, 0.05F, 0.13F}, // manga
	{36, 0.08F, 0.20F, 0.40F, 1.15F, 0.020F, 1, 0.10F, 0.00F}, // winged
	{24, 0.10F, 0.27F, 0.26F, 0.60F, 0.016F, 1, 0.70F, 0.06F}, // wispy
	{36, 0.14F, 0.27F, 0.29F, 0.55F, 0.022F, 4, 0.10F, 0.00F}, // clustered
	{30, 0.22F, 0.36F, 0.27F, 0.35F, 0.024F, 1, 0.10F, 0.12F}, // doll
};

} // namespace

const LipstickColor &lipstick_color(int32_t color)
{
	return lipsticks[color];
}

std::span<const MakeupStroke> blush_strokes(int32_t style)
{
	return blush_styles[style];
}

MakeupColor blush_color(int32_t color)
{
	return blushes[color];
}

std::span<const MakeupStroke> contour_strokes(int32_t style)
{
	return contour_styles[style];
}

const EyeShadowStyle &eye_shadow_style(int32_t style)
{
	return eye_shadow_styles[style];
}

MakeupColor eye_shadow_color(int32_t color)
{
	return eye_shadows[color];
}

const EyeLinerStyle &eye_liner_style(int32_t style)
{
	return eye_liner_styles[style];
}

MakeupColor eye_liner_color(int32_t color)
{
	return eye_liners[color];
}

const EyebrowStyle &eyebrow_style(int32_t style)
{
	return eyebrow_styles[style];
}

MakeupColor eyebrow_color(int32_t color)
{
	return eyebrows[color];
}

const EyelashStyle &eyelash_style(int32_t style)
{
	return eyelash_styles[style];
}

MakeupColor eyelash_color(int32_t color)
{
	return eyelashes[color];
}

float eyelash_cover(int32_t color)
{
	return eyelash_covers[color];
}

MakeupColor pupil_color(int32_t color)
{
	return pupils[color];
}

} // namespace kalvio::engine
