// SPDX-License-Identifier: GPL-2.0-or-later

// Any bytes as a net file. What is not refused runs, unless it takes long, and nothing of it may crash, leak or read
// what is not its own.
#include "nets/net.h"
#include "nets/net_file.h"
#include "nets/net_program.h"

#include <algorithm>
#include <cmath>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	using namespace kalvio::engine;
	NetFile file;
	if (!parse_net({data, size}, file))
		return 0;
	if (!parse_net(write_net(file), file))
		__builtin_trap(); // what was read can be written
	std::shared_ptr<const Net> net;
	if (!read_net({data, size}, net))
		return 0;
	constexpr size_t longest_run_values = 1U << 18;
	if (net->program().memory_values > longest_run_values)
		return 0;
	for (const NetStep &step : net->program().file.steps) {
		if (step.output.values() * size_t(step.kernel_height) * size_t(step.kernel_width) > longest_run_values)
			return 0;
	}
	NetRunner runner(net);
	for (const float value : {0.5F, -1e30F, HUGE_VALF, NAN}) {
		std::fill(runner.input().begin(), runner.input().end(), value);
		runner.run();
	}
	return 0;
}
