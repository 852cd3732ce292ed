// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/sticker_drawing.h"

#include "stages/head_depth.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

namespace {

// A premultiplied pixel between four of the sprite, in 1/256 of a level. Outside it is transparent.
void sample(const Image &image, int u, int v, int *out)
{
	const int x = u >> 8;
	const int y = v >> 8;
	const int right = u & 255;
	const int low = v & 255;
	const int weights[4] = {(256 - right) * (256 - low), right * (256 - low), (256 - right) * low, right * low};
	for (int channel = 0; channel < 4; ++channel)
		out[channel] = 0;
	for (int corner = 0; corner < 4; ++corner) {
		const int px = x + (corner & 1);
		const int py = y + (corner >> 1);
		if (px < 0 || py < 0 || px >= image.width || py >= image.height)
			continue;
		const uint8_t *pixel = image.pixel(px, py);
		for (int channel = 0; channel < 4; ++channel)
			out[channel] += weights[corner] * pixel[channel];
	}
	for (int channel = 0; channel < 4; ++channel)
		out[channel] >>= 8;
}

// `over` is premultiplied, 256 to a level; the pixel below has straight alpha.
void blend_over(uint8_t *pixel, const int *over)
{
	constexpr int full = 255 * 256;
	const int rest = full - over[3];
	if (pixel[3] == 255) {
		for (int channel = 0; channel < 3; ++channel) {
			const int below = static_cast<int>(int64_t{pixel[channel]} * rest / 255);
			pixel[channel] = static_cast<uint8_t>(std::min((over[channel] + below + 128) >> 8, 255));
		}
		return;
	}
	const int below_alpha = static_cast<int>(int64_t{pixel[3]} * rest / 255);
	const int alpha = over[3] + below_alpha;
	if (alpha == 0)
		return;
	for (int channel = 0; channel < 3; ++channel) {
		const int64_t sum = int64_t{over[channel]} * 255 + int64_t{pixel[channel]} * below_alpha;
		pixel[channel] = static_cast<uint8_t>(std::min<int64_t>((sum + alpha / 2) / alpha, 255));
	}
	pixel[3] = static_cast<uint8_t>(std::min((alpha + 128) >> 8, 255));
}

// How much of the sprite is seen before the head in this pixel, 0..256. `dx` and `dy` lead there from its middle.
int seen_part(const PlacedSprite &sprite, int x, int y, float dx, float dy)
{
	const float before_head = sprite.depth + sprite.depth_x * dx + sprite.depth_y * dy - sprite.head->at(x, y);
	return static_cast<int>(std::clamp(before_head / sprite.hidden_behind + 1, 0.0F, 1.0F) * 256.0F);
}

} // namespace

PlacedSprite place_sprite(const Sprite &sprite, const SpriteAxes &axes, int width, int height)
{
	const auto [middle, along, down] = axes;
	const auto whole_width = static_cast<float>(sprite.width());
	const auto whole_height = static_cast<float>(sprite.height());
	const float determinant = along.x * down.y - along.y * down.x;
	PlacedSprite result = {};
	result.image = &sprite.level(
		std::sqrt(std::max(along.x * along.x + along.y * along.y, down.x * down.x + down.y * down.y)));
	result.center_x = middle.x;
	result.center_y = middle.y;
	constexpr float least_area = 0.5F; // in pixels of the frame
	if (!(std::abs(determinant) * whole_width * whole_height >= least_area))
		return result;
	const float to_u = static_cast<float>(result.image->width) / whole_width / determinant;
	const float to_v = static_cast<float>(result.image->height) / whole_height / determinant;
	result.u_x = down.y * to_u;
	result.u_y = -down.x * to_u;
	result.v_x = -along.y * to_v;
	result.v_y = along.x * to_v;
	const float reach_x = 0.5F * (std::abs(along.x) * whole_width + std::abs(down.x) * whole_height);
	const float reach_y = 0.5F * (std::abs(along.y) * whole_width + std::abs(down.y) * whole_height);
	const auto first = [](float place) {
		return static_cast<int>(std::floor(std::clamp(place, 0.0F, 1e6F)));
	};
	const auto end = [](float place, int size) {
		return std::min(size, static_cast<int>(std::ceil(std::clamp(place, -1.0F, 1e6F))) + 1);
	};
	result.left = first(middle.x - reach_x);
	result.right = end(middle.x + reach_x, width);
	result.top = first(middle.y - reach_y);
	result.bottom = end(middle.y + reach_y, height);
	return result;
}

void draw_sprites(const PlacedSprite *placed, int count, int y, int first, int end, uint8_t *row)
{
	for (int index = 0; index < count; ++index) {
		const PlacedSprite &sprite = placed[index];
		if (y < sprite.top || y >= sprite.bottom)
			continue;
		// Fixed point, 16 fraction bits: sprites are small.
		constexpr float one = 65536.0F;
		const float dx = static_cast<float>(sprite.left) + 0.5F - sprite.center_x;
		const float dy = static_cast<float>(y) + 0.5F - sprite.center_y;
		const float half_width = 0.5F * static_cast<float>(sprite.image->width);
		const float half_height = 0.5F * static_cast<float>(sprite.image->height);
		auto u = static_cast<int64_t>((sprite.u_x * dx + sprite.u_y * dy + half_width - 0.5F) * one);
		auto v = static_cast<int64_t>((sprite.v_x * dx + sprite.v_y * dy + half_height - 0.5F) * one);
		const auto step_u = static_cast<int64_t>(sprite.u_x * one);
		const auto step_v = static_cast<int64_t>(sprite.v_x * one);
		const int64_t last_u = int64_t{sprite.image->width} << 16;
		const int64_t last_v = int64_t{sprite.image->height} << 16;
		const int from = std::max(sprite.left, first);
		u += step_u * (from - sprite.left);
		v += step_v * (from - sprite.left);
		for (int x = from; x < std::min(sprite.right, end); ++x, u += step_u, v += step_v) {
			if (u <= -65536 || v <= -65536 || u >= last_u || v >= last_v)
				continue;
			int over[4];
			sample(*sprite.image, static_cast<int>(u >> 8), static_cast<int>(v >> 8), over);
			int opacity = sprite.opacity;
			if (sprite.head != nullptr && over[3] > 0) {
				const float across = static_cast<float>(x) + 0.5F - sprite.center_x;
				opacity = opacity * seen_part(sprite, x, y, across, dy) >> 8;
			}
			if (opacity < 256) {
				for (int &channel : over)
					channel = channel * opacity >> 8;
			}
			if (over[3] > 0)
				blend_over(row + size_t(x) * 4, over);
		}
	}
}

} // namespace kalvio::engine
