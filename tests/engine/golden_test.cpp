// SPDX-License-Identifier: GPL-2.0-or-later
#include "effect_lists.h"
#include "engine.h"
#include "image_reader.h"
#include "image_writer.h"
#include "skin_chart.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <ostream>

// What every effect, style and tone does, beside pictures of what it did when somebody looked at it and found it good.
// After a change that is meant, look at scripts/gallery and renew the pictures:
//   KALVIO_RENEW_GOLDEN=1 build/linux/tests/engine/engine_tests --gtest_filter='*Golden*'
namespace kalvio::engine::testing {
namespace {

// What is compared: the means of squares of pixels over the whole picture, for color and place; or some pixels, for
// texture and edges.
enum class View { Means, Detail };

enum class Scene { Portrait, GreenScreen, BlueScreen, RedScreen };

struct GoldenCase {
	std::string name;
	Scene scene;
	View view;
	std::function<void(kl_engine *)> set;
	double seconds = 0; // from the first frame to the one that is compared
};

void PrintTo(const GoldenCase &item, std::ostream *out)
{
	*out << item.name;
}

std::string data_file(const std::string &name)
{
	return KALVIO_DATA_DIR "/" + name;
}

void set_key(kl_engine *engine, int color)
{
	kl_set_chroma_key(engine, color);
	kl_set_chroma_key_similarity(engine, color == 2 ? 0.24F : 0.4F);
	kl_set_chroma_key_smoothness(engine, 0.08F);
	kl_set_chroma_key_desaturation(engine, 1);
}

std::vector<GoldenCase> golden_cases()
{
	std::vector<GoldenCase> cases;
	for (const char *id : effects::filters) {
		const std::string path = data_file(std::string("filters/") + id + "/" + id + ".kld");
		cases.push_back({std::string("filter_") + id, Scene::Portrait, View::Means, [path](kl_engine *engine) {
					 kl_set_filter(engine, path.c_str());
				 }});
	}
	for (int style = 0; style < 3; ++style) {
		constexpr const char *names[] = {"natural", "texture", "smooth"};
		cases.push_back({std::string("smoothing_") + names[style], Scene::Portrait, View::Detail,
				 [style](kl_engine *engine) {
					 kl_set_smoothing(engine, 1);
					 kl_set_smoothing_style(engine, style);
				 }});
	}
	for (int style = 0; style < 5; ++style) {
		constexpr const char *names[] = {"cold_white", "pink_white", "warm_white", "wheat", "tan"};
		cases.push_back({std::string("whitening_") + names[style], Scene::Portrait, View::Means,
				 [style](kl_engine *engine) {
					 kl_set_whitening(engine, 1);
					 kl_set_whitening_style(engine, style);
				 }});
	}
	cases.push_back({"rosiness", Scene::Portrait, View::Means, [](kl_engine *engine) {
				 kl_set_rosiness(engine, 1);
			 }});
	cases.push_back({"sharpening", Scene::Portrait, View::Detail, [](kl_engine *engine) {
				 kl_set_sharpening(engine, 1);
			 }});
	cases.push_back({"skin_only", Scene::Portrait, View::Means, [](kl_engine *engine) {
				 kl_set_beauty_skin_only(engine, true);
				 kl_set_whitening(engine, 1);
				 kl_set_rosiness(engine, 0.5F);
			 }});
	for (int color = 0; color < 3; ++color) {
		constexpr const char *names[] = {"green", "blue", "red"};
		const auto scene = static_cast<Scene>(1 + color);
		cases.push_back({std::string("key_") + names[color], scene, View::Detail, [color](kl_engine *engine) {
					 set_key(engine, color);
				 }});
	}
	for (const char *file : {"backgrounds/office.jpg", "backgrounds/living.jpg", "backgrounds/bookshelf.jpg",
				 "backgrounds/cafe.jpg", "backgrounds/outdoor.jpg", "backgrounds/city.jpg",
				 "backgrounds/studio.jpg", "backgrounds/abstract.png", "background.jpg"}) {
		const std::string path = data_file(file);
		cases.push_back({"background_" + std::filesystem::path(file).stem().string(), Scene::GreenScreen,
				 View::Means, [path](kl_engine *engine) {
					 set_key(engine, 0);
					 kl_set_virtual_background(engine, path.c_str());
				 }});
	}
	for (const char *name : {"butterfly", "petals"}) {
		const std::string path = data_file(std::string("stickers/screen/") + name + ".kld");
		cases.push_back({std::string("sticker_") + name, Scene::Portrait, View::Means,
				 [path](kl_engine *engine) { kl_set_sticker(engine, path.c_str()); }, 19.0 / 30});
	}
	return cases;
}

Picture half_size(const Image &image)
{
	Picture half(image.width / 2, image.height / 2);
	for (int y = 0; y < half.height; ++y) {
		for (int x = 0; x < half.width; ++x) {
			for (int channel = 0; channel < 4; ++channel) {
				const int sum = image.pixel(2 * x, 2 * y)[channel] +
						image.pixel(2 * x + 1, 2 * y)[channel] +
						image.pixel(2 * x, 2 * y + 1)[channel] +
						image.pixel(2 * x + 1, 2 * y + 1)[channel];
				half.pixel(x, y)[channel] = static_cast<uint8_t>((sum + 2) / 4);
			}
		}
	}
	return half;
}

Picture picture_of(Scene scene)
{
	if (scene != Scene::Portrait)
		return make_skin_scene(3, 1, screen_backgrounds + static_cast<int>(scene) - 1).picture;
	Image portrait;
	EXPECT_TRUE(load_image(KALVIO_PORTRAIT, portrait));
	return half_size(portrait);
}

// Over gray, so that alpha counts as what it shows.
int shown(const uint8_t *pixel, int channel)
{
	return (pixel[channel] * pixel[3] + 128 * (255 - pixel[3]) + 127) / 255;
}

Image view_of(const Picture &picture, View view)
{
	Image image;
	const int square = view == View::Means ? 16 : 1;
	image.width = view == View::Means ? picture.width / square : 72;
	image.height = view == View::Means ? picture.height / square : 72;
	image.pixels.assign(size_t(image.width) * size_t(image.height) * 4, 255);
	// The pixels lie where skin, an eye and hair meet.
	const int left = view == View::Means ? 0 : picture.width / 2 - 64;
	const int top = view == View::Means ? 0 : picture.height / 2 - 54;
	for (int y = 0; y < image.height; ++y) {
		for (int x = 0; x < image.width; ++x) {
			for (int channel = 0; channel < 3; ++channel) {
				int sum = 0;
				for (int part = 0; part < square * square; ++part)
					sum += shown(picture.pixel(left + x * square + part % square,
								   top + y * square + part / square),
						     channel);
				image.pixel(x, y)[channel] = static_cast<uint8_t>(sum / (square * square));
			}
		}
	}
	return image;
}

struct Difference {
	double mean;
	int largest;
};

Difference difference_of(const Image &left, const Image &right)
{
	Difference difference = {0, 0};
	for (size_t index = 0; index < left.pixels.size(); ++index) {
		const int step = std::abs(left.pixels[index] - right.pixels[index]);
		difference.mean += step;
		difference.largest = std::max(difference.largest, step);
	}
	difference.mean /= static_cast<double>(left.pixels.size()) * 3 / 4;
	return difference;
}

class Golden : public EngineTest, public ::testing::WithParamInterface<GoldenCase> {};

TEST_P(Golden, LooksAsItDid)
{
	const GoldenCase &item = GetParam();
	if (std::string(item.name) == "skin_only" && !engine->nets->is_complete())
		GTEST_SKIP() << "skin is told by faces, and the bundle has no nets";
	const Picture input = picture_of(item.scene);
	item.set(engine.get());
	Picture output = processed(input);
	if (item.seconds > 0) {
		pass(std::llround(item.seconds * 1e6));
		output = processed(input);
	}
	const Image seen = view_of(output, item.view);

	const std::string path = KALVIO_GOLDEN_DIR "/" + item.name + ".png";
	if (std::getenv("KALVIO_RENEW_GOLDEN") != nullptr) {
		write_image(path, seen, 0);
		GTEST_SKIP() << "renewed " << path;
	}
	Image golden;
	ASSERT_TRUE(load_image(path.c_str(), golden)) << path;
	ASSERT_EQ(golden.width, seen.width);
	ASSERT_EQ(golden.height, seen.height);
	const Difference found = difference_of(seen, golden);
	const bool means = item.view == View::Means;
	const double allowed_mean = means ? 0.8 : 0.6;
	const int allowed_largest = means ? 6 : 16;
	EXPECT_LT(found.mean, allowed_mean);
	EXPECT_LE(found.largest, allowed_largest);
	// A picture that an effect without effect would pass, too, is worth nothing.
	const Difference untouched = difference_of(view_of(input, item.view), golden);
	EXPECT_TRUE(untouched.mean > 1.5 * allowed_mean || untouched.largest > 2 * allowed_largest) << untouched.mean;
}

INSTANTIATE_TEST_SUITE_P(Effects, Golden, ::testing::ValuesIn(golden_cases()),
			 [](const ::testing::TestParamInfo<GoldenCase> &item) { return item.param.name; });

} // namespace
} // namespace kalvio::engine::testing
