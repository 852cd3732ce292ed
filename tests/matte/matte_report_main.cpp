// SPDX-License-Identifier: GPL-2.0-or-later

// matte_report DATA_FOLDER OUTPUT_FOLDER [--check] [--people N] [PICTURE]...
//
// How well the nets of a data folder's resource bundle cut people out: a table, and in OUTPUT_FOLDER a contact sheet of
// made people with what was found, and each PICTURE's matte. With --check it fails when a figure misses its bar.
#include "arguments.h"
#include "face_trials.h"
#include "image_reader.h"
#include "image_writer.h"
#include "matte_report.h"

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
	std::string data;
	std::filesystem::path folder;
	bool check = false;
	int people = 12;
	std::vector<std::string> pictures;
};

Options read_options(const std::vector<std::string> &arguments)
{
	Options options;
	options.data = arguments.at(1);
	options.folder = path_from_utf8(arguments.at(2));
	for (size_t index = 3; index < arguments.size(); ++index) {
		if (arguments[index] == "--check")
			options.check = true;
		else if (arguments[index] == "--people")
			options.people = std::max(std::atoi(arguments.at(++index).c_str()), 1);
		else
			options.pictures.push_back(arguments[index]);
	}
	return options;
}

// People and their mattes at half size, two of each in a row. What the matte misses is blue, what it has too much red.
class ContactSheet {
public:
	void add(const MadePerson &person, const Image &matte)
	{
		const int width = matte.width / 2;
		const int height = matte.height / 2;
		if (sheet_.width == 0)
			sheet_.resize(width * 4, height * rows);
		if (count_ >= 2 * rows)
			return;
		const int left = count_ % 2 * 2 * width;
		const int top = count_ / 2 * height;
		for (int y = 0; y < height; ++y) {
			for (int x = 0; x < width; ++x) {
				std::memcpy(sheet_.pixel(left + x, top + y), person.picture.pixel(2 * x, 2 * y), 4);
				uint8_t *shown = sheet_.pixel(left + width + x, top + y);
				std::memcpy(shown, matte.pixel(2 * x, 2 * y), 4);
				const bool known =
					person.truth[size_t(2 * y) * size_t(matte.width) + size_t(2 * x)] >= 0.5F;
				if (known && shown[0] < 128)
					shown[2] = 255;
				if (!known && shown[0] >= 128)
					shown[1] = shown[2] = 0;
			}
		}
		++count_;
	}
	void save(const std::filesystem::path &path) const { write_image(path, sheet_); }

private:
	static constexpr int rows = 42;
	Image sheet_;
	int count_ = 0;
};

void report_picture(MatteTrials &trials, const std::string &path, const std::filesystem::path &folder, size_t number)
{
	Image picture;
	if (const ReadResult result = load_image(path.c_str(), picture); !result)
		throw std::runtime_error(path + ": " + result.reason);
	PersonMatte matte = trials.make_matte();
	write_image(folder / ("matte_" + std::to_string(number) + ".png"), trials.matte_of(matte, picture, 0));
}

bool report(const Options &options)
{
	std::filesystem::create_directories(options.folder);
	const NetLibrary nets = load_nets(options.data + "/resource.kld");
	MatteTrials trials(nets, shipped_rooms(options.data));
	ContactSheet sheet;
	const bool met = print_mattes(trials, options.people,
				      [&](const MadePerson &person, const Image &matte) { sheet.add(person, matte); });
	sheet.save(options.folder / "people.png");
	for (size_t index = 0; index < options.pictures.size(); ++index)
		report_picture(trials, options.pictures[index], options.folder, index);
	return met;
}

} // namespace

int main(int argc, char **argv)
{
	if (argc < 3) {
		std::fprintf(stderr,
			     "usage: matte_report DATA_FOLDER OUTPUT_FOLDER [--check] [--people N] [PICTURE]...\n");
		return 2;
	}
	try {
		const Options options = read_options(utf8_arguments(argc, argv));
		const bool met = report(options);
		return options.check && !met ? 1 : 0;
	} catch (const std::exception &error) {
		std::fprintf(stderr, "matte_report: %s\n", error.what());
		return 1;
	}
}
