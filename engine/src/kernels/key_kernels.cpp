// SPDX-License-Identifier: GPL-2.0-or-later
#include "kernels/key_kernels.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/key_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kalvio::engine::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// A group of pixels is one vector or two.
using Floats = hn::CappedTag<float, key_group_pixels>;
using FloatVector = hn::Vec<Floats>;
using Pixels = hn::RebindToSigned<Floats>;
using PixelVector = hn::Vec<Pixels>;
using Bytes = hn::Repartition<uint8_t, Pixels>;
using Half = hn::Rebind<int16_t, Floats>;
using Group = hn::FixedTag<int16_t, key_group_pixels>;
using GroupVector = hn::Vec<Group>;

// Noise that is always there: rounding to levels.
constexpr float least_noise = 0.004F;
// How far a color may lie from those between the screen and the front, in parts of their distance.
constexpr float mixture_tolerance = 0.15F;
// From a neutral color's opacity to that of the front: behind this part nothing counts as mixed.
constexpr float front_span = 0.6F;
// What a pixel that is next to nothing but screen shows is noise: it gets the color of the front nearby.
constexpr float front_share = 0.03F;

HWY_INLINE PixelVector load_pixels(const uint8_t *row)
{
	return hn::BitCast(Pixels(), hn::LoadU(Bytes(), row));
}

HWY_INLINE void store_pixels(PixelVector pixels, uint8_t *row)
{
	hn::StoreU(hn::BitCast(Bytes(), pixels), Bytes(), row);
}

template <int Channel>
HWY_INLINE PixelVector channel_of(PixelVector pixels)
{
	return hn::And(hn::ShiftRight<Channel * 8>(pixels), hn::Set(Pixels(), 255));
}

// Light of a level, sRGB (IEC 61966-2-1), and back: polynomials in the level and in roots of the light, fitted to each
// other. A level comes back within half a level.
HWY_INLINE FloatVector light_of(PixelVector level)
{
	const Floats d;
	const FloatVector value = hn::Mul(hn::ConvertTo(d, level), hn::Set(d, 1.0F / 255.0F));
	FloatVector sum = hn::Add(hn::Mul(value, hn::Set(d, 0.38634564F)), hn::Set(d, 0.58472999F));
	sum = hn::Add(hn::Mul(value, sum), hn::Set(d, 0.03746841F));
	return hn::Mul(value, sum);
}

HWY_INLINE PixelVector level_of(FloatVector light)
{
	const Floats d;
	const FloatVector root = hn::Sqrt(hn::Max(light, hn::Zero(d)));
	FloatVector sum = hn::Mul(root, hn::Set(d, 0.17336442F));
	sum = hn::Mul(hn::Sub(sum, hn::Set(d, 0.53942983F)), root);
	sum = hn::Mul(hn::Add(sum, hn::Set(d, 1.50676017F)), root);
	sum = hn::Sub(sum, hn::Mul(hn::Sqrt(root), hn::Set(d, 0.14296397F)));
	const FloatVector level = hn::Mul(sum, hn::Set(d, 255.0F));
	return hn::NearestInt(hn::Min(hn::Max(level, hn::Zero(d)), hn::Set(d, 255.0F)));
}

// What lies between the middles of cells, for the pixels of a group.
HWY_INLINE GroupVector between_cells(const int16_t *cells, int x)
{
	// 1/32, 3/32 ... of the way, 15 fraction bits.
	alignas(16) static constexpr int16_t right_half[] = {1024, 3072, 5120, 7168, 9216, 11264, 13312, 15360};
	alignas(16) static constexpr int16_t left_half[] = {17408, 19456, 21504, 23552, 25600, 27648, 29696, 31744};
	const Group d;
	const bool is_right_half = (x & key_group_pixels) != 0;
	const int16_t *before = cells + x / key_cell_pixels - (is_right_half ? 0 : 1);
	const GroupVector place = hn::Load(d, is_right_half ? right_half : left_half);
	const auto step = static_cast<int16_t>(before[1] - before[0]);
	return hn::Add(hn::Set(d, before[0]), hn::MulFixedPoint15(hn::Set(d, step), place));
}

using Words = hn::Repartition<int16_t, Pixels>;
using WordVector = hn::Vec<Words>;

// `light_of` with 15 fraction bits, scaled to fit them.
HWY_INLINE WordVector fixed_light_of(WordVector level)
{
	const Words d;
	const WordVector value = hn::Or(hn::ShiftLeft<7>(level), hn::ShiftRight<1>(level));
	WordVector sum = hn::Add(hn::MulFixedPoint15(value, hn::Set(d, 12552)), hn::Set(d, 18998));
	sum = hn::Add(hn::MulFixedPoint15(value, sum), hn::Set(d, 1217));
	return hn::MulFixedPoint15(value, sum);
}

// Color differences, 15 fraction bits; next to none where a pixel is hidden.
template <int Own>
HWY_INLINE hn::Vec<Half> differences_of(PixelVector pixels, int32_t others_factor)
{
	const Pixels d;
	const Words d16;
	const PixelVector even = hn::Set(d, 0x00FF00FF);
	const PixelVector low = hn::Set(d, 0xFFFF);
	const PixelVector red_blue = hn::And(pixels, even);
	const PixelVector green_alpha = hn::And(hn::ShiftRight<8>(pixels), even);
	const PixelVector channels[3] = {red_blue, green_alpha, hn::ShiftRight<16>(red_blue)};
	// Of two levels the larger one has more light.
	const PixelVector larger = hn::BitCast(
		d, hn::Max(hn::BitCast(d16, channels[(Own + 1) % 3]), hn::BitCast(d16, channels[(Own + 2) % 3])));
	const PixelVector pair = hn::Or(hn::And(channels[Own], low), hn::ShiftLeft<16>(larger));
	const PixelVector light = hn::BitCast(d, fixed_light_of(hn::BitCast(d16, pair)));
	PixelVector others = hn::ShiftRight<16>(light);
	if (Own == 0)
		others = hn::ShiftRight<4>(hn::Mul(others, hn::Set(d, others_factor)));
	const PixelVector difference = hn::Sub(hn::And(light, low), others);
	const auto is_hidden = hn::Eq(hn::ShiftRight<16>(green_alpha), hn::Zero(d));
	return hn::DemoteTo(Half(), hn::IfThenElse(is_hidden, hn::Set(d, -32768), difference));
}

template <int Own>
HWY_INLINE void opacity_row(const uint8_t *HWY_RESTRICT row, int width, float others,
			    const int16_t *HWY_RESTRICT inverse_screen, KeyOpacity *HWY_RESTRICT opacities)
{
	const Group d;
	const int lanes = static_cast<int>(hn::Lanes(Pixels()));
	const auto others_factor = static_cast<int32_t>(others * 16.0F);
	const GroupVector one = hn::Set(d, one_opacity);
	const GroupVector most = hn::Set(d, largest_opacity);
	for (int x = 0; x < width; x += key_group_pixels) {
		alignas(16) int16_t differences[key_group_pixels];
		for (int lane = 0; lane < key_group_pixels; lane += lanes) {
			const auto difference = differences_of<Own>(load_pixels(row + (x + lane) * 4), others_factor);
			hn::StoreU(difference, Half(), differences + lane);
		}
		const GroupVector part =
			hn::MulFixedPoint15(hn::Load(d, differences), between_cells(inverse_screen, x));
		const GroupVector opacity = hn::SaturatedSub(one, part);
		hn::StoreU(hn::Min(hn::Max(opacity, hn::Neg(most)), most), d, opacities + x);
	}
	const int end = (width + key_group_pixels - 1) / key_group_pixels * key_group_pixels;
	opacities[-1] = opacities[0];
	std::fill(opacities + width, opacities + end + 1, opacities[width - 1]);
}

void key_opacity_row(const uint8_t *HWY_RESTRICT row, int width, const KeyChannel &key,
		     const int16_t *HWY_RESTRICT inverse_screen, KeyOpacity *HWY_RESTRICT opacities)
{
	if (key.channel == 0)
		opacity_row<0>(row, width, key.others, inverse_screen, opacities);
	else if (key.channel == 1)
		opacity_row<1>(row, width, key.others, inverse_screen, opacities);
	else
		opacity_row<2>(row, width, key.others, inverse_screen, opacities);
}

// How far noise moves the opacities of a group: in linear light it grows with the level.
HWY_INLINE GroupVector noise_of(const uint8_t *captured, const KeyRamp &ramp, float deviations)
{
	const Floats d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const FloatVector scale =
		hn::Set(d, deviations * ramp.noise / ramp.noise_level * static_cast<float>(one_opacity));
	const FloatVector least = hn::Set(d, least_noise * static_cast<float>(one_opacity));
	alignas(16) KeyOpacity limits[key_group_pixels];
	for (int lane = 0; lane < key_group_pixels; lane += lanes) {
		const PixelVector pixels = load_pixels(captured + lane * 4);
		const PixelVector level =
			hn::Max(channel_of<0>(pixels), hn::Max(channel_of<1>(pixels), channel_of<2>(pixels)));
		const FloatVector limit = hn::Add(hn::Mul(hn::ConvertTo(d, level), scale), least);
		hn::StoreU(hn::DemoteTo(Half(), hn::NearestInt(limit)), Half(), limits + lane);
	}
	return hn::Load(Group(), limits);
}

// The means of 3 x 3 opacities.
HWY_INLINE GroupVector means_of(const KeyRows &rows, int x)
{
	const Group d;
	GroupVector sum = hn::Zero(d);
	for (const KeyOpacity *row : {rows.above, rows.own, rows.below}) {
		for (int offset = -1; offset <= 1; ++offset)
			sum = hn::Add(sum, hn::LoadU(d, row + x + offset));
	}
	return hn::MulHigh(sum, hn::Set(d, 7282)); // 65536 / 9
}

// Opacities, moved towards the means around them by no more than noise may be.
HWY_INLINE GroupVector calmed(GroupVector own, GroupVector mean, GroupVector limit)
{
	return hn::Add(own, hn::Min(hn::Max(hn::Sub(mean, own), hn::Neg(limit)), limit));
}

// Small changes from the frame before are taken in over some frames, large ones at once.
HWY_INLINE FloatVector steadied(FloatVector opacity, FloatVector before, FloatVector noise)
{
	const Floats d;
	const FloatVector change = hn::Sub(opacity, before);
	const FloatVector motion = hn::Min(hn::Div(hn::Abs(change), noise), hn::Set(d, 1.0F));
	return hn::Add(before, hn::Mul(change, hn::Max(hn::Mul(motion, motion), hn::Set(d, 0.25F))));
}

// The light of some pixels, channel by channel.
struct PixelLight {
	FloatVector channels[3];

	HWY_INLINE explicit PixelLight(PixelVector pixels)
		: channels{light_of(channel_of<0>(pixels)), light_of(channel_of<1>(pixels)),
			   light_of(channel_of<2>(pixels))}
	{
	}
};

// A front with less of the key's color than a neutral one hides more of the screen than its opacity says: half skin
// looks nearly opaque. Where the pixel is such a mixture of the screen and the front nearby, its opacity is the front's
// part in it. A color that is no mixture of these two keeps its opacity.
HWY_INLINE FloatVector without_front_color(FloatVector opacity, const PixelLight &light, FloatVector screen_difference,
					   const KeyCell &cell, float noise)
{
	if (cell.front_opacity <= 1.0F)
		return opacity;
	const Floats d;
	const FloatVector part = hn::Mul(opacity, hn::Set(d, 1.0F / cell.front_opacity));
	FloatVector error = hn::Zero(d);
	FloatVector size = hn::Zero(d);
	for (int channel = 0; channel < 3; ++channel) {
		const FloatVector screen = hn::Mul(screen_difference, hn::Set(d, cell.screen[channel]));
		const FloatVector step = hn::Sub(hn::Set(d, cell.front[channel]), screen);
		const FloatVector off = hn::Sub(light.channels[channel], hn::Add(screen, hn::Mul(part, step)));
		error = hn::Add(error, hn::Mul(off, off));
		size = hn::Add(size, hn::Mul(step, step));
	}
	const float tolerance = mixture_tolerance + noise;
	FloatVector trust = hn::Div(error, hn::Mul(size, hn::Set(d, tolerance * tolerance)));
	trust = hn::Sub(hn::Set(d, 2.0F), trust);
	// Above a neutral color's opacity, mixtures and other warm colors look more and more alike.
	const float span = front_span * (cell.front_opacity - 1.0F);
	const FloatVector above = hn::Mul(hn::Sub(opacity, hn::Set(d, 1.0F)), hn::Set(d, 1.0F / span));
	trust = hn::Min(trust, hn::Sub(hn::Set(d, 1.0F), above));
	trust = hn::Min(hn::Max(trust, hn::Zero(d)), hn::Set(d, 1.0F));
	return hn::Add(opacity, hn::Mul(trust, hn::Sub(part, opacity)));
}

HWY_INLINE PixelVector four_bytes(FloatVector matte)
{
	const PixelVector value = hn::NearestInt(hn::Mul(matte, hn::Set(Floats(), 255.0F)));
	const PixelVector pair = hn::Or(value, hn::ShiftLeft<8>(value));
	return hn::Or(pair, hn::ShiftLeft<16>(pair));
}

HWY_INLINE FloatVector matte_of(FloatVector opacity, const KeyRamp &ramp)
{
	const Floats d;
	const FloatVector scale = hn::Set(d, 1.0F / (ramp.high - ramp.low));
	const FloatVector place = hn::Mul(hn::Sub(opacity, hn::Set(d, ramp.low)), scale);
	return hn::Min(hn::Max(place, hn::Zero(d)), hn::Set(d, 1.0F));
}

// Light of the screen on a foreground pixel, as a color difference. The key's channel is held down to a limit that
// goes, with the strength, from the larger of the other channels towards their mean.
template <int Own>
HWY_INLINE FloatVector spill_of(const PixelLight &light, const KeyRamp &ramp, float others_factor)
{
	const Floats d;
	const FloatVector first = light.channels[(Own + 1) % 3];
	const FloatVector second = light.channels[(Own + 2) % 3];
	const FloatVector largest = hn::Max(first, second);
	FloatVector limit = hn::Mul(hn::Sub(largest, hn::Min(first, second)), hn::Set(d, 0.5F * ramp.despill));
	limit = hn::Mul(hn::Sub(largest, limit), hn::Set(d, others_factor));
	return hn::Max(hn::Sub(light.channels[Own], limit), hn::Zero(d));
}

// Pixels without the screen's light of this color difference. With a weight, what is left is mixed with the front
// nearby: what a pixel shows that is next to nothing but screen is noise.
HWY_INLINE PixelVector without_screen(const PixelLight &light, FloatVector difference, FloatVector foreground,
				      FloatVector front_weight, const KeyCell &cell)
{
	const Floats d;
	const FloatVector inverse = hn::Div(hn::Set(d, 1.0F), hn::Add(foreground, front_weight));
	const auto channel = [&](int index) HWY_ATTR {
		const FloatVector screen = hn::Mul(difference, hn::Set(d, cell.screen[index]));
		const FloatVector own = hn::Max(hn::Sub(light.channels[index], screen), hn::Zero(d));
		const FloatVector front = hn::Mul(front_weight, hn::Set(d, cell.front[index]));
		return level_of(hn::Mul(hn::Add(own, front), inverse));
	};
	return hn::Or(channel(0), hn::Or(hn::ShiftLeft<8>(channel(1)), hn::ShiftLeft<16>(channel(2))));
}

// Writes colors where `is_changed`; alpha is kept.
HWY_INLINE void store_colors(PixelVector colors, hn::Mask<Floats> is_changed, PixelVector old, uint8_t *row)
{
	const Pixels d;
	const PixelVector alpha = hn::And(old, hn::Set(d, static_cast<int32_t>(0xFF000000U)));
	const auto changed = hn::BitCast(d, hn::VecFromMask(Floats(), is_changed));
	store_pixels(hn::IfVecThenElse(changed, hn::Or(colors, alpha), old), row);
}

template <int Own>
HWY_INLINE void unmix(FloatVector opacity, FloatVector inverse_screen, const KeyRamp &ramp, float others_factor,
		      const KeyCell &cell, uint8_t *row, uint8_t *matte)
{
	const Floats d;
	const FloatVector one = hn::Set(d, 1.0F);
	const FloatVector screen = hn::Div(one, inverse_screen);
	const PixelVector pixels = load_pixels(row);
	const PixelLight light(pixels);
	const FloatVector foreground = matte_of(without_front_color(opacity, light, screen, cell, ramp.noise), ramp);
	const FloatVector background = hn::Sub(one, foreground);
	FloatVector difference = hn::Mul(background, screen);
	const FloatVector spill = hn::Max(hn::Sub(spill_of<Own>(light, ramp, others_factor), difference), hn::Zero(d));
	difference = hn::Add(difference, hn::Mul(spill, hn::Set(d, ramp.despill)));
	const FloatVector front_weight = hn::Mul(background, hn::Set(d, front_share));
	const PixelVector colors = without_screen(light, difference, foreground, front_weight, cell);
	store_colors(colors, hn::Gt(difference, hn::Zero(d)), pixels, row);
	store_pixels(four_bytes(foreground), matte);
}

// Takes the screen's light off foreground pixels.
template <int Own>
HWY_INLINE void despill_group(const KeyRamp &ramp, float others_factor, const KeyCell &cell, uint8_t *row)
{
	const Floats d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	for (int lane = 0; lane < key_group_pixels; lane += lanes) {
		const PixelVector pixels = load_pixels(row + lane * 4);
		// Where a level is no higher than the mean of two others, its light is no higher than theirs.
		const PixelVector others =
			hn::Add(channel_of<(Own + 1) % 3>(pixels), channel_of<(Own + 2) % 3>(pixels));
		const PixelVector twice = hn::ShiftLeft<1>(channel_of<Own>(pixels));
		if (hn::AllTrue(Pixels(), hn::Lt(twice, hn::Add(others, hn::Set(Pixels(), 1)))))
			continue;
		const PixelLight light(pixels);
		const FloatVector spill = hn::Mul(spill_of<Own>(light, ramp, others_factor), hn::Set(d, ramp.despill));
		const PixelVector colors = without_screen(light, spill, hn::Set(d, 1.0F), hn::Zero(d), cell);
		store_colors(colors, hn::Gt(spill, hn::Zero(d)), pixels, row + lane * 4);
	}
}

// A group that is all screen, or all foreground.
HWY_INLINE void fill_group(uint32_t fill, uint8_t *row)
{
	const Pixels d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	for (int lane = 0; lane < key_group_pixels; lane += lanes) {
		const PixelVector alpha =
			hn::And(load_pixels(row + lane * 4), hn::Set(d, static_cast<int32_t>(0xFF000000U)));
		store_pixels(hn::Or(alpha, hn::Set(d, static_cast<int32_t>(fill))), row + lane * 4);
	}
}

HWY_INLINE void set_matte(int32_t value, uint8_t *matte)
{
	const Pixels d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	for (int lane = 0; lane < key_group_pixels; lane += lanes)
		store_pixels(hn::Set(d, value), matte + lane * 4);
}

HWY_INLINE KeyOpacity fixed_opacity(float opacity)
{
	return static_cast<KeyOpacity>(
		std::clamp(opacity * float{one_opacity}, -float{largest_opacity}, float{largest_opacity}));
}

template <int Own>
HWY_INLINE void mixed_group(GroupVector calm, GroupVector noise, const KeyRamp &ramp, float others_factor,
			    GroupVector inverse_screen, const KeyCell &cell, KeyOpacity *HWY_RESTRICT before,
			    bool is_known, uint8_t *HWY_RESTRICT row, uint8_t *HWY_RESTRICT matte)
{
	const Group group;
	const Floats d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const FloatVector fraction = hn::Set(d, 1.0F / one_opacity);
	alignas(16) KeyOpacity opacities[key_group_pixels];
	alignas(16) KeyOpacity limits[key_group_pixels];
	alignas(16) int16_t inverse[key_group_pixels];
	hn::Store(calm, group, opacities);
	hn::Store(noise, group, limits);
	hn::Store(inverse_screen, group, inverse);
	for (int lane = 0; lane < key_group_pixels; lane += lanes) {
		const auto load = [&](const KeyOpacity *from) HWY_ATTR {
			const auto wide = hn::PromoteTo(Pixels(), hn::LoadU(Half(), from));
			return hn::Mul(hn::ConvertTo(d, wide), fraction);
		};
		FloatVector opacity = load(opacities + lane);
		if (is_known)
			opacity = steadied(opacity, load(before + lane), load(limits + lane));
		const auto stored = hn::NearestInt(hn::Mul(opacity, hn::Set(d, float{one_opacity})));
		hn::StoreU(hn::DemoteTo(Half(), stored), Half(), before + lane);
		unmix<Own>(opacity, load(inverse + lane), ramp, others_factor, cell, row + lane * 4, matte + lane * 4);
	}
}

template <int Own>
HWY_INLINE void any_key_row(const KeyRows &rows, int width, const KeyRamp &ramp, float others_factor,
			    const int16_t *HWY_RESTRICT inverse_screen, const KeyCell *HWY_RESTRICT cells,
			    const KeyHistory &history, uint8_t *HWY_RESTRICT row, uint8_t *HWY_RESTRICT matte)
{
	const Group d;
	const GroupVector low = hn::Set(d, fixed_opacity(ramp.low));
	// Beyond these no neighbor changes anything.
	const float most_noise = 2 * ramp.noise * (255.0F / ramp.noise_level) + least_noise;
	const GroupVector screen_noise = hn::Set(d, fixed_opacity(2 * ramp.noise + least_noise));
	const GroupVector surely_screen = hn::Set(d, fixed_opacity(ramp.low - 2 * ramp.noise - least_noise));
	GroupVector high = low;
	GroupVector surely_kept = low;
	for (int x = 0; x < width; x += key_group_pixels) {
		const KeyCell &cell = cells[x / key_cell_pixels];
		if (x % key_cell_pixels == 0) {
			const float uncertain = 1 + front_span * (cell.front_opacity - 1);
			const float kept = cell.front_opacity > 1 ? std::max(uncertain, ramp.high) : ramp.high;
			high = hn::Set(d, fixed_opacity(kept));
			surely_kept = hn::Set(d, fixed_opacity(kept + most_noise));
		}
		GroupVector opacity = hn::LoadU(d, rows.own + x);
		GroupVector noise = hn::Zero(d);
		uint8_t *pixels = row + x * 4;
		bool is_screen = hn::AllTrue(d, hn::Lt(opacity, surely_screen));
		bool is_kept = hn::AllTrue(d, hn::Gt(opacity, surely_kept));
		if (!is_screen && !is_kept) {
			const GroupVector mean = means_of(rows, x);
			is_screen = hn::AllTrue(d, hn::Lt(hn::Max(mean, hn::Sub(opacity, screen_noise)), low));
			if (!is_screen) {
				noise = noise_of(pixels, ramp, 2);
				opacity = calmed(opacity, mean, noise);
				is_screen = hn::AllTrue(d, hn::Lt(opacity, low));
				is_kept = hn::AllTrue(d, hn::Gt(opacity, high));
			}
		}
		uint8_t &known = history.known[x / key_group_pixels];
		if (is_screen) {
			fill_group(cell.fill, pixels);
			set_matte(0, matte + x * 4);
		} else if (is_kept) {
			set_matte(-1, matte + x * 4);
			if (ramp.despill > 0)
				despill_group<Own>(ramp, others_factor, cell, pixels);
		} else {
			mixed_group<Own>(opacity, noise, ramp, others_factor, between_cells(inverse_screen, x), cell,
					 history.opacities + x, known != 0, pixels, matte + x * 4);
		}
		known = is_screen || is_kept ? 0 : 1;
	}
}

void key_row(const KeyRows &rows, int width, const KeyRamp &ramp, const KeyChannel &key,
	     const int16_t *HWY_RESTRICT inverse_screen, const KeyCell *HWY_RESTRICT cells, const KeyHistory &history,
	     uint8_t *HWY_RESTRICT row, uint8_t *HWY_RESTRICT matte)
{
	if (key.channel == 0)
		any_key_row<0>(rows, width, ramp, key.others, inverse_screen, cells, history, row, matte);
	else if (key.channel == 1)
		any_key_row<1>(rows, width, ramp, key.others, inverse_screen, cells, history, row, matte);
	else
		any_key_row<2>(rows, width, ramp, key.others, inverse_screen, cells, history, row, matte);
}

void key_matte_row(const KeyOpacity *HWY_RESTRICT opacities, int width, const KeyRamp &ramp,
		   uint8_t *HWY_RESTRICT matte)
{
	const Floats d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const FloatVector fraction = hn::Set(d, 1.0F / one_opacity);
	for (int x = 0; x < width; x += lanes) {
		const auto wide = hn::PromoteTo(Pixels(), hn::LoadU(Half(), opacities + x));
		store_pixels(four_bytes(matte_of(hn::Mul(hn::ConvertTo(d, wide), fraction), ramp)), matte + x * 4);
	}
}

} // namespace kalvio::engine::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kalvio::engine::kernels {

HWY_EXPORT(key_opacity_row);
HWY_EXPORT(key_row);
HWY_EXPORT(key_matte_row);

void key_opacity_row(const uint8_t *row, int width, const KeyChannel &key, const int16_t *inverse_screen,
		     KeyOpacity *opacities)
{
	HWY_DYNAMIC_DISPATCH(key_opacity_row)(row, width, key, inverse_screen, opacities);
}

void key_row(const KeyRows &rows, int width, const KeyRamp &ramp, const KeyChannel &key, const int16_t *inverse_screen,
	     const KeyCell *cells, const KeyHistory &history, uint8_t *row, uint8_t *matte)
{
	HWY_DYNAMIC_DISPATCH(key_row)(rows, width, ramp, key, inverse_screen, cells, history, row, matte);
}

void key_matte_row(const KeyOpacity *opacities, int width, const KeyRamp &ramp, uint8_t *matte)
{
	HWY_DYNAMIC_DISPATCH(key_matte_row)(opacities, width, ramp, matte);
}

} // namespace kalvio::engine::kernels
#endif
