// SPDX-License-Identifier: GPL-2.0-or-later
#include "faces/face_mesh.h"

#include "engine_fixture.h"
#include "faces/face_regions.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <vector>

namespace kalvio::engine::testing {
namespace {

// Gives what a test has written into it.
class PlannedMesh : public RunnableNet {
public:
	struct Plan {
		std::vector<float> input = std::vector<float>(size_t(192) * 192 * 3);
		std::vector<std::vector<float>> outputs = {std::vector<float>(size_t(468) * 3),
							   std::vector<float>(160),
							   std::vector<float>(142),
							   std::vector<float>(142),
							   std::vector<float>(10),
							   std::vector<float>(10),
							   std::vector<float>(1, 4.0F)};
	};

	explicit PlannedMesh(Plan &plan) : plan_(plan) {}
	std::span<float> input() override { return plan_.input; }
	void run() override {}
	std::span<const float> output(int index) const override { return plan_.outputs[size_t(index)]; }

private:
	Plan &plan_;
};

class FaceMeshTest : public ::testing::Test {
protected:
	FaceMeshTest()
	{
		for (size_t point = 0; point < 468; ++point) {
			float *values = &plan.outputs[0][point * 3];
			values[0] = float(point % 24) * 8;
			values[1] = float(point / 24) * 9;
			values[2] = float(point % 7);
		}
	}

	FaceMesh mesh(const RefinedIndices &refined = {})
	{
		return FaceMesh(std::make_unique<PlannedMesh>(plan), refined);
	}

	PlannedMesh::Plan plan;
	Picture picture = noise_picture(192, 192, 3);
	Frame frame = {picture.bytes.data(), nullptr, 192, 192, picture.stride};
	FacePoints points;
};

TEST_F(FaceMeshTest, TheInputIsTheSquareAsValuesFromZeroToOne)
{
	mesh().fit(frame, {{96, 96}, 192}, points);
	for (size_t pixel = 0; pixel < size_t(192) * 192; ++pixel) {
		for (size_t channel = 0; channel < 3; ++channel)
			ASSERT_NEAR(plan.input[pixel * 3 + channel], picture.bytes[pixel * 4 + channel] / 255.0F, 1e-5);
	}
}

TEST_F(FaceMeshTest, PointsComeFromTheSquareIntoTheFrame)
{
	const CropSquare square = {{400, 300}, 384, {0, 1}}; // twice as large, turned by 90 degrees
	const float flag = mesh().fit(frame, square, points);
	EXPECT_NEAR(flag, 1 / (1 + std::exp(-4.0)), 1e-4);
	for (size_t point = 0; point < 468; ++point) {
		const float *values = &plan.outputs[0][point * 3];
		EXPECT_NEAR(points[point].x, 400 - 2 * (values[1] - 96), 1e-3);
		EXPECT_NEAR(points[point].y, 300 + 2 * (values[0] - 96), 1e-3);
		EXPECT_NEAR(points[point].z, 2 * values[2], 1e-3);
	}
}

TEST_F(FaceMeshTest, RefinedPointsTakeThePlaceOfTheMeshs_ButForTheirDepth)
{
	RefinedIndices refined;
	refined[0] = {61, 17, 9999}; // a number that no point has
	refined[1] = {33};
	refined[3] = {468, 469, 470, 471, 472};
	refined[4] = {473, 474, 475, 476, 477};
	plan.outputs[1] = {11, 12, 13, 14, 15, 16};
	plan.outputs[2] = {21, 22};
	plan.outputs[4] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
	plan.outputs[5] = {101, 102, 103, 104, 105, 106, 107, 108, 109, 110};
	mesh(refined).fit(frame, {{96, 96}, 192}, points);
	const auto expect = [&](int point, float x, float y) {
		EXPECT_NEAR(points[size_t(point)].x, x, 1e-3) << point;
		EXPECT_NEAR(points[size_t(point)].y, y, 1e-3) << point;
	};
	expect(61, 11, 12);
	expect(17, 13, 14);
	expect(33, 21, 22);
	expect(468, 1, 2);
	expect(472, 9, 10);
	expect(477, 109, 110);
	EXPECT_NEAR(points[61].z, 61 % 7, 1e-4);
	double depth = 0;
	for (const int point : regions::left_eye)
		depth += point % 7;
	EXPECT_NEAR(points[470].z, depth / regions::left_eye.size(), 1e-4);
}

TEST_F(FaceMeshTest, PointsThatAreNoNumbersAreNoFace)
{
	EXPECT_GT(mesh().fit(frame, {{96, 96}, 192}, points), 0.9F);
	for (const float value : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
		plan.outputs[0][700] = value;
		EXPECT_EQ(mesh().fit(frame, {{96, 96}, 192}, points), 0);
	}
	plan.outputs[0][700] = 0;
	plan.outputs[6][0] = std::numeric_limits<float>::quiet_NaN();
	EXPECT_FALSE(mesh().fit(frame, {{96, 96}, 192}, points) >= 0.5F);
}

TEST_F(FaceMeshTest, ColorsAreMeansOfTheCrop)
{
	FaceMesh fitted = mesh();
	fitted.fit(frame, {{96, 96}, 192}, points);
	const std::array<float, 3> color = fitted.color_at({100.5F / 192, 50.5F / 192});
	float sum = 0;
	for (int y = 49; y <= 51; ++y) {
		for (int x = 99; x <= 101; ++x)
			sum += picture.pixel(x, y)[2] / 255.0F;
	}
	EXPECT_NEAR(color[2], sum / 9, 1e-4);
	fitted.color_at({-7, 30}); // beyond the crop: the address sanitizer would tell
}

TEST_F(FaceMeshTest, TheNextSquareIsTurnedWithTheEyesAndHoldsTheFace)
{
	for (const float degrees : {0.0F, 35.0F, 120.0F, 180.0F}) {
		const float angle = degrees * 3.14159265F / 180;
		const CropSquare square = {{500, 400}, 100, {std::cos(angle), std::sin(angle)}};
		// A face of 60 x 90 with level eyes, turned.
		points.fill({500, 400, 0});
		const auto put = [&](int point, Point place) {
			const Point there = square.to_frame(place);
			points[size_t(point)] = {there.x, there.y, 0};
		};
		put(regions::left_eye_outer_corner, {0.3F, 0.4F});
		put(regions::right_eye_outer_corner, {0.7F, 0.4F});
		put(10, {0.5F, 0.05F});
		put(152, {0.5F, 0.95F});
		put(234, {0.2F, 0.5F});
		put(454, {0.8F, 0.5F});
		const CropSquare next = FaceMesh::next_square(points);
		EXPECT_NEAR(next.side, 1.5F * 90, 0.01) << degrees;
		EXPECT_NEAR(next.center.x, 500, 0.01) << degrees;
		EXPECT_NEAR(next.center.y, 400, 0.01) << degrees;
		EXPECT_NEAR(next.right.x, std::cos(angle), 1e-3) << degrees;
		EXPECT_NEAR(next.right.y, std::sin(angle), 1e-3) << degrees;
	}
}

template <size_t Count>
void expect_points(const std::array<int, Count> &list, int low, int high)
{
	const std::set<int> different(list.begin(), list.end());
	EXPECT_EQ(different.size(), Count);
	EXPECT_GE(*different.begin(), low);
	EXPECT_LT(*different.rbegin(), high);
}

TEST(FaceRegions, EveryListNamesDifferentPointsOfTheFace)
{
	using namespace regions;
	const auto surface = [](const auto &...lists) {
		(expect_points(lists, 0, face_surface_point_count), ...);
	};
	surface(oval, jaw, left_eye, right_eye, left_lid_fold, right_lid_fold, left_brow_lower, left_brow_upper,
		right_brow_lower, right_brow_upper, lips_outer, lips_inner, nose_bridge, nose_wings, skin);
	expect_points(left_iris, face_surface_point_count, face_point_count);
	expect_points(right_iris, face_surface_point_count, face_point_count);
	for (const int point : jaw)
		EXPECT_NE(std::find(oval.begin(), oval.end(), point), oval.end()) << point;
}

} // namespace
} // namespace kalvio::engine::testing
