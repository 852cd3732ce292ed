// SPDX-License-Identifier: GPL-2.0-or-later
#include "faces/one_euro.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

namespace kalvio::engine::testing {
namespace {

constexpr float frame_seconds = 1.0F / 30;
constexpr float size = 120;

FacePoints all_at(float x, float y, float z = 0)
{
	FacePoints points;
	points.fill({x, y, z});
	return points;
}

TEST(FaceSmoother, TheFirstPointsAreTakenAsTheyAre)
{
	FaceSmoother smoother;
	smoother.update(all_at(5, 6, 7), frame_seconds, size);
	EXPECT_EQ(smoother.points()[477].x, 5);
	smoother.update(all_at(50, 60, 70), frame_seconds, size);
	EXPECT_LT(smoother.points()[0].x, 50);
	smoother.reset();
	smoother.update(all_at(500, 600, 700), frame_seconds, size);
	EXPECT_EQ(smoother.points()[0].z, 700);
}

TEST(FaceSmoother, EqualsTheFilterOfThePaper)
{
	// One step of the scalar filter, worked out by hand in double precision: 24 pixels in a thirtieth of a second.
	FaceSmoother smoother;
	smoother.update(all_at(100, 0), frame_seconds, size);
	smoother.update(all_at(124, 0), frame_seconds, size);
	const auto share = [](double cutoff) {
		const double steps = 2 * std::numbers::pi * cutoff / 30;
		return steps / (1 + steps);
	};
	constexpr double least_cutoff = 0.9; // hertz
	const double speed = share(1) * (24.0 / size * 30);
	const double expected = 100 + share(least_cutoff + 20 * speed) * 24;
	EXPECT_NEAR(smoother.points()[3].x, expected, 1e-3);
}

TEST(FaceSmoother, AStillFaceStandsStill)
{
	// Noise as the mesh has it on a noisy camera: 0.3 % of the size.
	FaceSmoother smoother;
	std::mt19937 random(4);
	std::normal_distribution<float> noise(0, 0.003F * size / std::numbers::sqrt2_v<float>);
	double sum = 0;
	constexpr int settling = 30;
	constexpr int frames = 300;
	for (int frame = 0; frame < frames; ++frame) {
		FacePoints points = all_at(200, 100);
		for (Point3 &point : points) {
			point.x += noise(random);
			point.y += noise(random);
		}
		smoother.update(points, frame_seconds, size);
		if (frame >= settling)
			sum += std::pow(distance(smoother.points()[0].flat(), {200, 100}), 2);
	}
	EXPECT_LT(std::sqrt(sum / (frames - settling)) / size, 0.0015);
}

TEST(FaceSmoother, AMovingFaceLagsLessThanHalfAFrame)
{
	// A quarter of the size once a second.
	FaceSmoother smoother;
	double along = 0;
	double beside = 0;
	constexpr int frames = 120;
	for (int frame = 0; frame < frames; ++frame) {
		const double phase = 2 * std::numbers::pi * frame / 30;
		smoother.update(all_at(float(200 + 0.25 * size * std::sin(phase)), 0), frame_seconds, size);
		if (frame < 60)
			continue;
		along += smoother.points()[0].x * std::sin(phase);
		beside += smoother.points()[0].x * std::cos(phase);
	}
	const double lag_frames = std::atan2(-beside, along) * 30 / (2 * std::numbers::pi);
	EXPECT_GT(lag_frames, 0);
	EXPECT_LT(lag_frames, 0.4);
}

TEST(FaceSmoother, TheFrameRateDoesNotChangeWhereASlowPointIsAfterASecond)
{
	const auto place_after_a_second = [](int frames) {
		FaceSmoother smoother;
		smoother.update(all_at(0, 0), 1, size);
		for (int frame = 0; frame < frames; ++frame)
			smoother.update(all_at(0.5F, 0), 1.0F / float(frames), size);
		return smoother.points()[0].x;
	};
	EXPECT_NEAR(place_after_a_second(30), place_after_a_second(60), 0.01);
}

} // namespace
} // namespace kalvio::engine::testing
