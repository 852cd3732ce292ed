// SPDX-License-Identifier: GPL-2.0-or-later
#include "key_peers.h"
#include "key_scenes.h"
#include "kit/libobs_fixture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string>

// Our key beside the host's own chroma key filter, on the same picture in the same host, and beside two keys of ffmpeg:
// a made person before a screen, of whom each pixel's true alpha and color are known.
namespace kalvio::test {

namespace {

// What the error of composites may be in parts of the host's, each at its best settings: a quarter less in the mean,
// and nowhere more.
constexpr std::array<double, 9> bars = {0.63, 0.61, 0.76, 0.89, 0.87, 0.91, 0.53, 0.80, 0.75};

struct KeySettings {
	double similarity;
	double smoothness;
	double spill;
};

// The host's filter leaves colors multiplied by their alpha.
Picture straight(Picture picture)
{
	for (size_t byte = 0; byte < picture.rgba.size(); byte += 4) {
		const int alpha = std::max<int>(picture.rgba[byte + 3], 1);
		for (size_t channel = 0; channel < 3; ++channel) {
			uint8_t &value = picture.rgba[byte + channel];
			value = static_cast<uint8_t>(std::min((value * 255 + alpha / 2) / alpha, 255));
		}
	}
	return picture;
}

class KeyQualityTest : public LibobsTest, public ::testing::WithParamInterface<size_t> {
protected:
	void SetUp() override
	{
		LibobsTest::SetUp();
		LibobsSession::load_host_module("obs-filters");
		scene = make_key_scene(recipe());
	}

	static const KeySceneRecipe &recipe() { return key_scene_recipes()[GetParam()]; }

	Picture filtered(const char *filter_id, obs_data_t *settings)
	{
		OBSSourceAutoRelease source = create_picture_source("camera", scene.camera);
		OBSSourceAutoRelease filter = obs_source_create_private(filter_id, "key", settings);
		EXPECT_NE(filter, nullptr);
		obs_source_filter_add(source, filter);
		wait_for_tick();
		Picture result = render(source);
		obs_source_filter_remove(source, filter);
		release_and_wait(filter);
		release_and_wait(source);
		return result;
	}

	double of_host(const KeySettings &key)
	{
		OBSDataAutoRelease settings = obs_data_create();
		obs_data_set_string(settings, "key_color_type", recipe().color == 0 ? "green" : "blue");
		obs_data_set_int(settings, "similarity", std::lround(1000 * key.similarity));
		obs_data_set_int(settings, "smoothness", std::lround(1000 * key.smoothness));
		obs_data_set_int(settings, "spill", std::lround(1000 * key.spill));
		return judge_key(straight(filtered("chroma_key_filter_v2", settings)), scene.person).composite;
	}

	double of_ours(const KeySettings &key)
	{
		OBSDataAutoRelease settings = obs_data_create();
		obs_data_set_int(settings, "chroma", recipe().color + 1);
		obs_data_set_double(settings, "chroma_similarity", key.similarity);
		obs_data_set_double(settings, "chroma_smoothness", key.smoothness);
		obs_data_set_double(settings, "chroma_desaturation", key.spill);
		return judge_key(filtered("kalvio_filter", settings), scene.person).composite;
	}

	double best_of_host()
	{
		double best = 256;
		for (const double similarity : {0.25, 0.3, 0.35, 0.4, 0.45}) {
			for (const double smoothness : {0.08, 0.15, 0.25}) {
				for (const double spill : {0.1, 0.3})
					best = std::min(best, of_host({similarity, smoothness, spill}));
			}
		}
		return best;
	}

	double best_of_ours()
	{
		double best = 256;
		for (const double similarity : {0.0, 0.1}) {
			for (const double smoothness : {0.0, 0.33, 0.66}) {
				for (const double spill : {0.0, 0.5, 1.0})
					best = std::min(best, of_ours({similarity, smoothness, spill}));
			}
		}
		return best;
	}

	double best_of_peer(KeyPeer peer)
	{
		double best = 256;
		for (const double similarity : {0.05, 0.1, 0.15, 0.2, 0.25}) {
			for (const double blend : {0.0, 0.05, 0.1, 0.2, 0.3}) {
				for (const bool despill : {false, true}) {
					const Picture keyed =
						keyed_by_peer(peer, scene.camera, recipe().color, recipe().screen,
							      {similarity, blend, despill});
					best = std::min(best, judge_key(keyed, scene.person).composite);
				}
			}
		}
		return best;
	}

	KeyScene scene;
};

TEST_P(KeyQualityTest, IsBetterThanOthers_EachAtItsBestSettings)
{
	const double ours = best_of_ours();
	const double host = best_of_host();
	const double chroma_key = best_of_peer(KeyPeer::ChromaKey);
	const double color_key = best_of_peer(KeyPeer::ColorKey);
	std::printf("%-13s ours %5.1f  host %5.1f  chromakey %5.1f  colorkey %5.1f\n", recipe().name, ours, host,
		    chroma_key, color_key);
	EXPECT_LT(ours, bars[GetParam()] * host);
	EXPECT_LT(ours, chroma_key);
	EXPECT_LT(ours, color_key);
}

TEST_P(KeyQualityTest, IsBetterThanTheHostsKey_EachAtItsInitialSettings)
{
	const double ours = of_ours({0, 0, 0});
	const double host = of_host({0.4, 0.08, 0.1});
	std::printf("%-13s ours %5.1f  host %5.1f\n", recipe().name, ours, host);
	EXPECT_LT(ours, host);
}

INSTANTIATE_TEST_SUITE_P(Scenes, KeyQualityTest, ::testing::Range(size_t{0}, bars.size()),
			 [](const auto &item) { return std::string(key_scene_recipes()[item.param].name); });

TEST(KeyQualityBars, AreAQuarterBelowTheHostInTheMean_AndNowhereAbove)
{
	ASSERT_EQ(bars.size(), key_scene_recipes().size());
	double sum = 0;
	for (const double bar : bars) {
		EXPECT_LT(bar, 1);
		sum += bar;
	}
	EXPECT_LE(sum, 0.75 * static_cast<double>(bars.size()) + 1e-9);
}

} // namespace

} // namespace kalvio::test
