// SPDX-License-Identifier: GPL-2.0-or-later
#include "nets/half.h"
#include "nets_peer.h"

#include <xnnpack.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <stdexcept>
#include <string>
#include <vector>

namespace kalvio::bench {

namespace {

using namespace kalvio::engine;

void demand(xnn_status status, const char *what)
{
	if (status != xnn_status_success)
		throw std::runtime_error(std::string("XNNPACK: ") + what);
}

constexpr float no_limit = INFINITY;
constexpr size_t read_beyond = XNN_EXTRA_BYTES / sizeof(float);

class XnnpackPeer : public NetsPeer {
public:
	explicit XnnpackPeer(const NetFile &file) : file_(file)
	{
		demand(xnn_initialize(nullptr), "initialize");
		find_externals();
		demand(xnn_create_subgraph(static_cast<uint32_t>(externals_.size()), 0, &graph_), "create");
		for (size_t index = 0; index < externals_.size(); ++index)
			define_external(static_cast<uint32_t>(index));
		for (size_t step = 0; step < file_.steps.size(); ++step)
			define_step(step);
		demand(xnn_create_runtime_v2(graph_, nullptr, 0, &runtime_), "compile");
		std::vector<xnn_external_value> values;
		for (size_t index = 0; index < externals_.size(); ++index)
			values.push_back({static_cast<uint32_t>(index), buffers_[externals_[index]].data()});
		demand(xnn_setup_runtime(runtime_, values.size(), values.data()), "set up");
	}
	~XnnpackPeer() override
	{
		xnn_delete_runtime(runtime_);
		xnn_delete_subgraph(graph_);
	}
	XnnpackPeer(const XnnpackPeer &) = delete;
	XnnpackPeer &operator=(const XnnpackPeer &) = delete;

	std::span<float> input() override { return {buffers_[0].data(), file_.input.values()}; }

	void run() override
	{
		demand(xnn_invoke_runtime(runtime_), "run");
		for (size_t step = 0; step < file_.steps.size(); ++step) {
			if (file_.steps[step].operation == NetOperation::Join)
				join(step);
		}
	}

	std::span<const float> output(int index) override
	{
		const size_t tensor = file_.outputs[static_cast<size_t>(index)].tensor;
		if (unknown_[tensor])
			return {};
		return {buffers_[tensor].data(), file_.shape(static_cast<int>(tensor)).values()};
	}

private:
	static bool is_geometry(NetOperation operation)
	{
		return operation == NetOperation::CropMatrix || operation == NetOperation::Sample ||
		       operation == NetOperation::MovePoints;
	}
	static bool is_outside(NetOperation operation)
	{
		return operation == NetOperation::Join || is_geometry(operation);
	}

	// Tensors that pass between the library and us: the input, empty crops, what is joined, and outputs.
	void find_externals()
	{
		const size_t tensors = file_.steps.size() + 1;
		buffers_.resize(tensors);
		ids_.assign(tensors, XNN_INVALID_VALUE_ID);
		unknown_.assign(tensors, false);
		std::vector<bool> external(tensors, false);
		external[0] = true;
		for (size_t step = 0; step < file_.steps.size(); ++step) {
			const NetStep &each = file_.steps[step];
			for (const uint16_t tensor : {each.input, each.second, each.residual}) {
				if (tensor != NetStep::none)
					unknown_[step + 1] = unknown_[step + 1] || unknown_[tensor];
			}
			if (is_geometry(each.operation))
				unknown_[step + 1] = true;
			if (each.operation == NetOperation::Sample)
				external[step + 1] = true;
			if (each.operation != NetOperation::Join)
				continue;
			buffers_[step + 1].resize(each.output.values());
			for (const uint16_t tensor : {each.input, each.second}) {
				if (tensor != NetStep::none && !is_outside_tensor(tensor))
					external[tensor] = true;
			}
		}
		for (const NetFile::Output &output : file_.outputs) {
			if (!is_outside_tensor(output.tensor))
				external[output.tensor] = true;
		}
		for (size_t tensor = 0; tensor < tensors; ++tensor) {
			if (!external[tensor])
				continue;
			externals_.push_back(tensor);
			buffers_[tensor].resize(file_.shape(static_cast<int>(tensor)).values() + read_beyond);
		}
	}
	bool is_outside_tensor(uint16_t tensor) const
	{
		return tensor > 0 && is_outside(file_.steps[tensor - size_t{1}].operation);
	}

	static std::vector<size_t> dimensions(const Shape &shape)
	{
		return {1, static_cast<size_t>(shape.height), static_cast<size_t>(shape.width),
			static_cast<size_t>(shape.channels)};
	}

	void define_external(uint32_t id)
	{
		const size_t tensor = externals_[id];
		const bool comes_in = tensor == 0 || file_.steps[tensor - 1].operation == NetOperation::Sample;
		const auto sides = dimensions(file_.shape(static_cast<int>(tensor)));
		demand(xnn_define_tensor_value(graph_, xnn_datatype_fp32, sides.size(), sides.data(), nullptr, id,
					       comes_in ? XNN_VALUE_FLAG_EXTERNAL_INPUT
							: XNN_VALUE_FLAG_EXTERNAL_OUTPUT,
					       &ids_[tensor]),
		       "an external tensor");
	}

	uint32_t define_value(const Shape &shape)
	{
		uint32_t id = XNN_INVALID_VALUE_ID;
		const auto sides = dimensions(shape);
		demand(xnn_define_tensor_value(graph_, xnn_datatype_fp32, sides.size(), sides.data(), nullptr,
					       XNN_INVALID_VALUE_ID, 0, &id),
		       "a tensor");
		return id;
	}
	// The next weights of the file.
	uint32_t define_weights(const std::vector<size_t> &sides)
	{
		size_t count = 1;
		for (const size_t side : sides)
			count *= side;
		std::vector<float> &values = constants_.emplace_back();
		for (size_t index = 0; index < count; ++index)
			values.push_back(half_to_float(file_.weights[next_weight_++]));
		uint32_t id = XNN_INVALID_VALUE_ID;
		demand(xnn_define_tensor_value(graph_, xnn_datatype_fp32, sides.size(), sides.data(), values.data(),
					       XNN_INVALID_VALUE_ID, 0, &id),
		       "weights");
		return id;
	}
	uint32_t target(size_t step)
	{
		uint32_t &id = ids_[step + 1];
		if (id == XNN_INVALID_VALUE_ID)
			id = define_value(file_.steps[step].output);
		return id;
	}

	void activate(NetActivation activation, uint32_t slopes, uint32_t in, uint32_t out)
	{
		switch (activation) {
		case NetActivation::PRelu:
			return demand(xnn_define_prelu(graph_, in, slopes, out, 0), "PReLU");
		case NetActivation::HardSwish:
			return demand(xnn_define_hardswish(graph_, in, out, 0), "hard swish");
		case NetActivation::Logistic:
			return demand(xnn_define_sigmoid(graph_, in, out, 0), "logistic");
		default:
			return demand(xnn_define_clamp(graph_, 0, no_limit, in, out, 0), "ReLU");
		}
	}

	// The residual with as many channels as the step's output.
	uint32_t residual_of(const NetStep &step)
	{
		const Shape shape = file_.shape(step.residual);
		if (shape.channels == step.output.channels)
			return ids_[step.residual];
		const uint32_t id = define_value(step.output);
		const size_t before[4] = {};
		const size_t after[4] = {0, 0, 0, static_cast<size_t>(step.output.channels - shape.channels)};
		demand(xnn_define_static_constant_pad(graph_, before, after, 0, ids_[step.residual], id, 0), "padding");
		return id;
	}

	void define_step(size_t number)
	{
		const NetStep &step = file_.steps[number];
		if (is_outside(step.operation))
			return;
		// The result goes through an inner activation, an addition and an outer one; the last writes the
		// tensor.
		const bool added = step.residual != NetStep::none;
		const bool has_inner = step.inner != NetActivation::None;
		const bool has_outer = step.outer != NetActivation::None && step.operation != NetOperation::Activate;
		uint32_t value = has_inner || added || has_outer ? define_value(step.output) : target(number);
		define_operation(step, value);
		if (has_inner) {
			const uint32_t next = define_value(step.output);
			activate(step.inner, XNN_INVALID_VALUE_ID, value, next);
			value = next;
		}
		if (added) {
			const uint32_t next = has_outer ? define_value(step.output) : target(number);
			demand(xnn_define_add2(graph_, -no_limit, no_limit, value, residual_of(step), next, 0),
			       "addition");
			value = next;
		}
		if (has_outer) {
			const uint32_t slopes = step.outer == NetActivation::PRelu
							? define_weights({static_cast<size_t>(step.output.channels)})
							: XNN_INVALID_VALUE_ID;
			activate(step.outer, slopes, value, target(number));
		}
	}

	void define_kernel(const NetStep &step, uint32_t out)
	{
		const Shape in = file_.shape(step.input);
		const auto height = static_cast<uint32_t>(step.kernel_height);
		const auto width = static_cast<uint32_t>(step.kernel_width);
		const auto stride = static_cast<uint32_t>(step.stride);
		const auto channels = static_cast<size_t>(in.channels);
		const auto outputs = static_cast<size_t>(step.output.channels);
		const auto after = [&](int output, int kernel, int before, int input) {
			return static_cast<uint32_t>(std::max(0, (output - 1) * step.stride + kernel - before - input));
		};
		const auto top = static_cast<uint32_t>(step.pad_top);
		const auto left = static_cast<uint32_t>(step.pad_left);
		const uint32_t bottom = after(step.output.height, step.kernel_height, step.pad_top, in.height);
		const uint32_t right = after(step.output.width, step.kernel_width, step.pad_left, in.width);
		if (step.operation == NetOperation::Depthwise) {
			const uint32_t weights = define_weights({1, height, width, channels});
			const uint32_t biases = define_weights({channels});
			return demand(xnn_define_depthwise_convolution_2d(
					      graph_, top, right, bottom, left, height, width, stride, stride, 1, 1, 1,
					      channels, -no_limit, no_limit, ids_[step.input], weights, biases, out, 0),
				      "depthwise convolution");
		}
		const uint32_t weights = define_weights({outputs, height, width, channels});
		const uint32_t biases = define_weights({outputs});
		demand(xnn_define_convolution_2d(graph_, top, right, bottom, left, height, width, stride, stride, 1, 1,
						 1, channels, outputs, -no_limit, no_limit, ids_[step.input], weights,
						 biases, out, 0),
		       "convolution");
	}

	void define_operation(const NetStep &step, uint32_t out)
	{
		const uint32_t in = ids_[step.input];
		switch (step.operation) {
		case NetOperation::Convolution:
		case NetOperation::Depthwise:
			return define_kernel(step, out);
		case NetOperation::Add:
			return demand(xnn_define_add2(graph_, -no_limit, no_limit, in, ids_[step.second], out, 0),
				      "add");
		case NetOperation::Multiply:
			return demand(xnn_define_multiply2(graph_, -no_limit, no_limit, in, ids_[step.second], out, 0),
				      "multiply");
		case NetOperation::Activate:
			return activate(step.outer, XNN_INVALID_VALUE_ID, in, out);
		case NetOperation::MaxPool:
			return demand(xnn_define_max_pooling_2d(graph_, 0, 0, 0, 0, 2, 2, 2, 2, 1, 1, -no_limit,
								no_limit, in, out, 0),
				      "pooling");
		case NetOperation::Mean:
			return demand(xnn_define_global_average_pooling_2d(graph_, -no_limit, no_limit, in, out, 0),
				      "mean");
		case NetOperation::Upsample:
			return demand(xnn_define_static_resize_bilinear_2d(
					      graph_, static_cast<size_t>(step.output.height),
					      static_cast<size_t>(step.output.width), in, out, 0),
				      "change of size");
		case NetOperation::Spread:
			return demand(xnn_define_depth_to_space(graph_, in, out, 2, 0), "spreading");
		default:
			throw std::runtime_error("an operation that the peer lacks");
		}
	}

	void join(size_t number)
	{
		const NetStep &step = file_.steps[number];
		auto next = buffers_[number + 1].begin();
		for (const uint16_t tensor : {step.input, step.second}) {
			if (tensor == NetStep::none || buffers_[tensor].empty())
				continue;
			const auto first = buffers_[tensor].begin();
			next = std::copy(first, first + static_cast<std::ptrdiff_t>(file_.shape(tensor).values()),
					 next);
		}
	}

	const NetFile file_;
	xnn_subgraph_t graph_ = nullptr;
	xnn_runtime_t runtime_ = nullptr;
	std::vector<size_t> externals_; // tensors, by the library's numbers
	std::vector<uint32_t> ids_;     // of tensors
	std::vector<bool> unknown_;     // tensors that the peer cannot work out
	std::vector<std::vector<float>> buffers_;
	std::deque<std::vector<float>> constants_;
	size_t next_weight_ = 0;
};

} // namespace

std::unique_ptr<NetsPeer> xnnpack_peer(const NetFile &file)
{
	return std::make_unique<XnnpackPeer>(file);
}

} // namespace kalvio::bench
