// SPDX-License-Identifier: GPL-2.0-or-later
#include "faces/one_euro.h"

#include <cmath>
#include <numbers>

namespace kalvio::engine {

namespace {

// The share of the new value in a first-order low-pass.
float share_of_new(float cutoff_hz, float seconds)
{
	const float steps = 2 * std::numbers::pi_v<float> * cutoff_hz * seconds;
	return steps / (1 + steps);
}

float approach(float from, float to, float share)
{
	return from + share * (to - from);
}

} // namespace

void FaceSmoother::update(const FacePoints &measured, float seconds, float size)
{
	if (!started_) {
		points_ = measured;
		speeds_ = {};
		started_ = true;
		return;
	}
	const float speed_share = share_of_new(speed_cutoff_hz, seconds);
	const float per_second = 1 / (seconds * size);
	for (size_t index = 0; index < points_.size(); ++index) {
		const Point3 &target = measured[index];
		Point3 &point = points_[index];
		Point3 &speed = speeds_[index];
		speed.x = approach(speed.x, (target.x - point.x) * per_second, speed_share);
		speed.y = approach(speed.y, (target.y - point.y) * per_second, speed_share);
		const float share = share_of_new(cutoff_hz + cutoff_per_speed * length(speed.flat()), seconds);
		point.x = approach(point.x, target.x, share);
		point.y = approach(point.y, target.y, share);
		point.z = approach(point.z, target.z, share);
	}
}

} // namespace kalvio::engine
