// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "engine_bench.h"
#include "kalvio_engine.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

// Our side of the benchmark: frames to process, engines, and how they are set.
namespace kalvio::bench {

// A person's colors before an uneven green screen, with camera noise; scaled with the frame.
Frame make_frame(int width, int height);

using Setup = std::function<void(kl_engine *)>;

void set_key(kl_engine *engine);
// Smoothing, whitening, rosiness, sharpening, filter, key, blur and sticker, all on the skin alone.
void set_whole_look(kl_engine *engine, const std::string &data_folder);

// An engine of its own with a frame to process and room for what comes out.
class Subject {
public:
	// `threads` in all, the caller's counted; 0 takes the pool that all engines of the process share.
	Subject(const std::string &data_folder, const Frame &frame, int threads, const Setup &setup);

	void process();
	const std::vector<uint8_t> &result() const { return result_; }

private:
	struct Destroy {
		void operator()(kl_engine *engine) const { kl_engine_destroy(engine); }
	};

	std::unique_ptr<kl_engine, Destroy> engine_;
	const Frame &frame_;
	std::vector<uint8_t> result_;
};

} // namespace kalvio::bench
