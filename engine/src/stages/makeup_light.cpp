// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/makeup_light.h"

#include "faces/face_regions.h"
#include "kernels/makeup_kernels.h"
#include "smoothstep.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace kalvio::engine {

namespace {

constexpr float light_learning_seconds = 0.4F;
constexpr float least_light = 0.004F;
constexpr float usual_skin_luma = 0.35F; // of light skin, well lit
constexpr float least_luma = 1e-4F;

// What lips may be in relation to their skin, channel by channel: whatever else is seen there covers them.
constexpr MakeupColor least_lips = {0.40F, 0.20F, 0.22F};
constexpr MakeupColor most_lips = {1.15F, 0.80F, 0.90F};
constexpr MakeupColor usual_lips = {0.78F, 0.50F, 0.56F};

constexpr std::array<float, 256> linear_values = [] {
	std::array<float, 256> table{};
	for (size_t value = 0; value < table.size(); ++value)
		table[value] = kernels::light_of(static_cast<float>(value) / 255);
	return table;
}();

MakeupColor pixel_light(const uint8_t *pixel)
{
	return {linear_values[pixel[0]], linear_values[pixel[1]], linear_values[pixel[2]]};
}

// The mean of the pixels round a place; nothing beyond the frame.
std::optional<MakeupColor> light_around(const Frame &frame, Point place, int radius)
{
	if (!(place.x >= 0 && place.y >= 0 && place.x < static_cast<float>(frame.width) &&
	      place.y < static_cast<float>(frame.height)))
		return std::nullopt;
	const int left = std::max(static_cast<int>(place.x) - radius, 0);
	const int right = std::min(static_cast<int>(place.x) + radius, frame.width - 1);
	const int top = std::max(static_cast<int>(place.y) - radius, 0);
	const int bottom = std::min(static_cast<int>(place.y) + radius, frame.height - 1);
	MakeupColor sum = {0, 0, 0};
	for (int y = top; y <= bottom; ++y) {
		for (int x = left; x <= right; ++x) {
			const MakeupColor light = pixel_light(frame.input_row(y) + size_t(x) * bytes_per_pixel);
			for (size_t channel = 0; channel < 3; ++channel)
				sum[channel] += light[channel];
		}
	}
	const float scale = 1 / static_cast<float>((right - left + 1) * (bottom - top + 1));
	return MakeupColor{sum[0] * scale, sum[1] * scale, sum[2] * scale};
}

// The mean of the middle half by brightness: neither hair nor highlights nor shadows.
template <size_t Count>
std::optional<MakeupColor> middle_light(std::array<MakeupColor, Count> &lights, size_t count)
{
	if (count < 4)
		return std::nullopt;
	const auto end = lights.begin() + static_cast<ptrdiff_t>(count);
	std::sort(lights.begin(), end,
		  [](const MakeupColor &a, const MakeupColor &b) { return luma_of(a) < luma_of(b); });
	MakeupColor sum = {0, 0, 0};
	for (size_t index = count / 4; index < count - count / 4; ++index) {
		for (size_t channel = 0; channel < 3; ++channel)
			sum[channel] += lights[index][channel];
	}
	const float scale = 1 / static_cast<float>(count - 2 * (count / 4));
	return MakeupColor{sum[0] * scale, sum[1] * scale, sum[2] * scale};
}

int sample_radius(float size)
{
	return std::clamp(static_cast<int>(size * 0.015F), 1, 6);
}

std::optional<MakeupColor> measure_skin(const Frame &frame, const TrackedFace &face)
{
	std::array<MakeupColor, regions::skin.size()> lights;
	size_t count = 0;
	for (const int point : regions::skin) {
		const auto light = light_around(frame, face.points[size_t(point)].flat(), sample_radius(face.size));
		if (light)
			lights[count++] = *light;
	}
	return middle_light(lights, count);
}

// Halfway between the lips' outer and inner outline.
std::optional<MakeupColor> measure_lips(const Frame &frame, const TrackedFace &face)
{
	std::array<MakeupColor, regions::lips_outer.size()> lights;
	size_t count = 0;
	for (size_t index = 0; index < regions::lips_outer.size(); ++index) {
		const Point place = middle(face.points[size_t(regions::lips_outer[index])].flat(),
					   face.points[size_t(regions::lips_inner[index])].flat());
		const auto light = light_around(frame, place, sample_radius(face.size) / 2);
		if (light)
			lights[count++] = *light;
	}
	return middle_light(lights, count);
}

void approach(MakeupColor &color, const std::optional<MakeupColor> &target, float share)
{
	if (!target)
		return;
	for (size_t channel = 0; channel < 3; ++channel)
		color[channel] += share * ((*target)[channel] - color[channel]);
}

float red_share(const MakeupColor &light, size_t channel)
{
	return light[0] / (light[0] + light[channel] + least_luma);
}

FaceLight light_from(const MakeupColor &skin, const MakeupColor &lips)
{
	FaceLight light = {};
	for (size_t channel = 0; channel < 3; ++channel) {
		light.skin[channel] = std::max(skin[channel], least_light);
		light.lips[channel] = std::clamp(lips[channel], least_lips[channel] * light.skin[channel],
						 most_lips[channel] * light.skin[channel]);
	}
	light.skin_luma = luma_of(light.skin);
	light.lips_luma = luma_of(light.lips);
	light.skin_shares = {red_share(light.skin, 1), red_share(light.skin, 2)};
	light.lips_shares = {red_share(light.lips, 1), red_share(light.lips, 2)};
	const float fourth = std::sqrt(std::sqrt(light.skin_luma / usual_skin_luma));
	light.level = fourth * std::sqrt(fourth);
	return light;
}

} // namespace

void FaceLights::follow(std::span<const TrackedFace> faces, const Frame &frame, float seconds)
{
	std::array<Subject, max_tracked_faces> next;
	for (size_t index = 0; index < faces.size(); ++index) {
		const TrackedFace &face = faces[index];
		const auto known = std::find_if(subjects_.begin(), subjects_.end(),
						[&](const Subject &subject) { return subject.number == face.number; });
		const auto skin = measure_skin(frame, face);
		const auto lips = measure_lips(frame, face);
		Subject &subject = next[index];
		if (known == subjects_.end()) {
			subject.skin = skin.value_or(MakeupColor{usual_skin_luma, usual_skin_luma, usual_skin_luma});
			for (size_t channel = 0; channel < 3; ++channel)
				subject.lips[channel] = subject.skin[channel] * usual_lips[channel];
			approach(subject.lips, lips, 0.7F);
		} else {
			subject = *known;
			const float share = seconds / (seconds + light_learning_seconds);
			approach(subject.skin, skin, share * face.presence);
			approach(subject.lips, lips, share * face.confidence[static_cast<size_t>(FaceGroup::Lips)]);
		}
		subject.number = face.number;
		lights_[index] = light_from(subject.skin, subject.lips);
	}
	subjects_ = next;
}

MakeupColor cell_light(const Frame &frame, const MakeupGrid &grid, int column, int row)
{
	const int x = grid.left + column * grid.pitch;
	const int y = grid.top + row * grid.pitch;
	if (grid.pitch == 1)
		return pixel_light(frame.input_row(y) + size_t(x) * bytes_per_pixel);
	const int step = grid.pitch / 2;
	MakeupColor sum = {0, 0, 0};
	for (const int py : {y + step / 2, y + step / 2 + step}) {
		const uint8_t *line = frame.input_row(std::min(py, frame.height - 1));
		for (const int px : {x + step / 2, x + step / 2 + step}) {
			const MakeupColor light =
				pixel_light(line + size_t(std::min(px, frame.width - 1)) * bytes_per_pixel);
			for (size_t channel = 0; channel < 3; ++channel)
				sum[channel] += light[channel];
		}
	}
	return {sum[0] * 0.25F, sum[1] * 0.25F, sum[2] * 0.25F};
}

MakeupColor pigment_gains(const MakeupColor &base, const MakeupColor &pigment, float level, float cover)
{
	MakeupColor gains;
	for (size_t channel = 0; channel < 3; ++channel)
		gains[channel] = 1 - cover + cover * std::min(pigment[channel] * level / base[channel], 6.0F);
	return gains;
}

MakeupColor darkened(const MakeupColor &pigment, float level, float luma, float share)
{
	const float bright = luma_of(pigment) * level;
	const float scale = std::min(1.0F, share * luma / std::max(bright, least_luma));
	return {pigment[0] * scale, pigment[1] * scale, pigment[2] * scale};
}

MakeupColor tinted_like(const MakeupColor &light, float luma)
{
	const float scale = luma / std::max(luma_of(light), least_luma);
	return {light[0] * scale, light[1] * scale, light[2] * scale};
}

MakeupColor mixed(const MakeupColor &first, const MakeupColor &second, float share)
{
	MakeupColor color;
	for (size_t channel = 0; channel < 3; ++channel)
		color[channel] = first[channel] + share * (second[channel] - first[channel]);
	return color;
}

float skin_likeness(const MakeupColor &light, const FaceLight &face)
{
	const float bright = luma_of(light) / face.skin_luma;
	const float hue = std::abs(red_share(light, 1) - face.skin_shares[0]);
	const float blue = std::abs(red_share(light, 2) - face.skin_shares[1]);
	return smoothstep(0.08F, 0.30F, bright) * (1 - smoothstep(2.2F, 4.0F, bright)) *
	       (1 - smoothstep(0.10F, 0.20F, hue)) * (1 - smoothstep(0.12F, 0.24F, blue));
}

float lip_likeness(const MakeupColor &light, const FaceLight &face)
{
	const float bright = luma_of(light) / face.lips_luma;
	const float lips = face.lips_shares[0];
	const float skin = face.skin_shares[0];
	const float here = red_share(light, 1);
	const float gray = (lips - here) / std::max(lips - 0.5F, 0.05F); // 1: no redder than gray
	const float blue = face.lips_shares[1] - red_share(light, 2);
	// Where lips and skin differ in hue, what has the skin's hue is hardly lips.
	const float apart = smoothstep(0.03F, 0.09F, lips - skin);
	const float towards = (here - skin) / std::max(lips - skin, 0.01F);
	const float not_skin = 1 - apart * (0.7F - 0.7F * smoothstep(-0.1F, 0.6F, towards));
	return smoothstep(0.06F, 0.22F, bright) * (1 - 0.85F * smoothstep(1.9F, 3.6F, bright)) *
	       (1 - smoothstep(0.55F, 0.85F, gray)) * (1 - smoothstep(0.12F, 0.28F, blue)) * not_skin;
}

} // namespace kalvio::engine
