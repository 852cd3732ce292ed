// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/reshape_field.h"

#include "engine.h"
#include "faces/face_regions.h"
#include "faces/mirrored_point.h"
#include "made_face.h"
#include "painted_face_fixture.h"
#include "pool.h"
#include "reshape_features.h"
#include "stages/reshape_moves.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <set>

// The displacement field of faces whose points are known.
namespace kalvio::engine::testing {
namespace {

using Amounts = std::array<float, KL_RESHAPE_COUNT>;

class ReshapeFieldTest : public PaintedFaceTest {
protected:
	// A face in a frame of 960 x 540 with 90 pixels between its eyes. Painted small: only its points are needed.
	TrackedFace made_face(FaceCondition condition, uint32_t seed, Point center = {480, 260})
	{
		FaceRecipe recipe = make_recipe(condition, seed);
		recipe.width = 48;
		recipe.height = 27;
		recipe.center = center;
		recipe.eye_distance = 90;
		Image image;
		return face_with(painter->paint(recipe, 1, image));
	}
	static TrackedFace shifted(TrackedFace face, Point way)
	{
		for (Point3 &point : face.points)
			point = {point.x + way.x, point.y + way.y, point.z};
		return face;
	}

	static TrackedFace face_with(const FacePoints &points)
	{
		TrackedFace face;
		face.number = 1;
		face.presence = 1;
		face.points = points;
		face.size = regions::face_size(points);
		face.confidence.fill(1);
		return face;
	}

	// The same as its own mirror image, upright.
	static TrackedFace symmetrical(TrackedFace face, float middle)
	{
		face.points[168].x = middle;
		for (int point = 0; point < face_point_count; ++point) {
			const int other = mirrored_point(point);
			Point3 &own = face.points[size_t(point)];
			if (other == point) {
				own.x = middle;
			} else {
				Point3 &opposite = face.points[size_t(other)];
				opposite.x = 2 * middle - own.x;
				opposite.y = own.y;
			}
		}
		face.size = regions::face_size(face.points);
		return face;
	}

	// Where the picture's content at a place goes: what the output shows there, turned round.
	Point moved(Point place) const
	{
		Point shown = place;
		for (int step = 0; step < 30; ++step)
			shown = place - offset(shown);
		return shown;
	}
	// From an output pixel's place to where it is read.
	Point offset(Point place) const
	{
		for (const ReshapeField::Region &region : field.regions()) {
			const DisplacementGrid &grid = region.grid;
			const float x = (place.x - grid.node_x(0)) / float(grid.cell());
			const float y = (place.y - grid.node_y(0)) / float(grid.cell());
			const int column = int(std::floor(x));
			const int row = int(std::floor(y));
			if (column < 0 || row < 0 || column + 1 >= grid.columns || row + 1 >= grid.rows)
				continue;
			const kernels::WarpNode *above = region.node_row(row) + column;
			const kernels::WarpNode *below = region.node_row(row + 1) + column;
			const auto mix = [](float first, float second, float part) {
				return first + (second - first) * part;
			};
			const float part_x = x - float(column);
			const float part_y = y - float(row);
			return Point{mix(mix(float(above[0].x), float(above[1].x), part_x),
					 mix(float(below[0].x), float(below[1].x), part_x), part_y),
				     mix(mix(float(above[0].y), float(above[1].y), part_x),
					 mix(float(below[0].y), float(below[1].y), part_x), part_y)} *
			       (1 / 65536.0F);
		}
		return {};
	}

	// The smallest determinant of the map from output pixels to where they are read, from its nodes alone.
	double least_area() const
	{
		double least = 1;
		for (const ReshapeField::Region &region : field.regions()) {
			const int cell = region.grid.cell();
			for (int row = 0; row + 1 < region.grid.rows; ++row) {
				for (int column = 0; column + 1 < region.grid.columns; ++column)
					least = std::min(least,
							 least_area_of_cell(region.node_row(row) + column,
									    region.node_row(row + 1) + column, cell));
			}
		}
		return least;
	}
	static double least_area_of_cell(const kernels::WarpNode *above, const kernels::WarpNode *below, int cell)
	{
		double least = 1;
		const double unit = 65536.0 * cell;
		for (const double across : {0.0, 0.5, 1.0}) {
			for (const double down : {0.0, 0.5, 1.0}) {
				const auto slope_x = [&](int32_t kernels::WarpNode::*axis) {
					return ((above[1].*axis - above[0].*axis) * (1 - down) +
						(below[1].*axis - below[0].*axis) * down) /
					       unit;
				};
				const auto slope_y = [&](int32_t kernels::WarpNode::*axis) {
					return ((below[0].*axis - above[0].*axis) * (1 - across) +
						(below[1].*axis - above[1].*axis) * across) /
					       unit;
				};
				using Node = kernels::WarpNode;
				least = std::min(least, (1 + slope_x(&Node::x)) * (1 + slope_y(&Node::y)) -
								slope_x(&Node::y) * slope_y(&Node::x));
			}
		}
		return least;
	}

	void build(const Amounts &amounts, std::span<const TrackedFace> faces)
	{
		field.build(width, height, amounts, faces, pool);
	}
	static Amounts only(int key, float amount)
	{
		Amounts amounts = {};
		amounts[size_t(key)] = amount;
		return amounts;
	}

	static constexpr int width = 960;
	static constexpr int height = 540;
	Pool pool{1};
	ReshapeField field;
};

float distance_from_oval(const FacePoints &points, Point place)
{
	float nearest = INFINITY;
	bool inside = false;
	for (size_t index = 0; index < std::size(regions::oval); ++index) {
		const Point from = points[size_t(regions::oval[index])].flat();
		const Point to = points[size_t(regions::oval[(index + 1) % std::size(regions::oval)])].flat();
		const Point way = to - from;
		const Point offset = place - from;
		const float along =
			std::clamp((offset.x * way.x + offset.y * way.y) / (way.x * way.x + way.y * way.y), 0.0F, 1.0F);
		nearest = std::min(nearest, distance(place, from + way * along));
		if ((from.y <= place.y) != (to.y <= place.y) && place.x < from.x + way.x * (place.y - from.y) / way.y)
			inside = !inside;
	}
	return inside ? 0 : nearest;
}

TEST_F(ReshapeFieldTest, EverySettingHasAMove)
{
	std::set<int> keys;
	for (const ReshapeMove &move : reshape_moves())
		keys.insert(move.key);
	EXPECT_EQ(keys.size(), size_t{KL_RESHAPE_COUNT});
}

TEST_F(ReshapeFieldTest, PointsHaveMirrorImagesOnTheOtherSide)
{
	const TrackedFace face = made_face(FaceCondition::Base, 1);
	FaceRecipe level = make_recipe(FaceCondition::Base, 1);
	level.yaw = level.pitch = level.roll = 0;
	level.center = {240, 130};
	Image image;
	const FacePoints points = painter->paint(level, 1, image);
	const float middle = points[168].x;
	std::set<int> seen;
	for (const ReshapeMove &move : reshape_moves()) {
		for (const MovedPoint &moved : move.points) {
			const int other = mirrored_point(moved.point);
			EXPECT_EQ(mirrored_point(other), moved.point);
			const Point3 &left = points[size_t(moved.point)];
			const Point3 &right = points[size_t(other)];
			EXPECT_NEAR(left.x + right.x, 2 * middle, 0.06F * face.size) << moved.point;
			EXPECT_NEAR(left.y, right.y, 0.04F * face.size) << moved.point;
			if (other != moved.point) {
				EXPECT_LT(left.x, right.x) << moved.point;
			}
		}
	}
}

TEST_F(ReshapeFieldTest, NeutralAmountsAndLostFacesHaveNoField)
{
	TrackedFace face = made_face(FaceCondition::Base, 1);
	build({}, {&face, 1});
	EXPECT_TRUE(field.regions().empty());
	face.confidence.fill(0);
	Amounts all;
	all.fill(1);
	build(all, {&face, 1});
	EXPECT_TRUE(field.regions().empty());
	build(all, {});
	EXPECT_TRUE(field.regions().empty());
}

TEST_F(ReshapeFieldTest, NothingFoldsWhateverTheSettings)
{
	std::minstd_rand random(5);
	constexpr FaceCondition conditions[] = {FaceCondition::Base, FaceCondition::Yaw, FaceCondition::Roll,
						FaceCondition::Pitch};
	std::vector<TrackedFace> faces;
	for (uint32_t seed = 1; seed <= 8; ++seed)
		faces.push_back(made_face(conditions[seed % 4], seed));
	double least = 1;
	for (int trial = 0; trial < 1000; ++trial) {
		Amounts amounts;
		const auto kind = random() % 3;
		for (float &amount : amounts) {
			amount = float(random() % 2001) / 1000 - 1;
			if (kind == 1)
				amount = amount < 0 ? -1.0F : 1.0F;
			else if (kind == 2 && random() % 4 != 0)
				amount = 0;
		}
		build(amounts, {&faces[size_t(trial) % faces.size()], 1});
		const double area = least_area();
		least = std::min(least, area);
		ASSERT_GT(area, 0.3) << trial;
	}
	EXPECT_LT(least, 0.4); // the limit was needed
}

TEST_F(ReshapeFieldTest, ItIsTheSameWithAnyNumberOfThreads)
{
	const TrackedFace faces[] = {made_face(FaceCondition::Yaw, 3, {380, 260}),
				     made_face(FaceCondition::Base, 4, {560, 280})};
	Amounts amounts;
	for (size_t key = 0; key < amounts.size(); ++key)
		amounts[key] = key % 2 == 0 ? 0.7F : -0.6F;
	build(amounts, faces);
	ASSERT_FALSE(field.regions().empty());
	for (const int threads : {2, 3, 5}) {
		Pool more(threads);
		ReshapeField other;
		other.build(width, height, amounts, faces, more);
		ASSERT_EQ(other.regions().size(), field.regions().size());
		for (size_t index = 0; index < field.regions().size(); ++index) {
			const auto &nodes = field.regions()[index].nodes;
			EXPECT_TRUE(
				std::ranges::equal(nodes, other.regions()[index].nodes,
						   [](const kernels::WarpNode &left, const kernels::WarpNode &right) {
							   return left.x == right.x && left.y == right.y;
						   }))
				<< threads;
		}
	}
}

TEST_F(ReshapeFieldTest, OverlappingFacesAddUpAndDoNotFold)
{
	std::minstd_rand random(6);
	std::vector<TrackedFace> apart;
	for (uint32_t seed = 1; seed <= 4; ++seed)
		apart.push_back(made_face(FaceCondition::Base, seed));
	for (int trial = 0; trial < 30; ++trial) {
		std::vector<TrackedFace> faces;
		for (const TrackedFace &face : apart)
			faces.push_back(shifted(face, {float(random() % 200) - 100, float(random() % 140) - 70}));
		Amounts amounts;
		for (float &amount : amounts)
			amount = random() % 2 != 0 ? 1.0F : -1.0F;
		build(amounts, faces);
		ASSERT_EQ(field.regions().size(), 1U);
		ASSERT_GT(least_area(), 0.3) << trial;
	}
}

TEST_F(ReshapeFieldTest, FacesApartHaveRegionsOfTheirOwn)
{
	const std::array faces = {made_face(FaceCondition::Base, 1, {200, 260}),
				  made_face(FaceCondition::Base, 2, {760, 260})};
	build(only(KL_RESHAPE_EYE_SIZE, 1), faces);
	ASSERT_EQ(field.regions().size(), 2U);
	// Each is what it is alone.
	std::vector<Point> together;
	for (const TrackedFace &face : faces)
		together.push_back(moved(face.points[33].flat()));
	for (size_t index = 0; index < faces.size(); ++index) {
		build(only(KL_RESHAPE_EYE_SIZE, 1), {&faces[index], 1});
		EXPECT_LT(distance(moved(faces[index].points[33].flat()), together[index]), 1e-3F);
		EXPECT_GT(distance(faces[index].points[33].flat(), together[index]), 1);
	}
}

TEST_F(ReshapeFieldTest, ItEndsAQuarterOfTheSizeOutsideOfTheOval)
{
	for (uint32_t seed = 1; seed <= 3; ++seed) {
		const TrackedFace face = made_face(FaceCondition::Base, seed);
		for (int key = 0; key < KL_RESHAPE_COUNT; ++key) {
			build(only(key, key % 2 != 0 ? 1.0F : -1.0F), {&face, 1});
			ASSERT_EQ(field.regions().size(), 1U);
			const ReshapeField::Region &region = field.regions()[0];
			for (int row = 0; row < region.grid.rows; ++row) {
				for (int column = 0; column < region.grid.columns; ++column) {
					const Point place = {region.grid.node_x(column), region.grid.node_y(row)};
					if (distance_from_oval(face.points, place) <= 0.25F * face.size)
						continue;
					const kernels::WarpNode &node = region.node_row(row)[column];
					ASSERT_TRUE(node.x == 0 && node.y == 0) << key;
				}
			}
		}
	}
}

TEST_F(ReshapeFieldTest, ASymmetricalFaceStaysSymmetrical)
{
	constexpr float middle = 480.5F; // of a node
	const TrackedFace face = symmetrical(made_face(FaceCondition::Base, 2), middle);
	for (int key = 0; key < KL_RESHAPE_COUNT; ++key) {
		build(only(key, 1), {&face, 1});
		double largest = 0;
		for (float y = 60; y < 500; y += 7) {
			for (float x = 0; x < 250; x += 7) {
				const Point left = offset({middle - x, y});
				const Point right = offset({middle + x, y});
				ASSERT_NEAR(left.x, -right.x, 0.01) << key << " " << x << " " << y;
				ASSERT_NEAR(left.y, right.y, 0.01) << key << " " << x << " " << y;
				largest = std::max({largest, std::abs(double{left.x}), std::abs(double{left.y})});
			}
		}
		EXPECT_GT(largest, 1) << key;
	}
}

TEST_F(ReshapeFieldTest, ItFadesWithTheConfidenceOfItsPartAlone)
{
	TrackedFace face = made_face(FaceCondition::Base, 1);
	const Point corner = face.points[61].flat();
	build(only(KL_RESHAPE_MOUTH_SIZE, 1), {&face, 1});
	const float whole = distance(moved(corner), corner);
	face.confidence[size_t(FaceGroup::Lips)] = 0.5F;
	build(only(KL_RESHAPE_MOUTH_SIZE, 1), {&face, 1});
	EXPECT_NEAR(distance(moved(corner), corner), whole / 2, 0.1F * whole);
	face.confidence[size_t(FaceGroup::Lips)] = 1;
	face.confidence[size_t(FaceGroup::Eyes)] = 0;
	build(only(KL_RESHAPE_MOUTH_SIZE, 1), {&face, 1});
	EXPECT_NEAR(distance(moved(corner), corner), whole, 1e-3F);
	build(only(KL_RESHAPE_EYE_SIZE, 1), {&face, 1});
	EXPECT_TRUE(field.regions().empty());
}

TEST_F(ReshapeFieldTest, TheFramesEdgesStayWhereTheyAre)
{
	Amounts all;
	all.fill(-1);
	for (const Point center : {Point{20, 260}, Point{950, 500}, Point{480, 30}}) {
		const TrackedFace face = made_face(FaceCondition::Base, 3, center);
		build(all, {&face, 1});
		for (float x = 0.5F; x < width; x += 5) {
			EXPECT_EQ(offset({x, 0.5F}).y, 0);
			EXPECT_LE(offset({x, height - 0.5F}).y, 0.1F); // the last node lies beyond it
		}
		for (float y = 0.5F; y < height; y += 5) {
			EXPECT_EQ(offset({0.5F, y}).x, 0);
			EXPECT_LE(offset({width - 0.5F, y}).x, 0.1F);
		}
		EXPECT_GT(least_area(), 0.3);
	}
}

// Read from the field itself, for all settings: those in which the mesh sees too little have no other test.
TEST_F(ReshapeFieldTest, EverySettingMovesItsFeatureByAHundredthOfTheSize)
{
	for (uint32_t seed = 1; seed <= 3; ++seed) {
		TrackedFace face = made_face(FaceCondition::Base, seed);
		// Upright: the features are measured along the picture's axes.
		FaceRecipe level = make_recipe(FaceCondition::Base, seed);
		level.width = 48;
		level.height = 27;
		level.center = {480, 260};
		level.eye_distance = 90;
		level.yaw = level.pitch = level.roll = 0;
		Image image;
		face = face_with(painter->paint(level, 1, image));
		for (const ReshapeFeature &feature : reshape_features) {
			for (const float amount : {1.0F, -1.0F}) {
				build(only(feature.key, amount), {&face, 1});
				FacePoints points = face.points;
				for (Point3 &point : points) {
					const Point place = moved(point.flat());
					point = {place.x, place.y, point.z};
				}
				const float change = feature.measure(points) - feature.measure(face.points);
				EXPECT_GE(change / face.size * amount * (feature.grows ? 1.0F : -1.0F), 0.01F)
					<< feature.name << " at " << amount << ", face " << seed;
			}
		}
	}
}

} // namespace
} // namespace kalvio::engine::testing
