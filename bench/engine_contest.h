// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "engine_bench.h"
#include "engine_report.h"

#include <string>
#include <vector>

namespace kalvio::bench {

// The engine's effects at 1920 x 1080 beside what other libraries take for the same work on the same frame.
class Contest {
public:
	// With `only`, no works but those whose name holds it.
	Contest(std::string data_folder, std::string only, Report &report);

	void run();

private:
	struct Entrant {
		std::function<void()> run;
		std::function<Frame()> result; // may be missing
	};
	struct Outcome {
		double ours = 0;
		double theirs = 0;
		std::string peer;
		Frame peer_frame; // empty where the peer gives none
	};

	// Whether a peer does the same work, and what to say of it. Without a judge all do.
	struct Quality {
		bool counts = true;
		std::string note;
	};
	using Judge = std::function<Quality(const Peer::Prepared &prepared)>;

	bool is_asked_for(const std::string &name) const { return name.find(only_) != std::string::npos; }
	void compare(int threads);
	void judge_smoothing(const Frame &peer, const std::vector<uint8_t> &own);
	double judge_blur(const std::vector<uint8_t> &own);
	double race_blur(int threads, double bar);
	Outcome race(Work work, int threads, const std::function<void()> &ours, const Judge &judge);
	void row(const std::string &name, int threads, const Outcome &outcome, double bar);

	std::string data_;
	std::string only_;
	Report &report_;
	Frame frame_;
	std::vector<double> blurred_; // the green of the frame under a true Gaussian
	std::vector<Peer> peers_;
};

} // namespace kalvio::bench
