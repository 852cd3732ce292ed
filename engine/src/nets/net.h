// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "nets/shape.h"
#include "read_result.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

// Small convolutional nets, run by the engine's own kernels. A net comes as a file of the resource bundle
// (docs/net-format.md): a plain list of steps, each of which writes one tensor that no step before it has read, and
// weights in half precision. The same input gives the same bytes on every processor.
namespace kalvio::engine {

struct NetProgram;

// Checked steps and packed weights. It does not change: any number of threads and engines share one.
class Net {
public:
	explicit Net(std::unique_ptr<const NetProgram> program);
	~Net();
	Net(const Net &) = delete;
	Net &operator=(const Net &) = delete;

	Shape input_shape() const;
	int output_count() const;
	Shape output_shape(int index) const; // 0 <= index < output_count()

	// Where an output refines points of output 0, the numbers of these points, in the order of the output's own:
	// value k of it takes the place of point refined_indices(index)[k]. Numbers from the width of output 0 on are
	// points that output 0 lacks. Empty for every other output.
	std::span<const uint16_t> refined_indices(int index) const;

	const NetProgram &program() const { return *program_; }

private:
	std::unique_ptr<const NetProgram> program_;
};

// Reads and checks a whole net file. KL_OK, or KL_ERROR_FORMAT with a reason; then `net` is null. Throws std::bad_alloc
// alone; what it takes from the heap is bounded by NetLimits whatever the file says.
ReadResult read_net(std::span<const uint8_t> bytes, std::shared_ptr<const Net> &net);

// The memory of one net's run. One thread at a time; several runners of one net may run at the same time.
class NetRunner {
public:
	// Takes all the memory that a run needs. `net` is not null.
	explicit NetRunner(std::shared_ptr<const Net> net);
	~NetRunner();
	NetRunner(const NetRunner &) = delete;
	NetRunner &operator=(const NetRunner &) = delete;

	Shape input_shape() const { return net_->input_shape(); }
	// Dense, in the order that Shape describes; written by the caller, kept by a run, 0 at first.
	std::span<float> input();

	// Works out all outputs from the input. Allocates nothing. Values that are not finite give outputs that are
	// undefined, and nothing else.
	void run();

	int output_count() const { return net_->output_count(); }
	Shape output_shape(int index) const { return net_->output_shape(index); }
	// Dense; valid until the next run.
	std::span<const float> output(int index) const;

	const Net &net() const { return *net_; }

private:
	struct Memory;

	std::shared_ptr<const Net> net_;
	std::unique_ptr<Memory> memory_;
};

} // namespace kalvio::engine
