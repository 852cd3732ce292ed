// SPDX-License-Identifier: GPL-2.0-or-later
#include "faces/head_pose.h"

#include "marker_nets.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace kalvio::engine::testing {
namespace {

constexpr float radians = std::numbers::pi_v<float> / 180;

struct Turn {
	float yaw; // degrees
	float pitch;
	float roll;
};

// The head turned by roll * pitch * yaw, at `scale` pixels a centimetre around (400, 300).
FacePoints posed(const HeadGeometry &head, const Turn &turn, float scale)
{
	const float cy = std::cos(turn.yaw * radians);
	const float sy = std::sin(turn.yaw * radians);
	const float cp = std::cos(turn.pitch * radians);
	const float sp = std::sin(turn.pitch * radians);
	const float cr = std::cos(turn.roll * radians);
	const float sr = std::sin(turn.roll * radians);
	FacePoints points{};
	for (size_t index = 0; index < head.vertices.size(); ++index) {
		const HeadGeometry::Vertex &vertex = head.vertices[index];
		const float x1 = cy * vertex.x + sy * vertex.z;
		const float z1 = -sy * vertex.x + cy * vertex.z;
		const float y2 = cp * vertex.y - sp * z1;
		const float z2 = sp * vertex.y + cp * z1;
		const float x3 = cr * x1 - sr * y2;
		const float y3 = sr * x1 + cr * y2;
		points[index] = {400 + scale * x3, 300 - scale * y3, -scale * z2};
	}
	return points;
}

TEST(PoseEstimator, FindsTheTurnTheScaleAndThePlaceOfARigidHead)
{
	const HeadGeometry head = marker_head();
	const PoseEstimator estimator(head);
	for (const Turn &turn : {Turn{0, 0, 0}, Turn{30, 0, 0}, Turn{-45, 10, 5}, Turn{10, -25, 60}, Turn{0, 0, 170},
				 Turn{-20, 15, -90}}) {
		HeadPose pose;
		ASSERT_TRUE(estimator.estimate(posed(head, turn, 17), pose));
		EXPECT_NEAR(pose.yaw() / radians, turn.yaw, 0.05);
		EXPECT_NEAR(pose.pitch() / radians, turn.pitch, 0.05);
		EXPECT_NEAR(pose.roll() / radians, turn.roll, 0.05);
		EXPECT_NEAR(pose.scale, 17, 0.01);
		EXPECT_NEAR(pose.translation.x, 400, 0.1);
		EXPECT_NEAR(pose.translation.y, -300, 0.1);
		EXPECT_NEAR(pose.towards_camera(), std::cos(turn.yaw * radians) * std::cos(turn.pitch * radians), 1e-3);
	}
}

TEST(PoseEstimator, WeighsItsPoints)
{
	HeadGeometry head = marker_head();
	const FacePoints straight = posed(head, {20, 0, 0}, 10);
	FacePoints bent = straight;
	bent[61].x += 40;
	const auto yaw_error = [&](float weight) {
		for (HeadGeometry::PoseWeight &anchor : head.pose_weights) {
			if (anchor.point == 61)
				anchor.weight = weight;
		}
		HeadPose pose;
		EXPECT_TRUE(PoseEstimator(head).estimate(bent, pose));
		return std::abs(pose.yaw() / radians - 20) + std::abs(pose.roll() / radians);
	};
	EXPECT_LT(yaw_error(0.01F), 1);
	EXPECT_GT(yaw_error(2), 5 * yaw_error(0.01F));
}

TEST(PoseEstimator, TellsHowFarPointsAreFromAHead)
{
	const HeadGeometry head = marker_head();
	const PoseEstimator estimator(head);
	FacePoints points = posed(head, {20, 10, 30}, 10);
	HeadPose pose;
	ASSERT_TRUE(estimator.estimate(points, pose));
	EXPECT_LT(estimator.misfit(points, pose), 0.1F);
	points[61].y += 20;
	float weight = 0;
	float total = 0;
	for (const HeadGeometry::PoseWeight &anchor : head.pose_weights) {
		weight += anchor.point == 61 ? anchor.weight : 0;
		total += anchor.weight;
	}
	EXPECT_NEAR(estimator.misfit(points, pose), 20 * std::sqrt(weight / total), 0.2F); // still in the old pose
}

TEST(PoseEstimator, PointsThatTellNothingGiveNoPose)
{
	HeadPose pose;
	FacePoints points{};
	EXPECT_FALSE(PoseEstimator(marker_head()).estimate(points, pose)); // all in one place
	EXPECT_FALSE(PoseEstimator(HeadGeometry{}).estimate(posed(marker_head(), {0, 0, 0}, 10), pose));
	points.fill({NAN, NAN, NAN});
	EXPECT_FALSE(PoseEstimator(marker_head()).estimate(points, pose));
	HeadGeometry strange = marker_head();
	strange.pose_weights.push_back({9999, 1});
	EXPECT_TRUE(PoseEstimator(strange).estimate(posed(strange, {0, 0, 0}, 10), pose));
}

} // namespace
} // namespace kalvio::engine::testing
