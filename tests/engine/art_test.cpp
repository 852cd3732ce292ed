// SPDX-License-Identifier: GPL-2.0-or-later
#include "art.h"
#include "effect_lists.h"
#include "stages/sticker_bundle.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>

namespace kalvio::engine::testing {
namespace {

using nlohmann::json;

Image drawn(const std::string &shapes, const std::string &more = "")
{
	return draw_art(json::parse(R"({"width": 64, "height": 64, "dither": false)" + more + R"(, "shapes": [)" +
				    shapes + "]}"));
}

int alpha_at(const Image &image, int x, int y)
{
	return image.pixel(x, y)[3];
}

// Whether both are white, with alphas that differ by less than what rounding can do.
void expect_same(const Image &left, const Image &right)
{
	ASSERT_EQ(left.pixels.size(), right.pixels.size());
	for (size_t index = 3; index < left.pixels.size(); index += 4)
		ASSERT_NEAR(left.pixels[index], right.pixels[index], 1) << "pixel " << index / 4;
}

TEST(Art, AClipKeepsWhatLiesInIt)
{
	const Image image = drawn(R"({"rect": [0, 0, 64, 64], "fill": "#ffffff", "clip":
		{"rect": [16, 8, 32, 40], "fill": "#ffffff80"}})");
	for (int y = 0; y < 64; ++y) {
		for (int x = 0; x < 64; ++x) {
			const bool inside = x >= 16 && x < 48 && y >= 8 && y < 48;
			ASSERT_EQ(alpha_at(image, x, y), inside ? 128 : 0) << x << ", " << y;
		}
	}
}

TEST(Art, AClipOfAMovedGroupMovesWithIt)
{
	const Image image = drawn(R"({"move": [10, 0], "clip": {"rect": [0, 0, 20, 64], "fill": "#ffffff"},
		"shapes": [{"rect": [0, 0, 54, 64], "fill": "#ffffff"}]})");
	EXPECT_EQ(alpha_at(image, 9, 32), 0);
	EXPECT_EQ(alpha_at(image, 10, 32), 255);
	EXPECT_EQ(alpha_at(image, 29, 32), 255);
	EXPECT_EQ(alpha_at(image, 30, 32), 0);
}

TEST(Art, NoiseStaysWithinItsRange)
{
	const Image image = drawn(R"({"rect": [0, 0, 64, 64], "fill": "#ffffff", "noise":
		{"size": 8, "range": [0.25, 0.75]}})");
	int least = 255;
	int most = 0;
	for (int y = 0; y < 64; ++y) {
		for (int x = 0; x < 64; ++x) {
			least = std::min(least, alpha_at(image, x, y));
			most = std::max(most, alpha_at(image, x, y));
		}
	}
	EXPECT_GE(least, 63);
	EXPECT_LE(most, 192);
	EXPECT_LT(least, 105);
	EXPECT_GT(most, 150);
}

// What neighbors differ by, along and down.
struct Roughness {
	int along = 0;
	int down = 0;
};

Roughness roughness_of(const Image &image)
{
	Roughness sum;
	for (int y = 0; y + 1 < image.height; ++y) {
		for (int x = 0; x + 1 < image.width; ++x) {
			sum.along += std::abs(alpha_at(image, x, y) - alpha_at(image, x + 1, y));
			sum.down += std::abs(alpha_at(image, x, y) - alpha_at(image, x, y + 1));
		}
	}
	return sum;
}

TEST(Art, NoiseIsStretchedByItsSize)
{
	const Roughness wide = roughness_of(drawn(R"({"rect": [0, 0, 64, 64], "fill": "#ffffff", "noise":
		{"size": [40, 5], "range": [0, 1]}})"));
	EXPECT_GT(wide.down, 3 * wide.along);
	const Roughness turned = roughness_of(drawn(R"({"rect": [0, 0, 64, 64], "fill": "#ffffff", "rotate": 90,
		"about": [32, 32], "noise": {"size": [40, 5], "range": [0, 1]}})"));
	EXPECT_GT(turned.along, 3 * turned.down);
}

TEST(Art, AnotherSeedIsAnotherNoise)
{
	const auto with_seed = [](const char *seed) {
		return drawn(std::string(R"({"rect": [0, 0, 64, 64], "fill": "#ffffff", "noise":
			{"size": 8, "range": [0, 1], "seed": )") +
			     seed + "}}");
	};
	EXPECT_EQ(with_seed("3").pixels, with_seed("3").pixels);
	EXPECT_NE(with_seed("3").pixels, with_seed("4").pixels);
}

TEST(Art, HairsLieTowardsTheirWay)
{
	const Image image = drawn(R"({"rect": [28, 8, 8, 48], "fill": "#ffffff", "hairs":
		{"count": 200, "length": [12, 16], "width": 2, "ways": [[32, 32, 0]]}})");
	int left = 0;
	int right = 0;
	for (int y = 0; y < 64; ++y) {
		for (int x = 0; x < 64; ++x) {
			left += x < 28 ? alpha_at(image, x, y) : 0;
			right += x >= 36 ? alpha_at(image, x, y) : 0;
			ASSERT_TRUE(alpha_at(image, x, y) == 0 || (x < 36 + 17 && y >= 6 && y < 58)) << x << ", " << y;
		}
	}
	EXPECT_EQ(left, 0);
	EXPECT_GT(right, 255 * 100);
}

TEST(Art, HairsFollowTheNearestWay)
{
	const Image image = drawn(R"({"rect": [0, 30, 64, 4], "fill": "#ffffff", "hairs":
		{"count": 300, "length": [20, 20], "width": 2, "ways": [[8, 32, -90], [56, 32, 90]]}})");
	const auto sum = [&](int left, int top) {
		int result = 0;
		for (int y = top; y < top + 24; ++y) {
			for (int x = left; x < left + 16; ++x)
				result += alpha_at(image, x, y);
		}
		return result;
	};
	EXPECT_GT(sum(0, 4), 20 * sum(0, 38));
	EXPECT_GT(sum(48, 38), 20 * sum(48, 4));
}

TEST(Art, HairsTaperAndVary)
{
	const auto shades = [](const char *vary) {
		const Image image = drawn(std::string(R"({"rect": [4, 4, 2, 56], "fill": "#808080", "hairs":
			{"count": 40, "length": [50, 50], "width": 4, "ways": [[0, 0, 0]], "vary": )") +
					  vary + "}}");
		int root = 0;
		int tip = 0;
		std::set<int> grays;
		for (int y = 0; y < 64; ++y) {
			root += alpha_at(image, 8, y);
			tip += alpha_at(image, 50, y);
			if (alpha_at(image, 8, y) == 255)
				grays.insert(image.pixel(8, y)[0]);
		}
		EXPECT_GT(root, tip * 3 / 2);
		EXPECT_GT(tip, 0);
		return grays;
	};
	EXPECT_EQ(shades("0"), std::set<int>{128});
	const std::set<int> varied = shades("0.3");
	EXPECT_GT(varied.size(), 6U);
	EXPECT_GE(*varied.begin(), 89);
	EXPECT_LE(*varied.rbegin(), 167);
}

TEST(Art, HairsNeedAnArea)
{
	EXPECT_THROW(drawn(R"({"path": "M 0 0 L 60 60", "fill": "#ffffff", "hairs":
		{"count": 1, "length": [5, 5], "width": 1, "ways": [[0, 0, 0]]}})"),
		     std::runtime_error);
}

TEST(Art, HairsAreNotFewerThanNone)
{
	EXPECT_THROW(drawn(R"({"rect": [0, 0, 64, 64], "fill": "#ffffff", "hairs":
		{"count": -1, "length": [5, 5], "width": 1, "ways": [[0, 0, 0]]}})"),
		     std::runtime_error);
	EXPECT_EQ(drawn(R"({"rect": [0, 0, 64, 64], "fill": "#ffffff", "hairs":
		{"count": 0, "length": [5, 5], "width": 1, "ways": [[0, 0, 0]]}})")
			  .pixels,
		  drawn("").pixels);
}

TEST(Art, NoiseNeedsASize)
{
	for (const char *size : {"0", "-8", "[8, 0]", "[-8, 8]"}) {
		EXPECT_THROW(drawn(std::string(R"({"rect": [0, 0, 64, 64], "fill": "#ffffff", "noise":
			{"range": [0, 1], "size": )") +
				   size + "}}"),
			     std::runtime_error)
			<< size;
	}
}

TEST(Art, ARepetitionTurnsAboutItsPoint)
{
	const Image repeated = drawn(R"({"rect": [30, 4, 4, 20], "fill": "#ffffff",
		"repeat": {"count": 4, "turn": 90, "about": [32, 32]}})");
	const Image one_by_one = drawn(R"({"rect": [30, 4, 4, 20], "fill": "#ffffff"},
		{"rect": [40, 30, 20, 4], "fill": "#ffffff"}, {"rect": [30, 40, 4, 20], "fill": "#ffffff"},
		{"rect": [4, 30, 20, 4], "fill": "#ffffff"})");
	expect_same(repeated, one_by_one);
}

TEST(Art, ThePictureIsAGroup)
{
	const std::string bar = R"({"rect": [24, 8, 8, 48], "fill": "#ffffff"})";
	expect_same(drawn(bar, R"(, "blur": 3, "move": [4, 0])"),
		    drawn(R"({"blur": 3, "move": [4, 0], "shapes": [)" + bar + "]}"));
	EXPECT_NE(drawn(bar, R"(, "blur": 3)").pixels, drawn(bar).pixels);
}

TEST(Art, ABlurDoesNotDependOnWhatElseThereIs)
{
	const std::string bar = R"({"rect": [30, 28, 4, 8], "fill": "#ffffff"})";
	const Image alone = drawn(R"({"blur": 4, "shapes": [)" + bar + "]}");
	const Image framed = drawn(
		R"({"blur": 4, "shapes": [{"rect": [0, 0, 64, 64], "line": 1, "fill": "#ffffff01"}, )" + bar + "]}");
	expect_same(alone, framed);
	EXPECT_GT(alpha_at(alone, 24, 32), 8);
}

TEST(Art, WhatIsNotSeenHasNoColor)
{
	const Image image = drawn(R"({"rect": [20, 20, 24, 24], "fill": "#ff8040", "blur": 3})");
	for (size_t index = 0; index < image.pixels.size(); index += 4) {
		const uint8_t *pixel = image.pixels.data() + index;
		ASSERT_EQ(pixel[3] == 0, pixel[0] == 0) << "pixel " << index / 4;
	}
}

TEST(Art, ColorsHaveNames)
{
	const Image image = drawn(R"({"rect": [0, 0, 32, 64], "fill": "sky"}, {"rect": [32, 0, 32, 64], "fill":
		{"linear": [0, 0, 1, 0], "stops": [[0, "sea"], [1, "sea"]]}})",
				  R"(, "colors": {"sky": "#102030", "sea": "#405060"})");
	EXPECT_EQ(image.pixel(8, 8)[2], 0x30);
	EXPECT_EQ(image.pixel(48, 8)[2], 0x60);
	EXPECT_THROW(drawn(R"({"rect": [0, 0, 32, 64], "fill": "sky"})"), std::runtime_error);
}

TEST(Art, APictureIsLikeAnother)
{
	const json pictures = json::parse(R"({
		"a": {"width": 8, "height": 4, "colors": {"x": "#ff0000", "y": "#00ff00"}, "shapes": []},
		"b": {"like": "a", "height": 6, "colors": {"y": "#0000ff"}}})");
	EXPECT_EQ(art_of(pictures, "a"), pictures["a"]);
	const json b = art_of(pictures, "b");
	EXPECT_EQ(b["width"], 8);
	EXPECT_EQ(b["height"], 6);
	EXPECT_EQ(b["colors"], json::parse(R"({"x": "#ff0000", "y": "#0000ff"})"));
	EXPECT_TRUE(b["shapes"].is_array());
}

TEST(Art, APictureIsNotLikeOneThatIsLikeAnother)
{
	const json pictures = json::parse(R"({
		"a": {"width": 8, "height": 4, "shapes": []},
		"b": {"like": "a", "height": 6},
		"c": {"like": "b", "height": 8},
		"d": {"like": "d"}})");
	EXPECT_THROW(art_of(pictures, "c"), std::runtime_error);
	EXPECT_THROW(art_of(pictures, "d"), std::runtime_error);
}

// A shadow or a blurred drawing that its picture cuts off shows as a straight edge on the frame.
TEST(Art, NoShippedStickerIsCutOff)
{
	int sprites = 0;
	for (const effects::Sticker &row : effects::stickers) {
		if (std::string(row.kind) == "3d")
			continue;
		Sticker sticker;
		const std::string path = std::string(KALVIO_DATA_DIR) + "/stickers/" + row.kind + "/" + row.id + ".kld";
		ASSERT_TRUE(load_sticker(path.c_str(), sticker));
		for (const Sprite &sprite : sticker.sprites) {
			++sprites;
			const Image &image = sprite.level(1);
			int highest = 0;
			for (int x = 0; x < image.width; ++x)
				highest = std::max(
					{highest, alpha_at(image, x, 0), alpha_at(image, x, image.height - 1)});
			for (int y = 0; y < image.height; ++y)
				highest =
					std::max({highest, alpha_at(image, 0, y), alpha_at(image, image.width - 1, y)});
			EXPECT_LE(highest, 12) << row.id;
		}
	}
	EXPECT_GT(sprites, 20);
}

} // namespace
} // namespace kalvio::engine::testing
