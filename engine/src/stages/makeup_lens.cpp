// SPDX-License-Identifier: GPL-2.0-or-later
#include "smoothstep.h"
#include "stages/makeup_items.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

namespace {

constexpr float lens_cover = 0.66F;
constexpr float lens_light =
	0.40F; // of a pigment that lies open to the light: a lens lies below the lid and the lashes
constexpr MakeupColor around_pupil = {0.30F, 0.17F, 0.07F}; // as in most irises
constexpr float least_radius = 2.0F;                        // pixels: a smaller iris shows no color

// The light of the iris's middle ring.
MakeupColor iris_light(const MakeupScene &scene, const EyeShape &eye)
{
	constexpr std::array<Point, 8> places = {{{0.65F, 0},
						  {0.46F, 0.46F},
						  {0, 0.65F},
						  {-0.46F, 0.46F},
						  {-0.65F, 0},
						  {0.6F, 0.25F},
						  {-0.6F, 0.25F},
						  {0.25F, 0.6F}}};
	std::array<float, places.size()> lumas;
	std::array<MakeupColor, places.size()> lights;
	for (size_t index = 0; index < places.size(); ++index) {
		const Point place = eye.iris + places[index] * eye.iris_radius;
		const int x = std::clamp(static_cast<int>(place.x), 0, scene.frame.width - 1);
		const int y = std::clamp(static_cast<int>(place.y), 0, scene.frame.height - 1);
		lights[index] = cell_light(scene.frame, {x, y, 1, 1, 1}, 0, 0);
		lumas[index] = luma_of(lights[index]);
	}
	const auto middle_luma = lumas.begin() + lumas.size() / 2;
	std::nth_element(lumas.begin(), middle_luma, lumas.end());
	const auto found = std::find_if(lights.begin(), lights.end(),
					[&](const MakeupColor &light) { return luma_of(light) == *middle_luma; });
	return found == lights.end() ? lights[0] : *found;
}

} // namespace

void paint_lens(const MakeupScene &scene, const EyeShape &eye, MakeupPatch &patch)
{
	const Makeup &item = scene.settings.pupil;
	const float shown = scene.shown(item, FaceGroup::Eyes) * eye.seen * smoothstep(0.07F, 0.16F, eye.openness) *
			    smoothstep(least_radius, 2 * least_radius, eye.iris_radius);
	if (shown <= 0)
		return;
	const MakeupGrid &grid = patch.grid();
	const FaceLight &light = scene.light;
	const MakeupColor color = pupil_color(item.color);
	const float usual = std::max(luma_of(iris_light(scene, eye)), 0.004F);
	const Point low = grid.place(eye.iris - Point{1.1F, 1.1F} * eye.iris_radius);
	const Point high = grid.place(eye.iris + Point{1.1F, 1.1F} * eye.iris_radius);
	const int first_x = std::clamp(static_cast<int>(std::max(low.x, 0.0F)), 0, grid.columns);
	const int end_x = std::clamp(static_cast<int>(std::max(high.x, 0.0F)) + 1, 0, grid.columns);
	const int first_y = std::clamp(static_cast<int>(std::max(low.y, 0.0F)), 0, grid.rows);
	const int end_y = std::clamp(static_cast<int>(std::max(high.y, 0.0F)) + 1, 0, grid.rows);
	for (int y = first_y; y < end_y; ++y) {
		const float *opening = patch.masks[0].row(y);
		for (int x = first_x; x < end_x; ++x) {
			const float radius = distance(grid.middle(x, y), eye.iris) / eye.iris_radius;
			const float ring = smoothstep(0.28F, 0.46F, radius) * (1 - smoothstep(0.88F, 1.04F, radius));
			if (ring * opening[x] <= 0)
				continue;
			const float below = luma_of(cell_light(scene.frame, grid, x, y));
			// Neither the highlight nor the white of the eye.
			const float dull = 1 - smoothstep(0.30F, 0.60F, below / light.level);
			const float share = shown * lens_cover * ring * opening[x] * dull;
			// Darker towards the rim, and as light and dark as the iris below it.
			const float rim = 1 - 0.55F * smoothstep(0.62F, 0.98F, radius);
			const float texture = std::clamp(0.4F + 0.6F * below / usual, 0.4F, 1.5F);
			const Point place = grid.middle(x, y);
			const float below_lid = eye.upper_height(eye.along(place)) - eye.height(place);
			const float shaded = 0.55F + 0.45F * smoothstep(0, 0.8F, below_lid / eye.iris_radius);
			const float lit = light.level * lens_light * rim * texture * shaded;
			const MakeupColor here =
				mixed(color, around_pupil, 0.5F * (1 - smoothstep(0.4F, 0.72F, radius)));
			patch.coat(x, y, share, {here[0] * lit, here[1] * lit, here[2] * lit});
		}
	}
}

} // namespace kalvio::engine
