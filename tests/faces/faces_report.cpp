// SPDX-License-Identifier: GPL-2.0-or-later

// faces_report BUNDLE OUTPUT_FOLDER [--check] [--faces N] [--only CONDITION_NUMBER] [PICTURE]...
//
// How well the nets of a resource bundle find faces: a table by condition, and overlays in OUTPUT_FOLDER, a contact
// sheet of each condition. Further pictures are overlaid one by one. With --check it fails when a figure misses its
// bar.
#include "arguments.h"
#include "condition_table.h"
#include "face_drawing.h"
#include "face_trials.h"
#include "image_reader.h"
#include "image_writer.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace {

using namespace kalvio::engine;
using namespace kalvio::engine::testing;

struct Options {
	std::string bundle;
	std::filesystem::path folder;
	bool check = false;
	int faces = 40;
	int only = -1;
	std::vector<std::string> pictures;
};

Options read_options(const std::vector<std::string> &arguments)
{
	Options options;
	options.bundle = arguments.at(1);
	options.folder = path_from_utf8(arguments.at(2));
	for (size_t index = 3; index < arguments.size(); ++index) {
		if (arguments[index] == "--check")
			options.check = true;
		else if (arguments[index] == "--faces")
			options.faces = std::atoi(arguments.at(++index).c_str());
		else if (arguments[index] == "--only")
			options.only = std::atoi(arguments.at(++index).c_str());
		else
			options.pictures.push_back(arguments[index]);
	}
	return options;
}

// The first pictures of a condition with what was found, four in a row.
class ContactSheet {
public:
	void add(const Image &picture, std::span<const TrackedFace> faces)
	{
		if (count_ >= columns * rows)
			return;
		if (count_ == 0) {
			sheet_.resize(picture.width * columns, picture.height * rows);
			std::fill(sheet_.pixels.begin(), sheet_.pixels.end(), uint8_t{255});
		}
		Image drawn = picture;
		draw_faces(faces, drawn);
		for (int y = 0; y < drawn.height; ++y)
			std::memcpy(sheet_.pixel(count_ % columns * drawn.width, count_ / columns * drawn.height + y),
				    drawn.pixel(0, y), size_t(drawn.width) * 4);
		++count_;
	}

	void save(const std::filesystem::path &path) const
	{
		if (count_ > 0)
			write_image(path, sheet_, 92);
	}

private:
	static constexpr int columns = 4;
	static constexpr int rows = 4;
	Image sheet_;
	int count_ = 0;
};

bool report_condition(FaceTrials &trials, FaceCondition condition, const Options &options)
{
	ContactSheet sheet;
	const bool met = print_condition(trials, condition, options.faces,
					 [&](const FaceRecipe &, const Image &picture,
					     std::span<const TrackedFace> faces) { sheet.add(picture, faces); });
	std::string name = name_of(condition);
	std::replace(name.begin(), name.end(), ' ', '_');
	sheet.save(options.folder / (name + ".png"));
	return met;
}

void report_picture(FaceTrials &trials, const std::string &path, const Options &options, size_t number)
{
	Image picture;
	if (const ReadResult result = load_image(path.c_str(), picture); !result)
		throw std::runtime_error(path + ": " + result.reason);
	const std::vector<TrackedFace> faces = trials.faces_of(picture);
	std::printf("%s: %zu faces\n", path.c_str(), faces.size());
	draw_faces(faces, picture);
	write_image(options.folder / ("picture_" + std::to_string(number) + ".png"), picture);
}

bool report(const Options &options)
{
	std::filesystem::create_directories(options.folder);
	const NetLibrary nets = load_nets(options.bundle);
	FaceTrials trials(nets);
	bool met = true;
	print_condition_head(options.faces);
	for (int condition = 0; condition < face_condition_count; ++condition) {
		if (options.only < 0 || options.only == condition)
			met = report_condition(trials, FaceCondition(condition), options) && met;
	}
	for (size_t index = 0; index < options.pictures.size(); ++index)
		report_picture(trials, options.pictures[index], options, index);
	return met;
}

} // namespace

int main(int argc, char **argv)
{
	if (argc < 3) {
		std::fprintf(stderr, "usage: faces_report BUNDLE OUTPUT_FOLDER [--check] [--faces N] [PICTURE]...\n");
		return 2;
	}
	try {
		const Options options = read_options(utf8_arguments(argc, argv));
		const bool met = report(options);
		return options.check && !met ? 1 : 0;
	} catch (const std::exception &error) {
		std::fprintf(stderr, "faces_report: %s\n", error.what());
		return 1;
	}
}
