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

	bool is_asked_for(const std::string &name) const { return name.find(only_) != std::string::npos; }
	void compare(int threads);
	void judge_smoothing(const Frame &peer, const std::vector<uint8_t> &own);
	void judge_blur(const std::vector<uint8_t> &own);
	Outcome race(Work work, int threads, const std::function<void()> &ours, double flattest);
	void row(const std::string &name, int threads, const Outcome &outcome, double bar);

	std::string data_;
	std::string only_;
	Report &report_;
	Frame frame_;
	std::vector<Peer> peers_;
};

} // namespace kalvio::bench
