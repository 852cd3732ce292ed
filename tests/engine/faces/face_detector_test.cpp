// SPDX-License-Identifier: GPL-2.0-or-later
#include "faces/face_detector.h"

#include "engine_fixture.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace kalvio::engine::testing {
namespace {

// Gives what a test has written into it.
class PlannedDetector : public RunnableNet {
public:
	struct Plan {
		std::vector<float> boxes =
			std::vector<float>(size_t(FaceDetector::box_count * FaceDetector::box_values));
		std::vector<float> logits = std::vector<float>(FaceDetector::box_count, -30.0F);
		std::vector<float> input = std::vector<float>(size_t(128) * 128 * 3);
	};

	explicit PlannedDetector(Plan &plan) : plan_(plan) {}
	std::span<float> input() override { return plan_.input; }
	void run() override {}
	std::span<const float> output(int index) const override { return index == 0 ? plan_.boxes : plan_.logits; }

private:
	Plan &plan_;
};

class FaceDetectorTest : public ::testing::Test {
protected:
	std::span<const FaceDetection> find(const CropSquare &square = {{64, 64}, 128})
	{
		return detector.find(frame, square);
	}
	// A box of 20 x 30 with its center `x`, `y` from its anchor; its key points lie 1, 2, ... to the right of that.
	void plan_box(int number, float logit, float x, float y, float width = 20, float height = 30)
	{
		plan.logits[size_t(number)] = logit;
		float *values = &plan.boxes[size_t(number) * FaceDetector::box_values];
		const float head[] = {x, y, width, height};
		std::copy_n(head, 4, values);
		for (int key = 0; key < FaceDetection::key_count; ++key) {
			values[4 + 2 * key] = x + float(key + 1);
			values[5 + 2 * key] = y;
		}
	}

	PlannedDetector::Plan plan;
	FaceDetector detector = FaceDetector(std::make_unique<PlannedDetector>(plan));
	Picture picture = noise_picture(128, 128, 3);
	Frame frame = {picture.bytes.data(), nullptr, 128, 128, picture.stride};
};

TEST_F(FaceDetectorTest, TheInputIsTheSquareAsValuesFromMinusOneToOne)
{
	find();
	for (size_t pixel = 0; pixel < size_t(128) * 128; ++pixel) {
		for (size_t channel = 0; channel < 3; ++channel)
			ASSERT_NEAR(plan.input[pixel * 3 + channel], picture.bytes[pixel * 4 + channel] / 127.5F - 1,
				    1e-5);
	}
}

TEST_F(FaceDetectorTest, BoxesLieAtTheirAnchors)
{
	// Two boxes a cell on 16 x 16 cells of 8 pixels, then six a cell on 8 x 8 cells of 16.
	const struct {
		int number;
		Point anchor;
	} expected[] = {{0, {4, 4}},   {1, {4, 4}},    {2, {12, 4}},           {2 * 16, {4, 12}}, {511, {124, 124}},
			{512, {8, 8}}, {518, {24, 8}}, {512 + 6 * 8, {8, 24}}, {895, {120, 120}}};
	for (const auto &[number, anchor] : expected) {
		plan = {};
		plan_box(number, 2, 3, -1);
		const auto found = find();
		ASSERT_EQ(found.size(), 1U) << number;
		EXPECT_NEAR(found[0].center.x, anchor.x + 3, 1e-3) << number;
		EXPECT_NEAR(found[0].center.y, anchor.y - 1, 1e-3) << number;
		EXPECT_NEAR(found[0].side, 30, 1e-3);
		EXPECT_NEAR(found[0].score, 1 / (1 + std::exp(-2.0)), 1e-4);
		for (int key = 0; key < FaceDetection::key_count; ++key)
			EXPECT_NEAR(found[0].keys[size_t(key)].x, anchor.x + 3 + float(key + 1), 1e-3);
	}
}

TEST_F(FaceDetectorTest, ASquareOfTheFrameGivesPlacesInTheFrame)
{
	plan_box(2 * (8 * 16 + 8), 2, 0, 0);                 // its anchor is (68, 68) of 128
	const CropSquare square = {{300, 200}, 256, {0, 1}}; // turned by 90 degrees
	const auto found = find(square);
	ASSERT_EQ(found.size(), 1U);
	EXPECT_NEAR(found[0].center.x, 300 - 8, 1e-3);
	EXPECT_NEAR(found[0].center.y, 200 + 8, 1e-3);
	EXPECT_NEAR(found[0].side, 60, 1e-3);
	EXPECT_NEAR(found[0].keys[0].y, 200 + 8 + 2, 1e-3);
	// The mesh is looked for with the eyes level, one and a half times as large.
	EXPECT_NEAR(found[0].mesh_square().right.y, 1, 1e-4);
	EXPECT_NEAR(found[0].mesh_square().side, 90, 1e-3);
}

TEST_F(FaceDetectorTest, WhatIsBelowAHalfIsNotFound)
{
	plan_box(100, -0.01F, 0, 0);
	EXPECT_TRUE(find().empty());
	plan_box(100, 0, 0, 0);
	EXPECT_EQ(find().size(), 1U);
}

TEST_F(FaceDetectorTest, BoxesOfOneFaceAreMergedByTheirScores)
{
	plan_box(0, 3, 20, 20);
	plan_box(1, 0, 22, 20); // the same anchor, the same face
	plan_box(511, 1, 0, -20);
	const auto found = find();
	ASSERT_EQ(found.size(), 2U);
	const double first = 1 / (1 + std::exp(-3.0));
	EXPECT_NEAR(found[0].score, first, 1e-4); // the surest first, with the best score of its group
	EXPECT_NEAR(found[0].center.x, 4 + (20 * first + 22 * 0.5) / (first + 0.5), 1e-3);
	EXPECT_NEAR(found[1].center.x, 124, 1e-3);
}

TEST_F(FaceDetectorTest, EqualScoresAreTakenInOrder)
{
	for (int number = 0; number < FaceDetector::box_count; ++number)
		plan_box(number, 5, 0, 0, 4, 4);
	const auto found = find();
	ASSERT_EQ(found.size(), size_t(FaceDetector::max_detections)); // and no more
	for (size_t index = 1; index < found.size(); ++index)
		EXPECT_GT(found[index].center.x + 1000 * found[index].center.y,
			  found[index - 1].center.x + 1000 * found[index - 1].center.y);
}

TEST_F(FaceDetectorTest, WhatIsNoNumberOrNoBoxIsNotFound)
{
	constexpr float none = std::numeric_limits<float>::quiet_NaN();
	plan_box(0, none, 0, 0);
	plan_box(50, 5, none, 0);
	plan_box(100, 5, 0, 0, -10, 10);
	plan_box(200, 5, 0, 0, 10, none);
	plan_box(300, 5, 0, std::numeric_limits<float>::infinity());
	plan_box(400, 5, 1e30F, 0);
	EXPECT_TRUE(find().empty());
	plan_box(512, std::numeric_limits<float>::infinity(), 0, 0);
	EXPECT_EQ(find().size(), 1U);
}

} // namespace
} // namespace kalvio::engine::testing
