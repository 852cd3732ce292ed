// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/body_shape.h"

#include "faces/face_regions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

// Silhouettes of drawn mattes below faces whose points are known.
namespace kalvio::engine::testing {
namespace {

constexpr float frame_s = 1.0F / 30;
constexpr int width = 1280;
constexpr int height = 720;
constexpr float size = 22; // of the face, pixels
constexpr float pixels_per_cm = size / 6.3F;

struct Person {
	Point eyes = {640, 80};
	float end_cm = 163; // below the eyes
	bool has_arms = true;
};

// The half width of a standing person so far below the eyes, in cm.
float half_width(float down, const Person &person)
{
	if (down < -12 || down > person.end_cm)
		return 0;
	if (down < 16)
		return 8;
	if (!person.has_arms || down > 83)
		return 15;
	return 23;
}

class BodyShapeTest : public ::testing::Test {
protected:
	void draw(const Person &person)
	{
		for (int row = 0; row < SteadyMatte::rows; ++row) {
			const float y = (float(row) + 0.5F) * height / SteadyMatte::rows;
			const float half = half_width((y - person.eyes.y) / pixels_per_cm, person) * pixels_per_cm;
			for (int column = 0; half > 0 && column < SteadyMatte::columns; ++column) {
				const float cell = float(width) / SteadyMatte::columns;
				const float x = (float(column) + 0.5F) * cell;
				const float inside = (half - std::abs(x - person.eyes.x)) / cell + 0.5F;
				float &value = matte[size_t(row) * SteadyMatte::columns + size_t(column)];
				value = std::max(value, std::clamp(inside, 0.0F, 1.0F));
			}
		}
	}
	void clear() { std::ranges::fill(matte, 0.0F); }
	static TrackedFace face_of(const Person &person, int number = 1)
	{
		TrackedFace face;
		face.number = number;
		face.presence = 1;
		face.size = size;
		face.points[regions::left_iris_center] = {person.eyes.x - size / 2, person.eyes.y, 0};
		face.points[regions::right_iris_center] = {person.eyes.x + size / 2, person.eyes.y, 0};
		face.points[regions::chin] = {person.eyes.x, person.eyes.y + 1.85F * size, 0};
		return face;
	}
	void update(std::span<const TrackedFace> faces, float presence = 1)
	{
		shape.update({matte.data(), SteadyMatte::columns, SteadyMatte::rows}, presence, width, height, faces,
			     frame_s);
	}
	void see(const Person &person)
	{
		clear();
		draw(person);
		const TrackedFace face = face_of(person);
		update({&face, 1});
	}
	// One person after the other, each as seen for a second.
	void settle(const Person &person)
	{
		for (int frame = 0; frame < 30; ++frame)
			see(person);
	}
	const BodyFigure &only() const
	{
		EXPECT_EQ(shape.figures().size(), 1U);
		return shape.figures()[0];
	}
	static BodyFigure::Row row_at(const BodyFigure &figure, float y)
	{
		return figure.rows[size_t(y * SteadyMatte::rows / height)];
	}

	std::vector<float> matte = std::vector<float>(SteadyMatte::cell_count, 0.0F);
	BodyShape shape;
};

TEST_F(BodyShapeTest, TheFirstFrameIsTakenAtOnceAndHasTheSilhouettesEdges)
{
	const Person person;
	see(person);
	const BodyFigure &figure = only();
	EXPECT_EQ(figure.shown, 1);
	EXPECT_EQ(figure.whole, 1);
	EXPECT_NEAR(figure.end_y, person.eyes.y + person.end_cm * pixels_per_cm, 6);
	for (const auto &[cm, half] : {std::array{50.0F, 23.0F}, std::array{130.0F, 15.0F}}) {
		const BodyFigure::Row row = row_at(figure, person.eyes.y + cm * pixels_per_cm);
		EXPECT_NEAR(row.left, person.eyes.x - half * pixels_per_cm, 2) << cm;
		EXPECT_NEAR(row.right, person.eyes.x + half * pixels_per_cm, 2) << cm;
		EXPECT_NEAR(row.axis, person.eyes.x, 3) << cm;
	}
	settle(person);
	EXPECT_EQ(only().whole, 1);
}

TEST_F(BodyShapeTest, WithoutABodyBelowTheFaceThereIsNoFigure)
{
	Person head;
	head.end_cm = 13;
	see(head);
	EXPECT_TRUE(shape.figures().empty());
	clear();
	const TrackedFace face = face_of(head);
	update({&face, 1});
	EXPECT_TRUE(shape.figures().empty());
	see(Person{});
	EXPECT_EQ(shape.figures().size(), 1U);
	update({});
	EXPECT_TRUE(shape.figures().empty());
}

TEST_F(BodyShapeTest, OnlyAFigureWithItsFeetInTheFrameIsWhole)
{
	settle({.eyes = {640, 160}}); // cut off at the shins
	EXPECT_EQ(only().whole, 0);
	EXPECT_EQ(only().shown, 1);
	EXPECT_GE(only().end_y, height + size * 0.9F);
	shape.restart();
	settle({.end_cm = 118}); // who sits
	EXPECT_EQ(only().whole, 0);
	shape.restart();
	settle({.end_cm = 60}); // behind a table
	EXPECT_EQ(only().whole, 0);
	EXPECT_NEAR(only().end_y, 80 + 60 * pixels_per_cm, 6);
}

TEST_F(BodyShapeTest, FeetAtTheFramesEdgeDoNotFlicker)
{
	const auto standing = [](float margin) {
		Person person;
		person.eyes.y = height - margin - person.end_cm * pixels_per_cm;
		return person;
	};
	for (const float start : {40.0F, 0.0F}) {
		shape.restart();
		settle(standing(start));
		const float decided = only().whole;
		EXPECT_EQ(decided, start > 0 ? 1 : 0);
		std::minstd_rand random(3);
		for (int frame = 0; frame < 90; ++frame) {
			// Between what makes a figure whole and what ends it; one frame in four misses the feet.
			see(standing(frame % 4 == 3 ? 3.0F : 8.0F + float(random() % 3)));
			if (start == 0) {
				ASSERT_EQ(only().whole, 0) << frame;
			} else {
				ASSERT_GE(only().whole, 0.8F) << frame;
			}
		}
	}
}

TEST_F(BodyShapeTest, AFigureThatIsCutOffFadesOutOfBeingWholeAndIn)
{
	settle(Person{});
	float last = only().whole;
	for (const bool is_whole : {false, true}) {
		for (int frame = 0; frame < 60; ++frame) {
			Person person;
			if (!is_whole)
				person.end_cm = 118;
			see(person);
			ASSERT_LE(std::abs(only().whole - last), 0.12F) << frame;
			last = only().whole;
		}
		EXPECT_EQ(last, is_whole ? 1 : 0);
	}
}

TEST_F(BodyShapeTest, AFigureThatIsLostFadesOut)
{
	settle(Person{});
	const TrackedFace face = face_of(Person{});
	clear();
	float last = 1;
	for (int frame = 0; frame < 20; ++frame) {
		update({&face, 1});
		ASSERT_LE(last - only().shown, 0.12F);
		last = only().shown;
	}
	EXPECT_EQ(last, 0);
	settle(Person{});
	TrackedFace fading = face_of(Person{});
	fading.presence = 0.3F;
	update({&fading, 1});
	EXPECT_FLOAT_EQ(only().shown, 0.3F);
	EXPECT_FLOAT_EQ(only().whole, 0.3F);
}

TEST_F(BodyShapeTest, SomebodyWhoStandsApartIsInNoFigure)
{
	clear();
	const Person own;
	draw(own);
	draw({.eyes = {640 + 60 * pixels_per_cm, 80}});
	const TrackedFace face = face_of(own);
	update({&face, 1});
	for (float cm = 20; cm < 160; cm += 5) {
		const BodyFigure::Row row = row_at(only(), own.eyes.y + cm * pixels_per_cm);
		EXPECT_LE(row.right, own.eyes.x + 24 * pixels_per_cm) << cm;
		EXPECT_NEAR(row.axis, own.eyes.x, 4) << cm;
	}
}

TEST_F(BodyShapeTest, TwoPeopleWhoTouchPartInTheMiddle)
{
	clear();
	const Person left = {.eyes = {580, 80}};
	const Person right = {.eyes = {700, 85}};
	draw(left);
	draw(right);
	const std::array faces = {face_of(left, 4), face_of(right, 7)};
	update(faces);
	ASSERT_EQ(shape.figures().size(), 2U);
	for (float y = 200; y < 600; y += 20) {
		EXPECT_LE(row_at(shape.figures()[0], y).right, 640 + 5);
		EXPECT_GE(row_at(shape.figures()[1], y).left, 640 - 5);
		EXPECT_LT(row_at(shape.figures()[0], y).left, 540);
		EXPECT_GT(row_at(shape.figures()[1], y).right, 740);
	}
	EXPECT_EQ(shape.figures()[0].face_number, 4);
	EXPECT_EQ(shape.figures()[1].face_number, 7);
	// The one who stays keeps what was seen of it.
	update({&faces[1], 1});
	ASSERT_EQ(shape.figures().size(), 1U);
	EXPECT_EQ(shape.figures()[0].face_number, 7);
	EXPECT_EQ(shape.figures()[0].shown, 1);
}

TEST_F(BodyShapeTest, ANoisyMatteHardlyMovesTheEdges)
{
	settle(Person{});
	std::minstd_rand random(7);
	const float y = 80 + 50 * pixels_per_cm;
	float last = row_at(only(), y).right;
	const float expected = last;
	for (int frame = 0; frame < 60; ++frame) {
		clear();
		draw(Person{});
		for (float &value : matte)
			value = std::clamp(value + (float(random() % 401) / 1000 - 0.2F), 0.0F, 1.0F);
		const TrackedFace face = face_of(Person{});
		update({&face, 1});
		const float right = row_at(only(), y).right;
		ASSERT_NEAR(right, last, 0.5F) << frame;
		ASSERT_NEAR(right, expected, 3) << frame;
		last = right;
	}
}

TEST_F(BodyShapeTest, ItGoesAlongWithAPersonWhoWalks)
{
	Person person = {.eyes = {300, 80}};
	settle(person);
	const float y = 80 + 50 * pixels_per_cm;
	for (int frame = 0; frame < 45; ++frame) {
		person.eyes.x += 4; // 120 pixels, 35 cm, per second
		see(person);
		ASSERT_NEAR(row_at(only(), y).right, person.eyes.x + 23 * pixels_per_cm, 1.5F * size) << frame;
		ASSERT_NEAR(row_at(only(), y).axis, person.eyes.x, 1.5F * size) << frame;
	}
}

// An arm that is raised to the side does not drag the torso's middle along.
TEST_F(BodyShapeTest, AnArmHeldOutLeavesTheAxis)
{
	settle(Person{});
	const float y = 80 + 30 * pixels_per_cm;
	const float before = row_at(only(), y).axis;
	for (int frame = 0; frame < 30; ++frame) {
		clear();
		draw(Person{});
		for (int row = 0; row < SteadyMatte::rows; ++row) {
			const float down = ((float(row) + 0.5F) * height / SteadyMatte::rows - 80) / pixels_per_cm;
			if (down > 24 && down < 36)
				std::fill_n(matte.begin() + row * SteadyMatte::columns + 128, 40, 1.0F);
		}
		const TrackedFace face = face_of(Person{});
		update({&face, 1});
		ASSERT_NEAR(row_at(only(), y).axis, before, 1.3F * size) << frame;
	}
	EXPECT_GT(row_at(only(), y).right, 640 + 25 * pixels_per_cm);
}

TEST_F(BodyShapeTest, EveryPlaceOfTheFaceWorks)
{
	for (const Point eyes : {Point{-300, 80}, Point{1600, 80}, Point{640, -400}, Point{640, 719}, Point{0, 0}}) {
		shape.restart();
		see({.eyes = eyes});
		for (const BodyFigure &figure : shape.figures()) {
			for (int y = figure.first_row; y < SteadyMatte::rows; ++y) {
				const BodyFigure::Row &row = figure.rows[size_t(y)];
				ASSERT_LE(row.left, row.axis);
				ASSERT_LE(row.axis, row.right);
			}
		}
	}
}

} // namespace
} // namespace kalvio::engine::testing
