// SPDX-License-Identifier: GPL-2.0-or-later

// skin_chart [FOLDER [RIGHT DOWN SCALE]]: prints how well the engine tells skin, as Markdown: precision and recall in
// percent for each tone (by its typology angle) and light, on average over the backgrounds, and for each background
// over the tones and lights. With FOLDER, the scenes and what is found in them are written there as pictures.
#include "image_writer.h"
#include "skin_chart.h"

#include <algorithm>
#include <cstdio>

using namespace kalvio::engine;
using namespace kalvio::engine::testing;

namespace {

struct Sum {
	double precision = 0;
	double recall = 0;
	double worst_precision = 1;
	double worst_recall = 1;
	int count = 0;

	void add(const SkinScore &score)
	{
		precision += score.precision;
		recall += score.recall;
		worst_precision = std::min(worst_precision, score.precision);
		worst_recall = std::min(worst_recall, score.recall);
		++count;
	}
	void print() const
	{
		std::printf(" %3.0f / %3.0f (worst %2.0f / %2.0f) |", 100 * precision / count, 100 * recall / count,
			    100 * worst_precision, 100 * worst_recall);
	}
};

void write_scene(kl_engine *engine, const SkinScene &scene, const std::string &path)
{
	Image image;
	image.width = scene.picture.width;
	image.height = scene.picture.height;
	image.pixels.resize(scene.picture.bytes.size());
	kl_set_beauty_skin_only(engine, true);
	kl_process_rgba(engine, scene.picture.bytes.data(), image.width, image.height, scene.picture.stride,
			image.pixels.data(), KL_PIXEL_FORMAT_RGBA, 0);
	write_image(path + "-found.png", image, 0);
	image.pixels.assign(scene.picture.bytes.begin(), scene.picture.bytes.end());
	write_image(path + ".png", image, 0);
}

} // namespace

int main(int argc, char **argv)
{
	const kl_engine_config config = {0, 0, nullptr, KALVIO_DATA_DIR "/resource.kld", "skin_chart", 0};
	const EnginePointer engine(kl_engine_create(&config));
	std::array<std::array<Sum, skin_light_count>, skin_tone_count> tones;
	std::array<std::array<Sum, skin_light_count>, skin_background_count> backgrounds;
	Sum all;
	const double pose_arguments[3] = {argc > 2 ? std::atof(argv[2]) : 0, argc > 3 ? std::atof(argv[3]) : 0,
					  argc > 4 ? std::atof(argv[4]) : 1};
	const Pose pose = {pose_arguments[0], pose_arguments[1], pose_arguments[2]};
	for (int tone = 0; tone < skin_tone_count; ++tone) {
		for (int light = 0; light < skin_light_count; ++light) {
			for (int background = 0; background < skin_background_count; ++background) {
				const SkinScene scene = make_skin_scene(tone, light, background, pose);
				const SkinScore score = score_skin_map(engine.get(), scene);
				tones[size_t(tone)][size_t(light)].add(score);
				backgrounds[size_t(background)][size_t(light)].add(score);
				all.add(score);
				if (argc > 1 && argv[1][0] != 0)
					write_scene(engine.get(), scene,
						    std::string(argv[1]) + "/" + std::to_string(tone) + "-" +
							    skin_light_names[size_t(light)] + "-" +
							    skin_background_names[size_t(background)]);
			}
		}
	}
	const auto head = [](const char *what) {
		std::printf("| %s | warm | neutral | cool |\n|---|---|---|---|\n", what);
	};
	head("tone");
	for (int tone = 0; tone < skin_tone_count; ++tone) {
		std::printf("| %d |", typology_angle(tone));
		for (const Sum &sum : tones[size_t(tone)])
			sum.print();
		std::printf("\n");
	}
	std::printf("\n");
	head("background");
	for (size_t background = 0; background < skin_background_count; ++background) {
		std::printf("| %s |", skin_background_names[background]);
		for (const Sum &sum : backgrounds[background])
			sum.print();
		std::printf("\n");
	}
	std::printf("\nall:");
	all.print();
	std::printf("\n");
}
