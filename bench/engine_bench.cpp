// SPDX-License-Identifier: GPL-2.0-or-later

// bench_engine [--check] [--only WORDS] [DATA_FOLDER [OUTPUT_BASE]]: what the engine's effects cost beside what other
// libraries take for the same work on the same frame, with one and with two threads; how the cost grows with the frame
// and with the number of engines; what memory it takes. Writes tables to the standard output and, with OUTPUT_BASE, to
// OUTPUT_BASE.md and OUTPUT_BASE.json. --only picks the works whose name holds the words. With --check the program
// fails when a bar is missed.
#include "engine_contest.h"
#include "engine_costs.h"

#include <cstdio>
#include <cstring>

namespace {

struct Options {
	bool check = false;
	bool memory = false;
	std::string only;
	std::string data_folder = KALVIO_DATA_DIR;
	std::string output_base;
};

bool read_options(int argc, char **argv, Options &options)
{
	int paths = 0;
	for (int index = 1; index < argc; ++index) {
		if (std::strcmp(argv[index], "--check") == 0)
			options.check = true;
		else if (std::strcmp(argv[index], "--engine-memory") == 0)
			options.memory = true;
		else if (std::strcmp(argv[index], "--only") == 0 && index + 1 < argc)
			options.only = argv[++index];
		else if (argv[index][0] != '-' && paths < 2)
			(paths++ == 0 ? options.data_folder : options.output_base) = argv[index];
		else
			return false;
	}
	return true;
}

void measure(const Options &options, kalvio::bench::Report &report)
{
	using namespace kalvio::bench;
	const auto asked_for = [&](const std::string &name) {
		return name.find(options.only) != std::string::npos;
	};
	Contest(options.data_folder, options.only, report).run();
	if (asked_for("sizes"))
		measure_sizes(options.data_folder, report);
	if (asked_for("engines"))
		measure_engines(options.data_folder, report);
	if (asked_for("memory"))
		measure_memory(options.data_folder, report);
}

} // namespace

int main(int argc, char **argv)
{
	Options options;
	if (!read_options(argc, argv, options)) {
		std::fprintf(stderr, "usage: bench_engine [--check] [--only WORDS] [DATA_FOLDER [OUTPUT_BASE]]\n");
		return 2;
	}
	try {
		if (options.memory) {
			kalvio::bench::print_engine_memory(options.data_folder);
			return 0;
		}
		kalvio::bench::Report report;
		measure(options, report);
		if (!options.output_base.empty())
			report.save(options.output_base);
		return options.check && !report.all_met() ? 1 : 0;
	} catch (const std::exception &error) {
		std::fprintf(stderr, "bench_engine: %s\n", error.what());
		return 2;
	}
}
