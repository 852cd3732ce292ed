// SPDX-License-Identifier: GPL-2.0-or-later

// bench_engine DATA_FOLDER [OUTPUT_BASE]: what the engine's effects cost at 1920 x 1080 beside what other libraries
// take for the same work on the same frame, with one and with two threads. Writes a table to the standard output and,
// with OUTPUT_BASE, to OUTPUT_BASE.md and OUTPUT_BASE.json. Every figure is a median.
#include "engine_bench.h"
#include "engine.h"
#include "kalvio_engine.h"
#include "stages/background_blur.h"
#include "stages/color_lookup.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

namespace kalvio::bench {
namespace {

using engine::Pool;

using EnginePointer = std::unique_ptr<kl_engine, void (*)(kl_engine *)>;

// With one thread the processor time of the process: it does not count what other programs take from a busy machine.
// With more, the time on the wall: that is what threads are for.
double milliseconds(const std::function<void()> &run, int threads)
{
	const auto start = std::chrono::steady_clock::now();
	const std::clock_t processor_start = std::clock();
	run();
	if (threads == 1)
		return 1000.0 * static_cast<double>(std::clock() - processor_start) / CLOCKS_PER_SEC;
	return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// At least 9 runs and about half a second, after two to warm up.
double median_time(const std::function<void()> &run, int threads)
{
	run();
	run();
	std::vector<double> times;
	double total = 0;
	while (times.size() < 9 || (total < 500 && times.size() < 101)) {
		times.push_back(milliseconds(run, threads));
		total += times.back();
	}
	std::nth_element(times.begin(), times.begin() + long(times.size() / 2), times.end());
	return times[times.size() / 2];
}

// A person's colours before an uneven green screen, with camera noise; scaled with the frame.
Frame make_frame(int width, int height)
{
	Frame frame = {width, height, std::vector<uint8_t>(size_t(width) * size_t(height) * 4)};
	std::minstd_rand random(1);
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x) {
			const double u = (x + 0.5) / width;
			const double v = (y + 0.5) / height;
			double red = 48 + 20 * std::sin(9 * u);
			double green = 168 + 28 * std::sin(4 * u + 5 * v);
			double blue = 66 + 14 * std::cos(7 * v);
			const double head = std::hypot((u - 0.5) / 0.14, (v - 0.42) / 0.34);
			const double body = std::hypot((u - 0.5) / 0.34, (v - 1.15) / 0.5);
			if (body < 1)
				red = 70 + 30 * std::sin(60 * u), green = 60, blue = 90 + 40 * v;
			if (head < 1)
				red = 225 - 50 * head, green = 178 - 50 * head, blue = 150 - 45 * head;
			const double noise = static_cast<double>(random() >> 8 & 15) - 7.5;
			uint8_t *pixel = frame.pixels.data() + (size_t(y) * size_t(width) + size_t(x)) * 4;
			pixel[0] = static_cast<uint8_t>(std::clamp(red + noise, 0.0, 255.0));
			pixel[1] = static_cast<uint8_t>(std::clamp(green + noise, 0.0, 255.0));
			pixel[2] = static_cast<uint8_t>(std::clamp(blue + noise, 0.0, 255.0));
			pixel[3] = 255;
		}
	}
	return frame;
}

class Bench {
public:
	Bench(std::string data, std::string output)
		: data_(std::move(data)), output_(std::move(output)), frame_(make_frame(1920, 1080)),
		  result_(frame_.pixels.size())
	{
		write_cube();
		for (const auto &list : {opencv_peers(), ffmpeg_peers(cube_path_), vips_peers()})
			peers_.insert(peers_.end(), list.begin(), list.end());
	}

	void run()
	{
		line("One thread: processor time. Two threads: time on the wall. Medians.");
		line("");
		line("| work at 1080p | threads | ours ms | fastest peer | its ms | times | bar | |");
		line("|---|---|---|---|---|---|---|---|");
		for (const int threads : {1, 2})
			compare(threads);
		line("");
		line("| frame | whole look, one thread, ms | ns a pixel |");
		line("|---|---|---|");
		for (const int height : {360, 720, 1080, 1440, 2160})
			scale(height);
		save();
	}

private:
	using Setup = std::function<void(kl_engine *)>;

	EnginePointer create(int threads)
	{
		const std::string resources = data_ + "/resource.kld";
		const kl_engine_config config = {0, 0, nullptr, resources.c_str(), "bench_engine", 0};
		EnginePointer made(kl_engine_create(&config), kl_engine_destroy);
		if (!made)
			throw std::runtime_error("no engine from " + resources);
		made->pool = std::make_shared<Pool>(threads);
		return made;
	}

	double engine_time(const Frame &frame, int threads, const Setup &setup)
	{
		const EnginePointer made = create(threads);
		setup(made.get());
		result_.resize(frame.pixels.size());
		return median_time(
			[&] {
				if (kl_process_rgba(made.get(), frame.pixels.data(), frame.width, frame.height,
						    frame.width * 4, result_.data(), 1, 0) != KL_OK)
					throw std::runtime_error("the engine failed");
			},
			threads);
	}

	struct Fastest {
		std::string name;
		double time = 1e9;
	};

	// For smoothing only peers count that smooth the flat patch about as much as we do.
	Fastest fastest_peer(Work work, int threads)
	{
		Fastest fastest;
		for (const Peer &peer : peers_) {
			if (peer.work != work)
				continue;
			const Peer::Prepared prepared = peer.prepare(frame_, threads);
			const double time = median_time(prepared.run, threads);
			std::string note = peer.name;
			bool counts = true;
			if (work == Work::Smoothing) {
				const auto [flat, edge] = flat_and_edge(prepared.result().pixels);
				counts = flat <= 1.15 * own_flat_;
				char text[96];
				std::snprintf(text, sizeof(text), ": flat deviation %.2f, edge step %.0f%s", flat, edge,
					      counts ? "" : ", smooths less: does not count");
				note += text;
			}
			all_peers_.push_back(
				{{"work", static_cast<int>(work)}, {"peer", note}, {"threads", threads}, {"ms", time}});
			std::fprintf(stderr, "  %d threads  %8.2f ms  %s\n", threads, time, note.c_str());
			if (counts && time < fastest.time)
				fastest = {peer.name, time};
		}
		return fastest;
	}

	// Deviation of the cheek's green, and the step between face and screen.
	std::pair<double, double> flat_and_edge(const std::vector<uint8_t> &pixels) const
	{
		const auto at = [&](int x, int y, size_t channel) {
			return double(pixels[(size_t(y) * 1920 + size_t(x)) * 4 + channel]);
		};
		double sum = 0;
		double squares = 0;
		constexpr int side = 24;
		for (int y = 440; y < 440 + side; ++y) {
			for (int x = 948; x < 948 + side; ++x) {
				sum += at(x, y, 1);
				squares += at(x, y, 1) * at(x, y, 1);
			}
		}
		const double mean = sum / (side * side);
		double step = 0;
		for (int y = 430; y < 480; ++y) {
			double best = 0;
			for (int x = 1200; x < 1260; ++x)
				best = std::max(best, std::abs(at(x + 1, y, 0) - at(x - 1, y, 0)));
			step += best / 50;
		}
		return {std::sqrt(std::max(squares / (side * side) - mean * mean, 0.0)), step};
	}

	void report(const char *work, int threads, double ours, const std::string &peer, double theirs, double bar)
	{
		const double times = theirs / ours;
		char text[256];
		std::snprintf(text, sizeof(text), "| %s | %d | %.2f | %s | %.2f | %.2f | %.2f | %s |", work, threads,
			      ours, peer.c_str(), theirs, times, bar, times >= bar ? "met" : "missed");
		line(text);
		rows_.push_back({{"work", work},
				 {"threads", threads},
				 {"ms", ours},
				 {"peer", peer},
				 {"peer_ms", theirs},
				 {"times", times},
				 {"bar", bar},
				 {"met", times >= bar}});
	}

	void compare(int threads)
	{
		const Setup filter = [&](kl_engine *e) {
			kl_set_filter(e, (data_ + "/filters/vivid/vivid.kld").c_str());
		};
		const Setup key = [](kl_engine *e) {
			kl_set_chroma_key(e, 0);
			kl_set_chroma_key_similarity(e, 0.36F);
			kl_set_chroma_key_smoothness(e, 0.1F);
			kl_set_chroma_key_desaturation(e, 0.8F);
		};
		const Setup smoothing = [](kl_engine *e) {
			kl_set_smoothing(e, 0.6F);
			kl_set_smoothing_style(e, 2);
		};
		const Setup sharpening = [](kl_engine *e) {
			kl_set_sharpening(e, 1);
		};

		std::vector<uint8_t> copy(frame_.pixels.size());
		const double memcpy_time =
			median_time([&] { std::memcpy(copy.data(), frame_.pixels.data(), copy.size()); }, threads);
		report("neutral", threads, engine_time(frame_, threads, [](kl_engine *) {}), "memcpy", memcpy_time,
		       1 / 1.1);

		double sum = 0;
		const auto row = [&](const char *name, Work work, double ours, double bar) {
			const Fastest fastest = fastest_peer(work, threads);
			sum += fastest.time;
			report(name, threads, ours, fastest.name, fastest.time, bar);
		};
		row("colour filter", Work::ColorFilter, engine_time(frame_, threads, filter), 3);
		row("chroma key with spill", Work::ChromaKey, engine_time(frame_, threads, key), 8);
		row("strongest background blur", Work::Blur, blur_time(threads), 6);
		const double smoothing_time = engine_time(frame_, threads, smoothing);
		const auto [flat, edge] = flat_and_edge(result_);
		own_flat_ = flat;
		const auto [input_flat, input_edge] = flat_and_edge(frame_.pixels);
		std::fprintf(stderr, "  ours: flat deviation %.2f, edge step %.0f; input %.2f, %.0f\n", flat, edge,
			     input_flat, input_edge);
		row("smoothing 0.6", Work::Smoothing, smoothing_time, 3);
		row("sharpening", Work::Sharpening, engine_time(frame_, threads, sharpening), 2);
		report("the whole look", threads, engine_time(frame_, threads, whole_look()), "sum of the fastest", sum,
		       4);
	}

	// The blur alone, over the whole frame, as the peers do it.
	double blur_time(int threads)
	{
		engine::BackgroundBlur blur;
		Pool pool(threads);
		const engine::Frame frame = {frame_.pixels.data(), result_.data(), frame_.width, frame_.height,
					     frame_.width * 4};
		std::vector<uint8_t> rows(size_t(frame_.width * 4 + 256) * 16);
		return median_time(
			[&] {
				blur.build(frame, nullptr, float(blur_deviation), pool);
				pool.run(frame.height / 8, [&](int band, int slot) {
					uint8_t *row = rows.data() + size_t(slot) * size_t(frame.width * 4 + 256);
					for (int y = band * 8; y < band * 8 + 8; ++y) {
						blur.write_row(y, slot, frame.width, row);
						std::memcpy(frame.output_row(y), row, frame.row_bytes());
					}
				});
			},
			threads);
	}

	Setup whole_look()
	{
		return [&](kl_engine *e) {
			kl_set_smoothing(e, 0.6F);
			kl_set_whitening(e, 0.4F);
			kl_set_rosiness(e, 0.2F);
			kl_set_sharpening(e, 0.4F);
			kl_set_beauty_skin_only(e, true);
			kl_set_filter(e, (data_ + "/filters/vivid/vivid.kld").c_str());
			kl_set_chroma_key(e, 0);
			kl_set_chroma_key_similarity(e, 0.36F);
			kl_set_chroma_key_smoothness(e, 0.1F);
			kl_set_chroma_key_desaturation(e, 0.8F);
			kl_set_virtual_background_blur(e, 1);
			kl_set_sticker(e, (data_ + "/stickers/screen/butterfly.kld").c_str());
		};
	}

	void scale(int height)
	{
		const Frame frame = make_frame(height * 16 / 9, height);
		const double time = engine_time(frame, 1, whole_look());
		const double pixel = time * 1e6 / (double(frame.width) * frame.height);
		char text[128];
		std::snprintf(text, sizeof(text), "| %d x %d | %.2f | %.2f |", frame.width, height, time, pixel);
		line(text);
		rows_.push_back({{"work", "scaling"}, {"height", height}, {"ms", time}, {"ns_a_pixel", pixel}});
	}

	void write_cube()
	{
		engine::ColorLattice lattice;
		load_color_lattice((data_ + "/filters/vivid/vivid.kld").c_str(), lattice);
		cube_path_ = (std::filesystem::temp_directory_path() / "bench_engine.cube").string();
		std::ofstream stream(cube_path_);
		stream << "LUT_3D_SIZE 33\n";
		for (size_t index = 0; index < lattice.colors.size(); index += 3)
			stream << lattice.colors[index] / 65535.0 << ' ' << lattice.colors[index + 1] / 65535.0 << ' '
			       << lattice.colors[index + 2] / 65535.0 << '\n';
	}

	void line(const std::string &text)
	{
		std::printf("%s\n", text.c_str());
		std::fflush(stdout);
		markdown_ << text << '\n';
	}

	void save()
	{
		if (output_.empty())
			return;
		std::ofstream(output_ + ".md") << markdown_.str();
		std::ofstream(output_ + ".json")
			<< nlohmann::json{{"rows", rows_}, {"peers", all_peers_}}.dump(2) << '\n';
	}

	std::string data_;
	std::string output_;
	std::string cube_path_;
	Frame frame_;
	std::vector<uint8_t> result_;
	std::vector<Peer> peers_;
	double own_flat_ = 0;
	std::ostringstream markdown_;
	nlohmann::json rows_ = nlohmann::json::array();
	nlohmann::json all_peers_ = nlohmann::json::array();
};

} // namespace
} // namespace kalvio::bench

int main(int argc, char **argv)
{
	if (argc < 2) {
		std::fprintf(stderr, "usage: bench_engine DATA_FOLDER [OUTPUT_BASE]\n");
		return 2;
	}
	try {
		kalvio::bench::Bench(argv[1], argc > 2 ? argv[2] : "").run();
		return 0;
	} catch (const std::exception &error) {
		std::fprintf(stderr, "bench_engine: %s\n", error.what());
		return 1;
	}
}
