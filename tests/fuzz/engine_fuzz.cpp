// SPDX-License-Identifier: GPL-2.0-or-later

// Calls of the engine's boundary in any order with any values: the input is a list of calls. Whatever is passed in, a
// status comes back, frames of valid arguments succeed, and nothing beyond a frame's buffers is touched.
#include "fuzz_engine.h"
#include "fuzz_input.h"
#include "image_writer.h"

#include <atomic>
#include <filesystem>

namespace {

using namespace kalvio;
using test::FuzzInput;
using test::require;

constexpr int most_calls = 60;

using NumberSetter = int32_t (*)(kl_engine *, float);
using IntegerSetter = int32_t (*)(kl_engine *, int32_t);
using ShapeSetter = int32_t (*)(kl_engine *, int32_t, float);
using Loader = int32_t (*)(kl_engine *, const char *);
using Clearer = int32_t (*)(kl_engine *);

constexpr NumberSetter number_setters[] = {
	kl_set_smoothing,
	kl_set_whitening,
	kl_set_rosiness,
	kl_set_sharpening,
	kl_set_lipstick,
	kl_set_blush,
	kl_set_contour,
	kl_set_eye_shadow,
	kl_set_eye_liner,
	kl_set_eyebrow,
	kl_set_eyelash,
	kl_set_pupil,
	kl_set_chroma_key_similarity,
	kl_set_chroma_key_smoothness,
	kl_set_chroma_key_desaturation,
	kl_set_filter_intensity,
	kl_set_virtual_background_blur,
};
constexpr IntegerSetter integer_setters[] = {
	kl_set_smoothing_style, kl_set_whitening_style, kl_set_lipstick_color,   kl_set_blush_style,
	kl_set_blush_color,     kl_set_contour_style,   kl_set_eye_shadow_style, kl_set_eye_shadow_color,
	kl_set_eye_liner_style, kl_set_eye_liner_color, kl_set_eyebrow_style,    kl_set_eyebrow_color,
	kl_set_eyelash_style,   kl_set_eyelash_color,   kl_set_pupil_color,      kl_set_chroma_key,
};
constexpr ShapeSetter shape_setters[] = {kl_set_reshape, kl_set_body_reshape};
constexpr Loader loaders[] = {kl_set_filter, kl_set_sticker, kl_set_3d_sticker, kl_set_virtual_background};
constexpr Clearer clearers[] = {kl_clear_filter, kl_clear_sticker, kl_clear_3d_sticker, kl_clear_chroma_key,
				kl_clear_virtual_background};

template <class List>
auto pick(FuzzInput &input, const List &list)
{
	return list[input.byte() % std::size(list)];
}

// A file for each loader, some that none takes, and none.
std::vector<std::string> make_files(const test::EngineFiles &files)
{
	const engine::Bytes sprite = engine::encode_png(test::small_image(8, 6));
	const engine::Bytes table(size_t{33} * 33 * 33 * 3 * 2, 0x5A);
	const std::string picture(sprite.begin(), sprite.end());
	const std::string jpeg = files.write("picture.jpg", "");
	engine::write_image(jpeg, test::small_image(40, 30));
	return {
		files.write_bundle("filter", R"({"kind": "filter", "format_version": 1, "name": "f", "size": 33})",
				   {{"table.rgb16", table}}),
		files.write_bundle("sticker",
				   R"({"kind": "sticker", "format_version": 1, "name": "s", "placement": "screen",
				       "motion": "fall", "sprites": ["a.png"], "count": 4, "size": [0.1, 0.2]})",
				   {{"a.png", sprite}}),
		files.write_bundle(
			"sticker3d",
			R"({"kind": "sticker3d", "format_version": 1, "name": "3", "quads": [{"sprite": "a.png",
				       "corners": [[-60, 20, 0], [60, 20, 0], [60, -20, 0], [-60, -20, 0]]}]})",
			{{"a.png", sprite}}),
		files.write("picture.png", picture),
		jpeg,
		files.write("cut.png", picture.substr(0, picture.size() / 2)),
		files.write("empty.kld", ""),
		files.write("text.kld", "no archive"),
		std::filesystem::path(jpeg).parent_path().string(),
		"/nowhere/at/all.kld",
		"",
	};
}

void process(FuzzInput &input, kl_engine *engine)
{
	const int32_t width = 1 + input.below(70);
	const int32_t height = 1 + input.below(50);
	const int32_t stride = width * 4 + input.below(9);
	const bool bad = input.below(8) == 7;
	const std::vector<uint8_t> frame(static_cast<size_t>(stride) * static_cast<size_t>(height), input.byte());
	std::vector<uint8_t> output(frame.size());
	if (!bad) {
		require(kl_process_rgba(engine, frame.data(), width, height, stride, output.data(),
					KL_PIXEL_FORMAT_RGBA, 0) == KL_OK);
		return;
	}
	// What is refused reads and writes no pixel: the sizes may be anything.
	switch (input.below(5)) {
	case 0:
		require(kl_process_rgba(engine, nullptr, width, height, stride, output.data(), KL_PIXEL_FORMAT_RGBA,
					0) != KL_OK);
		break;
	case 1:
		require(kl_process_rgba(engine, frame.data(), width, height, stride, nullptr, KL_PIXEL_FORMAT_RGBA,
					0) != KL_OK);
		break;
	case 2:
		require(kl_process_rgba(engine, frame.data(), width, height, width * 4 - 1, output.data(),
					KL_PIXEL_FORMAT_RGBA, 0) != KL_OK);
		break;
	case 3:
		require(kl_process_rgba(engine, frame.data(), KL_MAX_FRAME_SIZE + 1 + input.byte(), height, stride,
					output.data(), KL_PIXEL_FORMAT_RGBA, 0) != KL_OK);
		break;
	default:
		require(kl_process_rgba(engine, frame.data(), width, -input.byte(), stride, output.data(),
					KL_PIXEL_FORMAT_RGBA, 0) != KL_OK);
	}
}

std::atomic<int> events = 0;
int event_owner = 0;

void count_event(void *owner, int32_t, const char *message)
{
	require(owner == &event_owner);
	require(message == nullptr || message[0] != '\0');
	++events;
}

void call(FuzzInput &input, const test::EngineFiles &files, const std::vector<std::string> &paths,
	  test::EnginePointer &engine)
{
	kl_engine *target = engine.get();
	switch (input.below(12)) {
	case 0:
	case 1:
		(void)pick(input, number_setters)(target, input.number());
		break;
	case 2:
		(void)pick(input, integer_setters)(target, input.integer());
		break;
	case 3: {
		const ShapeSetter set = pick(input, shape_setters);
		const int32_t id = input.integer();
		(void)set(target, id, input.number());
		break;
	}
	case 4: {
		const Loader load = pick(input, loaders);
		const size_t file = input.byte() % (paths.size() + 1);
		(void)load(target, file == paths.size() ? nullptr : paths[file].c_str());
		break;
	}
	case 5:
		require(pick(input, clearers)(target) == KL_OK);
		break;
	case 6:
		(void)kl_set_beauty_skin_only(target, input.below(2) != 0);
		break;
	case 7:
		require(kl_engine_set_event_callback(target, input.below(2) != 0 ? count_event : nullptr,
						     &event_owner) == KL_OK);
		break;
	case 8:
		(void)kl_wait_for_loads(target, input.integer());
		break;
	case 9:
		if (input.below(4) == 0)
			engine = files.create_engine();
		break;
	case 10: // on no engine
		require(pick(input, number_setters)(nullptr, input.number()) == KL_ERROR_INVALID_ARGUMENT);
		require(kl_get_capabilities(nullptr) < 0);
		require(kl_get_capabilities(target) >= 0);
		break;
	default:
		process(input, target);
	}
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	static const test::EngineFiles files;
	static const std::vector<std::string> paths = make_files(files);
	test::EnginePointer engine = files.create_engine();
	FuzzInput input(data, size);
	for (int number = 0; number < most_calls && !input.empty(); ++number)
		call(input, files, paths, engine);
	return 0;
}
