// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"
#include "faces/face_regions.h"
#include "image_writer.h"
#include "made_face.h"
#include "painted_face_fixture.h"
#include "reshape_features.h"

#include <hwy/targets.h>

#include <algorithm>
#include <cmath>

// Reshaped frames of made faces, with the nets of the resource bundle.
namespace kalvio::engine::testing {
namespace {

constexpr int64_t frame_us = 33'333;

class Reshape : public PaintedFaceTest {
protected:
	static FaceRecipe level_recipe(uint32_t seed)
	{
		FaceRecipe recipe = make_recipe(FaceCondition::Base, seed);
		recipe.width = 960;
		recipe.height = 540;
		recipe.center = {480, 260};
		recipe.eye_distance = 90;
		recipe.yaw = recipe.pitch = recipe.roll = 0;
		return recipe;
	}
	Picture painted(const FaceRecipe &recipe, uint32_t moment = 1)
	{
		Image image;
		painter->paint(recipe, moment, image);
		Picture picture(image.width, image.height);
		std::copy(image.pixels.begin(), image.pixels.end(), picture.bytes.begin());
		return picture;
	}

	void set_all(float amount)
	{
		for (int key = 0; key < KL_RESHAPE_COUNT; ++key)
			ASSERT_EQ(kl_set_reshape(engine.get(), key, amount), KL_OK);
	}
	Picture after_frames(const Picture &input, int frames)
	{
		Picture output(input.width, input.height);
		for (int frame = 0; frame < frames; ++frame) {
			pass(frame_us);
			output = processed(input);
		}
		return output;
	}
	// The mesh's points of a picture, looked for where the engine follows the face.
	FacePoints mesh_of(const Picture &picture)
	{
		FaceNets nets = face_nets(*engine->nets);
		if (!mesh)
			mesh = std::make_unique<FaceMesh>(nets.make_mesh(), nets.refined);
		const Frame frame = {picture.bytes.data(), nullptr, picture.width, picture.height, picture.stride};
		FacePoints points = engine->faces->faces()[0].points;
		const CropSquare square = FaceMesh::next_square(points);
		mesh->fit(frame, square, points);
		return points;
	}

	// From a pixel of the last output to where it was read: bilinear between the nodes, as the frame is.
	Point shown_offset(Point place) const
	{
		for (const ReshapeField::Region &region : engine->memory.reshape.regions()) {
			const DisplacementGrid &grid = region.grid;
			const float across = (place.x - grid.node_x(0)) / float(grid.cell());
			const float down = (place.y - grid.node_y(0)) / float(grid.cell());
			const int column = int(std::floor(across));
			const int row = int(std::floor(down));
			if (column < 0 || row < 0 || column + 1 >= grid.columns || row + 1 >= grid.rows)
				continue;
			const auto node = [&](int right, int below) {
				const kernels::WarpNode &one = region.node_row(row + below)[column + right];
				return Point{float(one.x), float(one.y)} * (1 / 65536.0F);
			};
			const auto mix = [](Point from, Point to, float part) {
				return from + (to - from) * part;
			};
			const float part = across - float(column);
			return mix(mix(node(0, 0), node(1, 0), part), mix(node(0, 1), node(1, 1), part),
				   down - float(row));
		}
		return {};
	}

	std::unique_ptr<FaceMesh> mesh;
};

TEST_F(Reshape, TheMeshOfTheResultSeesWhatWasAskedFor)
{
	constexpr std::array seeds = {1U, 2U, 3U, 4U};
	std::array<std::array<float, 2>, std::size(reshape_features)> changes = {};
	float narrower = 0;
	for (const uint32_t seed : seeds) {
		const Picture picture = painted(level_recipe(seed));
		engine->faces = nullptr;
		set_all(0.001F);
		after_frames(picture, 12);
		set_all(0);
		const FacePoints before = mesh_of(picture);
		for (size_t index = 0; index < std::size(reshape_features); ++index) {
			const ReshapeFeature &feature = reshape_features[index];
			for (const size_t sign : {size_t{0}, size_t{1}}) {
				kl_set_reshape(engine.get(), feature.key, sign == 0 ? 1 : -1);
				const FacePoints after = mesh_of(after_frames(picture, 1));
				const float change = feature.measure(after) - feature.measure(before);
				changes[index][sign] += 100 * change / regions::face_size(before) / std::size(seeds);
				if (feature.key == KL_RESHAPE_FACE_THIN && sign == 0)
					narrower -= 100 * change / feature.measure(before) / std::size(seeds);
			}
			kl_set_reshape(engine.get(), feature.key, 0);
		}
	}
	EXPECT_GE(narrower, 6); // percent of the jaw
	EXPECT_LE(narrower, 12);
	RecordProperty("narrower", std::to_string(narrower));
	for (size_t index = 0; index < std::size(reshape_features); ++index) {
		const ReshapeFeature &feature = reshape_features[index];
		RecordProperty(feature.name,
			       std::to_string(changes[index][0]) + " " + std::to_string(changes[index][1]));
		if (feature.most == 0)
			continue;
		for (const size_t sign : {size_t{0}, size_t{1}}) {
			const float change = changes[index][sign] * (feature.grows == (sign == 0) ? 1.0F : -1.0F);
			EXPECT_GE(change, feature.least) << feature.name << (sign == 0 ? " at 1" : " at -1");
			EXPECT_LE(change, feature.most) << feature.name << (sign == 0 ? " at 1" : " at -1");
		}
	}
}

TEST_F(Reshape, NeutralSettingsLookForNoFaceAndChangeNothing)
{
	const Picture picture = painted(level_recipe(1));
	set_all(1);
	set_all(0);
	EXPECT_EQ(after_frames(picture, 3).bytes, picture.bytes);
	EXPECT_EQ(engine->faces, nullptr);
}

TEST_F(Reshape, AFrameWithoutAFaceIsNotChanged)
{
	const Picture picture = noise_picture(640, 360, 3);
	kl_set_smoothing(engine.get(), 0.5F);
	kl_set_sharpening(engine.get(), 0.5F);
	const Picture retouched = after_frames(picture, 1);
	set_all(1);
	EXPECT_EQ(after_frames(picture, 3).bytes, retouched.bytes);
	kl_set_smoothing(engine.get(), 0);
	kl_set_sharpening(engine.get(), 0);
	EXPECT_EQ(after_frames(picture, 3).bytes, picture.bytes);
}

// Whatever else is done to the frame, beside the face it is what it is without the reshape.
TEST_F(Reshape, PixelsAwayFromTheFaceAreNotTouched)
{
	const Picture picture = painted(level_recipe(2));
	// Faces are followed alike with an amount too small to move a pixel: smoothing goes by their size.
	const auto after_reshape_by = [&](float amount, int retouch) {
		engine = create();
		if (retouch == 1)
			kl_set_sharpening(engine.get(), 0.7F);
		if (retouch == 2) {
			kl_set_smoothing(engine.get(), 0.8F);
			kl_set_filter(engine.get(), KALVIO_DATA_DIR "/filters/vivid/vivid.kld");
		}
		set_all(amount);
		return after_frames(picture, 8);
	};
	for (const int retouch : {0, 1, 2}) {
		const Picture plain = after_reshape_by(1e-6F, retouch);
		const Picture output = after_reshape_by(1, retouch);
		const FacePoints &points = engine->faces->faces()[0].points;
		const float band = 0.25F * engine->faces->faces()[0].size + 8;
		float left = 1e9F;
		float right = 0;
		float top = 1e9F;
		float bottom = 0;
		for (const int point : regions::oval) {
			left = std::min(left, points[size_t(point)].x - band);
			right = std::max(right, points[size_t(point)].x + band);
			top = std::min(top, points[size_t(point)].y - band);
			bottom = std::max(bottom, points[size_t(point)].y + band);
		}
		int changed = 0;
		for (int y = 0; y < picture.height; ++y) {
			for (int x = 0; x < picture.width; ++x) {
				const bool same =
					std::equal(plain.pixel(x, y), plain.pixel(x, y) + 4, output.pixel(x, y));
				const bool beside =
					float(x) < left || float(x) > right || float(y) < top || float(y) > bottom;
				ASSERT_TRUE(same || !beside) << x << " " << y;
				changed += same ? 0 : 1;
			}
		}
		EXPECT_GT(changed, 10'000);
	}
}

TEST_F(Reshape, TheReplacedBackgroundStaysStraightBehindASlimmerFace)
{
	// Every pixel of the background tells its place.
	Image background;
	background.resize(960, 540);
	for (int y = 0; y < background.height; ++y) {
		for (int x = 0; x < background.width; ++x) {
			const std::array<uint8_t, 4> color = {uint8_t(x % 16 * 8), uint8_t(y % 16 * 8), 250, 255};
			std::copy(color.begin(), color.end(), background.pixel(x, y));
		}
	}
	write_image(scratch.place("grid.png"), background, 100);
	ASSERT_EQ(kl_set_virtual_background(engine.get(), scratch.path("grid.png").c_str()), KL_OK);
	const Picture picture = painted(level_recipe(1));
	const Picture plain = after_frames(picture, 10);
	kl_set_reshape(engine.get(), KL_RESHAPE_FACE_NARROW, 1);
	kl_set_reshape(engine.get(), KL_RESHAPE_FACE_SMALL, 1);
	const Picture output = after_frames(picture, 10);
	int uncovered = 0;
	for (int y = 0; y < picture.height; ++y) {
		for (int x = 0; x < picture.width; ++x) {
			const uint8_t *pixel = background.pixel(x, y);
			const auto shows_background = [&](const Picture &seen) {
				return std::equal(pixel, pixel + 4, seen.pixel(x, y));
			};
			if (shows_background(output) && !shows_background(plain))
				++uncovered;
			// The blue of the background moves nowhere: where it is pure, it is the background's own pixel.
			if (output.pixel(x, y)[2] == 250 && output.pixel(x, y)[0] % 8 == 0 &&
			    output.pixel(x, y)[1] % 8 == 0 && output.pixel(x, y)[0] < 128 &&
			    output.pixel(x, y)[1] < 128) {
				ASSERT_TRUE(shows_background(output)) << x << " " << y;
			}
		}
	}
	EXPECT_GT(uncovered, 50);
}

TEST_F(Reshape, TheSameBytesOnEveryInstructionSetAndWithAnyNumberOfThreads)
{
	const Picture picture = painted(level_recipe(3));
	const auto result = [&](int threads, int64_t targets) {
		use_targets(0); // an engine is made where there is at least SSE4
		engine = create();
		engine->pool = std::make_shared<Pool>(threads);
		set_all(0.6F);
		kl_set_sharpening(engine.get(), 0.5F);
		kl_set_smoothing(engine.get(), 0.5F);
		kl_set_virtual_background_blur(engine.get(), 0.5F);
		use_targets(targets);
		return after_frames(picture, 4).bytes;
	};
	const std::vector<uint8_t> expected = result(1, 0);
	EXPECT_EQ(result(2, 0), expected);
	const int64_t supported = hwy::SupportedTargets();
	for (int64_t target = 1; target <= HWY_SSE4; target <<= 1) {
		if ((supported & target) == 0)
			continue;
		EXPECT_EQ(result(1, target), expected) << hwy::TargetName(target);
	}
}

TEST_F(Reshape, FourFacesAreReshapedAtOnce)
{
	Picture four(960, 540);
	for (uint32_t index = 0; index < 4; ++index) {
		FaceRecipe recipe = level_recipe(index + 1);
		recipe.width = 480;
		recipe.height = 270;
		recipe.center = {240, 130};
		recipe.eye_distance = 45;
		const Picture one = painted(recipe);
		for (int y = 0; y < one.height; ++y)
			std::copy_n(one.pixel(0, y), 480 * 4,
				    four.pixel(index % 2 == 0 ? 0 : 480, y + (index < 2 ? 0 : 270)));
	}
	kl_set_reshape(engine.get(), KL_RESHAPE_MOUTH_SMILE, 1);
	const Picture output = after_frames(four, 40);
	ASSERT_EQ(engine->faces->faces().size(), 4U);
	for (const TrackedFace &face : engine->faces->faces()) {
		const Point3 &corner = face.points[61];
		EXPECT_FALSE(std::equal(four.pixel(int(corner.x), int(corner.y)),
					four.pixel(int(corner.x) + 4, int(corner.y)),
					output.pixel(int(corner.x), int(corner.y))));
	}
}

TEST_F(Reshape, EverySizeAndAFaceAtTheEdgeWork)
{
	set_all(1);
	for (const auto &[width, height] :
	     {std::array{1, 1}, std::array{3, 2}, std::array{64, 36}, std::array{333, 217}}) {
		const Picture input = noise_picture(width, height, 3, 12);
		Picture output(width, height, 12);
		EXPECT_EQ(process(input, output), KL_OK);
		EXPECT_EQ(output.bytes, input.bytes);
	}
	for (const Point center : {Point{90, 260}, Point{850, 420}, Point{480, 60}}) {
		engine->faces = nullptr;
		FaceRecipe recipe = level_recipe(4);
		recipe.center = center;
		const Picture picture = painted(recipe);
		const Picture output = after_frames(picture, 12);
		ASSERT_FALSE(engine->faces->faces().empty()) << center.x << " " << center.y;
		EXPECT_NE(output.bytes, picture.bytes);
	}
}

// A clip of a head that turns and talks fast. An effect's push on its feature never changes by more than a hundredth of
// the size from frame to frame.
TEST_F(Reshape, EffectsStayOnTheirFeaturesWhileAHeadTurnsAndTalks)
{
	kl_set_reshape(engine.get(), KL_RESHAPE_FACE_THIN, 0.7F);
	kl_set_reshape(engine.get(), KL_RESHAPE_EYE_SIZE, 0.7F);
	kl_set_reshape(engine.get(), KL_RESHAPE_MOUTH_SMILE, 0.7F);
	FaceRecipe recipe = level_recipe(2);
	recipe.width = 640;
	recipe.height = 360;
	recipe.center = {320, 180};
	recipe.eye_distance = 60;
	constexpr std::array followed = {33, 133, 263, 362, 61, 291, 172, 397, 152, 1};
	std::array<std::array<Point, std::size(followed)>, 2> last = {};
	std::array<std::vector<float>, 2> changes; // of the push on the points as they are seen, and as they are
	for (int frame = 0; frame < 40; ++frame) {
		const float phase = 0.21F * float(frame); // a second and a third of 30 frames per second
		recipe.yaw = 20 * std::sin(phase / 2);
		recipe.pitch = 6 * std::sin(phase / 3);
		recipe.mouth_open = 0.6F + 0.6F * std::sin(2 * phase);
		Image image;
		const FacePoints truth = painter->paint(recipe, uint32_t(frame), image);
		Picture picture(image.width, image.height);
		std::copy(image.pixels.begin(), image.pixels.end(), picture.bytes.begin());
		pass(frame_us);
		processed(picture);
		ASSERT_EQ(engine->faces->faces().size(), 1U);
		const TrackedFace &face = engine->faces->faces()[0];
		for (size_t index = 0; index < std::size(followed); ++index) {
			for (const size_t kind : {size_t{0}, size_t{1}}) {
				const FacePoints &points = kind == 0 ? face.points : truth;
				const Point shift = shown_offset(points[size_t(followed[index])].flat());
				constexpr int faded_in = 12;
				if (frame > faded_in)
					changes[kind].push_back(distance(shift, last[kind][index]) / face.size);
				last[kind][index] = shift;
			}
		}
	}
	const float most_seen = *std::ranges::max_element(changes[0]);
	const float most_of_true = *std::ranges::max_element(changes[1]);
	RecordProperty("most_seen", std::to_string(100 * most_seen));
	RecordProperty("most_of_true", std::to_string(100 * most_of_true));
	EXPECT_LE(most_seen, 0.01F);
	EXPECT_LE(most_of_true, 0.01F);
	EXPECT_GT(most_of_true, 0);
}

TEST_F(Reshape, AFaceFadesInAndOut)
{
	kl_set_reshape(engine.get(), KL_RESHAPE_FACE_NARROW, 1);
	const Picture picture = painted(level_recipe(1));
	const Picture nobody = noise_picture(960, 540, 9);
	float last = 0;
	float largest = 0;
	for (int frame = 0; frame < 50; ++frame) {
		pass(frame_us);
		processed(frame < 25 ? picture : nobody);
		float push = 0;
		for (const ReshapeField::Region &region : engine->memory.reshape.regions()) {
			for (const kernels::WarpNode &node : region.nodes)
				push = std::max(push, std::abs(float(node.x)) / 65536);
		}
		if (frame > 0)
			largest = std::max(largest, std::abs(push - last));
		last = push;
	}
	EXPECT_EQ(last, 0);
	EXPECT_LE(largest, 2.2F); // of 6 to 8 pixels in all
	EXPECT_GT(largest, 0);
}

} // namespace
} // namespace kalvio::engine::testing
