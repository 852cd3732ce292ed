// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_contest.h"

#include "engine_subject.h"
#include "engine_timing.h"
#include "pool.h"
#include "stages/background_blur.h"
#include "stages/color_lut.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <stdexcept>

namespace kalvio::bench {

namespace {

// The color filter's table as the .cube file that other programs read.
std::string write_cube(const std::string &data_folder)
{
	engine::Lut3d lut;
	if (!load_lut3d((data_folder + "/filters/vivid/vivid.kld").c_str(), lut))
		throw std::runtime_error("no color filter in " + data_folder);
	std::string path = (std::filesystem::temp_directory_path() / "bench_engine.cube").string();
	std::ofstream stream(path);
	stream << "LUT_3D_SIZE 33\n";
	for (size_t index = 0; index < lut.colors.size(); index += 3)
		stream << lut.colors[index] / 65535.0 << ' ' << lut.colors[index + 1] / 65535.0 << ' '
		       << lut.colors[index + 2] / 65535.0 << '\n';
	return path;
}

struct Flatness {
	double sigma;     // of the cheek's green, where there is nothing but noise
	double edge_step; // between face and screen
};

Flatness flatness_of(const std::vector<uint8_t> &pixels)
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

// A peer that smooths the flat patch less does not do the same work, nor does one whose blur errs more.
constexpr double same_flatness = 1.15;
constexpr double same_psnr = 1; // dB

// The green channel of a frame under a true Gaussian, in double precision; beyond the edges stand the last pixels.
std::vector<double> gaussian_green(const Frame &frame)
{
	const int radius = static_cast<int>(std::ceil(4 * blur_sigma));
	std::vector<double> weights;
	double total = 0;
	for (int tap = -radius; tap <= radius; ++tap)
		total += weights.emplace_back(std::exp(-0.5 * tap * tap / (blur_sigma * blur_sigma)));

	const auto width = size_t(frame.width);
	const auto height = size_t(frame.height);
	const auto inside = [](int place, size_t size) {
		return static_cast<size_t>(std::clamp(place, 0, static_cast<int>(size) - 1));
	};
	std::vector<double> across(width * height);
	for (size_t y = 0; y < height; ++y) {
		for (size_t x = 0; x < width; ++x) {
			double sum = 0;
			for (int tap = -radius; tap <= radius; ++tap)
				sum += weights[static_cast<size_t>(tap + radius)] *
				       frame.pixels[(y * width + inside(static_cast<int>(x) + tap, width)) * 4 + 1];
			across[y * width + x] = sum / total;
		}
	}
	std::vector<double> result(width * height);
	for (size_t y = 0; y < height; ++y) {
		for (int tap = -radius; tap <= radius; ++tap) {
			const double weight = weights[static_cast<size_t>(tap + radius)] / total;
			const double *row = across.data() + inside(static_cast<int>(y) + tap, height) * width;
			for (size_t x = 0; x < width; ++x)
				result[y * width + x] += weight * row[x];
		}
	}
	return result;
}

double psnr_of_green(const std::vector<uint8_t> &pixels, const std::vector<double> &reference)
{
	double error = 0;
	for (size_t index = 0; index < reference.size(); ++index)
		error += std::pow(pixels[index * 4 + 1] - reference[index], 2);
	return 10 * std::log10(255.0 * 255.0 / (error / double(reference.size())));
}

// The engine's blur alone, over the whole frame, as the peers do it. Rows of 1920 pixels are whole vectors: they are
// written in place, nothing beyond them.
class WholeBlur {
public:
	WholeBlur(const Frame &frame, int threads) : frame_(frame), pool_(threads), result_(frame.pixels.size()) {}

	void run()
	{
		constexpr int band_rows = 32;
		const engine::Frame frame = {frame_.pixels.data(), result_.data(), frame_.width, frame_.height,
					     frame_.width * 4};
		blur_.build(frame, nullptr, float(blur_sigma), pool_);
		pool_.run((frame.height + band_rows - 1) / band_rows, [&](int band, int slot) {
			const int end = std::min(frame.height, (band + 1) * band_rows);
			for (int y = band * band_rows; y < end; ++y)
				blur_.write_row(y, slot, frame.width, frame.output_row(y));
		});
	}

	const std::vector<uint8_t> &result() const { return result_; }

private:
	const Frame &frame_;
	engine::Pool pool_;
	engine::BackgroundBlur blur_;
	std::vector<uint8_t> result_;
};

} // namespace

Contest::Contest(std::string data_folder, std::string only, Report &report)
	: data_(std::move(data_folder)), only_(std::move(only)), report_(report), frame_(make_frame(1920, 1080)),
	  blurred_(gaussian_green(frame_))
{
	const std::string cube_path = write_cube(data_);
	for (const auto &list :
	     {opencv_peers(), ffmpeg_peers(cube_path), vips_peers(), plain_peers(), opencolorio_peers(cube_path)})
		peers_.insert(peers_.end(), list.begin(), list.end());
}

void Contest::run()
{
	report_.line("One thread: processor time. Two threads: time on the wall. Medians of runs in turns.");
	report_.table({"work at 1080p", "threads", "ours ms", "fastest peer", "its ms", "times", "bar", ""});
	for (const int threads : {1, 2})
		compare(threads);
}

// A short heat picks those that may be the fastest; these run the race.
Contest::Outcome Contest::race(Work work, int threads, const std::function<void()> &ours, const Judge &judge)
{
	struct Runner {
		std::string name;
		Peer::Prepared prepared;
		double heat;
	};
	std::vector<Runner> runners;
	double best = std::numeric_limits<double>::max();
	for (const Peer &peer : peers_) {
		if (peer.work != work)
			continue;
		Runner runner = {peer.name, peer.prepare(frame_, threads), std::numeric_limits<double>::max()};
		for (int run = 0; run < 4; ++run)
			runner.heat = std::min(runner.heat, milliseconds(runner.prepared.run, threads));
		std::string note = peer.name;
		const Quality quality = judge ? judge(runner.prepared) : Quality();
		note += quality.note + (quality.counts ? "" : ", does less: does not count");
		std::fprintf(stderr, "  %d threads  %8.2f ms  %s\n", threads, runner.heat, note.c_str());
		report_.note({{"peer", note}, {"threads", threads}, {"ms", runner.heat}});
		if (!quality.counts)
			continue;
		best = std::min(best, runner.heat);
		runners.push_back(std::move(runner));
	}
	std::erase_if(runners, [best](const Runner &runner) { return runner.heat > 1.4 * best; });
	if (runners.empty())
		throw std::runtime_error("no peer is left to compare with");

	std::vector<std::function<void()>> runs = {ours};
	for (const Runner &runner : runners)
		runs.push_back(runner.prepared.run);
	const std::vector<double> times = times_in_turns(runs, threads);
	const auto fastest = size_t(std::min_element(times.begin() + 1, times.end()) - times.begin());
	const Runner &winner = runners[fastest - 1];
	return {times[0], times[fastest], winner.name, winner.prepared.result ? winner.prepared.result() : Frame{}};
}

void Contest::row(const std::string &name, int threads, const Outcome &outcome, double bar)
{
	const double times = outcome.theirs / outcome.ours;
	const bool met = times >= bar;
	report_.row({name, std::to_string(threads), number(outcome.ours), outcome.peer, number(outcome.theirs),
		     number(times), number(bar), report_.judge(met)},
		    {{"work", name},
		     {"threads", threads},
		     {"ms", outcome.ours},
		     {"peer", outcome.peer},
		     {"peer_ms", outcome.theirs},
		     {"times", times},
		     {"bar", bar},
		     {"met", met}});
}

void Contest::judge_smoothing(const Frame &peer, const std::vector<uint8_t> &own)
{
	const double step = flatness_of(own).edge_step;
	const double peer_step = flatness_of(peer.pixels).edge_step;
	// A step of the picture is a hundred levels and more: one level is no difference.
	const bool met = step >= peer_step - 1;
	report_.row({"smoothing: step left at an edge, levels", "", number(step), "the same", number(peer_step), "",
		     number(peer_step - 1), report_.judge(met)},
		    {{"work", "edge step"}, {"levels", step}, {"peer_levels", peer_step}, {"met", met}});
}

double Contest::judge_blur(const std::vector<uint8_t> &own)
{
	constexpr double bar = 35;
	const double psnr = psnr_of_green(own, blurred_);
	report_.row({"blur: PSNR against a true Gaussian, dB", "", number(psnr), "", "", "", number(bar),
		     report_.judge(psnr >= bar)},
		    {{"work", "blur PSNR"}, {"db", psnr}, {"bar", bar}, {"met", psnr >= bar}});
	return psnr;
}

// Returns the time of the fastest peer.
double Contest::race_blur(int threads, double bar)
{
	WholeBlur blur(frame_, threads);
	blur.run();
	const double own_psnr = threads == 1 ? judge_blur(blur.result()) : psnr_of_green(blur.result(), blurred_);
	const auto judge = [&](const Peer::Prepared &prepared) -> Quality {
		if (!prepared.result)
			return {};
		const double psnr = psnr_of_green(prepared.result().pixels, blurred_);
		return {psnr >= own_psnr - same_psnr, ": PSNR " + number(psnr) + " dB"};
	};
	const auto ours = [&] {
		blur.run();
	};
	const Outcome outcome = race(Work::Blur, threads, ours, judge);
	row("strongest background blur", threads, outcome, bar);
	return outcome.theirs;
}

void Contest::compare(int threads)
{
	struct Event {
		const char *name;
		Work work;
		double bar;
		Setup setup; // none: the blur alone
		bool is_in_look = true;
	};
	const Event events[] = {
		{"color filter", Work::ColorFilter, 2.5,
		 [this](kl_engine *e) {
			 kl_set_filter(e, (data_ + "/filters/vivid/vivid.kld").c_str());
		 }},
		{"chroma key with spill", Work::ChromaKey, 8, set_key},
		{"chroma key, beside a plain loop", Work::PlainChromaKey, 1, set_key, false},
		{"strongest background blur", Work::Blur, 4, nullptr},
		{"smoothing 0.6", Work::Smoothing, 5,
		 [](kl_engine *e) {
			 kl_set_smoothing(e, 0.6F);
			 kl_set_smoothing_style(e, 2);
		 }},
		{"sharpening", Work::Sharpening, 2,
		 [](kl_engine *e) {
			 kl_set_sharpening(e, 1);
		 }},
	};

	if (is_asked_for("neutral")) {
		Subject neutral(data_, frame_, threads, [](kl_engine *) {});
		std::vector<uint8_t> copy(frame_.pixels.size());
		const std::vector<double> times =
			times_in_turns({[&] { neutral.process(); },
					[&] {
						std::memcpy(copy.data(), frame_.pixels.data(), copy.size());
					}},
				       threads);
		row("neutral", threads, {times[0], times[1], "memcpy", {}}, 1 / 1.1);
	}
	double sum = 0;
	for (const Event &event : events) {
		if (!is_asked_for(event.name) && !is_asked_for("the whole look"))
			continue;
		if (!event.setup) {
			sum += race_blur(threads, event.bar);
			continue;
		}
		Subject subject(data_, frame_, threads, event.setup);
		subject.process();
		Judge judge;
		if (event.work == Work::Smoothing)
			judge = [flattest = flatness_of(subject.result()).sigma](
					const Peer::Prepared &prepared) -> Quality {
				const Flatness flatness = flatness_of(prepared.result().pixels);
				return {flatness.sigma <= same_flatness * flattest,
					": flat sigma " + number(flatness.sigma) + ", edge step " +
						number(flatness.edge_step)};
			};
		const auto ours = [&] {
			subject.process();
		};
		const Outcome outcome = race(event.work, threads, ours, judge);
		row(event.name, threads, outcome, event.bar);
		sum += event.is_in_look ? outcome.theirs : 0;
		if (event.work == Work::Smoothing && threads == 1)
			judge_smoothing(outcome.peer_frame, subject.result());
	}
	if (is_asked_for("the whole look")) {
		Subject whole(data_, frame_, threads, [this](kl_engine *e) { set_whole_look(e, data_); });
		const double ours = times_in_turns({[&] {
							   whole.process();
						   }},
						   threads)[0];
		row("the whole look", threads, {ours, sum, "the sum of the fastest", {}}, 4);
	}
}

} // namespace kalvio::bench
