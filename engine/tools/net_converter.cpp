// SPDX-License-Identifier: GPL-2.0-or-later
#include "net_converter.h"

#include "nets/half.h"

#include <algorithm>
#include <map>
#include <optional>
#include <stdexcept>

namespace kalvio::engine {

namespace {

[[noreturn]] void refuse(const std::string &what)
{
	throw std::runtime_error("cannot be converted: " + what);
}

Shape shape_of(const TfliteTensor &tensor)
{
	const std::vector<int> &sides = tensor.shape;
	if (sides.size() == 4 && sides[0] == 1)
		return {sides[1], sides[2], sides[3]};
	if (sides.size() == 3 && sides[0] == 1)
		return {1, sides[1], sides[2]};
	refuse("the shape of " + tensor.name);
}

std::optional<NetActivation> activation_of(TfliteCode code)
{
	switch (code) {
	case TfliteCode::Relu:
		return NetActivation::Relu;
	case TfliteCode::PRelu:
		return NetActivation::PRelu;
	case TfliteCode::HardSwish:
		return NetActivation::HardSwish;
	case TfliteCode::Logistic:
		return NetActivation::Logistic;
	default:
		return std::nullopt;
	}
}

// What becomes one step: an operation, and what is done to its result alone afterwards.
struct Chain {
	int first;         // the operation
	int last;          // the step stands where this one does
	int addition = -1; // the operation that adds the residual
	int addend = -1;   // the tensor of the chain that is added to
	NetActivation inner = NetActivation::None;
	NetActivation outer = NetActivation::None;
	int slopes = -1; // a tensor
};

class Converter {
public:
	Converter(const TfliteModel &model, const std::vector<NetOutputRecipe> &outputs)
		: model_(model), recipes_(outputs)
	{
	}

	NetFile run()
	{
		count_users();
		find_chains();
		if (model_.inputs.size() != 1)
			refuse("more than one input");
		file_.input = shape_of(tensor(model_.inputs[0]));
		written_[model_.inputs[0]] = 0;
		for (size_t index = 0; index < model_.operations.size(); ++index)
			convert(static_cast<int>(index));
		for (const NetOutputRecipe &recipe : recipes_)
			add_output(recipe);
		return std::move(file_);
	}

private:
	const TfliteTensor &tensor(int index) const { return model_.tensors[static_cast<size_t>(index)]; }
	const TfliteOperation &operation(int index) const { return model_.operations[static_cast<size_t>(index)]; }
	int output_of(int index) const { return operation(index).outputs[0]; }

	// The half-precision values of a constant, also where the graph makes single precision of them.
	const std::vector<uint16_t> &halves(int index) const
	{
		const auto source = widened_.find(index);
		return tensor(source == widened_.end() ? index : source->second).halves;
	}
	bool is_constant(int index) const { return !halves(index).empty() || !tensor(index).integers.empty(); }

	void count_users()
	{
		for (size_t index = 0; index < model_.operations.size(); ++index) {
			const TfliteOperation &each = model_.operations[index];
			if (each.code == TfliteCode::Dequantize)
				widened_[each.outputs[0]] = each.inputs[0];
			if (each.activation != 0)
				refuse("an activation within an operation");
			for (const int input : each.inputs)
				users_[input].push_back(static_cast<int>(index));
		}
	}

	// The operation that alone uses a tensor; -1 where it is not the only one.
	int only_user(int index) const
	{
		const bool is_output =
			std::find(model_.outputs.begin(), model_.outputs.end(), index) != model_.outputs.end();
		const auto found = users_.find(index);
		return is_output || found == users_.end() || found->second.size() != 1 ? -1 : found->second[0];
	}

	// --- Chains -----------------------------------------------------------------------------------------------

	bool begins_chain(int index) const
	{
		const TfliteOperation &each = operation(index);
		return each.code == TfliteCode::Convolution || each.code == TfliteCode::Depthwise || is_gate(each) ||
		       each.code == TfliteCode::Add || each.custom_name == "Convolution2DTransposeBias";
	}
	bool is_gate(const TfliteOperation &each) const
	{
		return each.code == TfliteCode::Multiply && !is_constant(each.inputs[1]);
	}

	void find_chains()
	{
		for (int index = 0; index < static_cast<int>(model_.operations.size()); ++index) {
			if (!begins_chain(index) || joined_.count(index))
				continue;
			const Chain chain = find_chain(index);
			chains_.insert_or_assign(chain.last, chain);
		}
		for (const auto &[last, chain] : chains_)
			joined_.insert_or_assign(chain.first, last);
	}

	// Takes the operation behind `last` into the chain, if it can be.
	bool take_activation(Chain &chain, bool may_have_slopes, NetActivation &activation)
	{
		const int user = only_user(output_of(chain.last));
		if (user < 0)
			return false;
		const std::optional<NetActivation> found = activation_of(operation(user).code);
		if (!found || (*found == NetActivation::PRelu && !may_have_slopes))
			return false;
		activation = *found;
		if (*found == NetActivation::PRelu)
			chain.slopes = operation(user).inputs[1];
		chain.last = user;
		joined_.insert_or_assign(user, user);
		return true;
	}
	bool take_addition(Chain &chain)
	{
		const int result = output_of(chain.last);
		const int user = only_user(result);
		if (user < 0 || operation(user).code != TfliteCode::Add || joined_.count(user))
			return false;
		chain.addition = user;
		chain.addend = result;
		chain.last = user;
		joined_.insert_or_assign(user, user);
		return true;
	}

	Chain find_chain(int index)
	{
		Chain chain = {index, index};
		const bool may_be_added_to =
			operation(index).code != TfliteCode::Add && operation(index).code != TfliteCode::Custom;
		if (may_be_added_to && take_addition(chain)) {
			take_activation(chain, true, chain.outer);
			return chain;
		}
		// An activation before an addition is the inner one; else it is the outer one.
		Chain longer = chain;
		if (may_be_added_to && take_activation(longer, false, longer.inner) && take_addition(longer)) {
			take_activation(longer, true, longer.outer);
			return longer;
		}
		take_activation(chain, true, chain.outer);
		return chain;
	}

	// --- Steps ------------------------------------------------------------------------------------------------

	int written(int index) const
	{
		const auto found = written_.find(index);
		if (found == written_.end())
			refuse("the order of " + tensor(index).name);
		return found->second;
	}
	uint16_t add_step(const NetStep &step)
	{
		file_.steps.push_back(step);
		return static_cast<uint16_t>(file_.steps.size());
	}
	void add_weights(const std::vector<uint16_t> &values, size_t expected)
	{
		if (values.size() != expected)
			refuse("a number of weights");
		file_.weights.insert(file_.weights.end(), values.begin(), values.end());
	}

	// The tensor's values in a shape, by one more step where it has another one.
	uint16_t in_shape(int written_tensor, const Shape &shape)
	{
		if (file_.shape(written_tensor) == shape)
			return static_cast<uint16_t>(written_tensor);
		for (const auto &[source, copy] : reshaped_) {
			if (source == written_tensor && file_.shape(copy) == shape)
				return static_cast<uint16_t>(copy);
		}
		NetStep step;
		step.operation = NetOperation::Join;
		step.input = static_cast<uint16_t>(written_tensor);
		step.output = shape;
		const uint16_t copy = add_step(step);
		reshaped_.emplace_back(written_tensor, copy);
		return copy;
	}

	void convert(int index)
	{
		const auto chain = chains_.find(index);
		if (chain != chains_.end())
			return convert_chain(chain->second);
		if (joined_.count(index))
			return; // a part of a chain that ends later
		convert_single(index);
	}

	// What the chain adds: a tensor, perhaps before it was padded with channels of zeros.
	int residual_of(const Chain &chain) const
	{
		const std::vector<int> &inputs = operation(chain.addition).inputs;
		const int other = inputs[0] == chain.addend ? inputs[1] : inputs[0];
		const auto padded = padded_.find(other);
		return written(padded == padded_.end() ? other : padded->second);
	}

	void convert_chain(const Chain &chain)
	{
		const TfliteOperation &first = operation(chain.first);
		NetStep step;
		step.inner = chain.inner;
		step.outer = chain.outer;
		step.output = shape_of(tensor(first.outputs[0]));
		step.input = static_cast<uint16_t>(written(first.inputs[0]));
		if (chain.addition >= 0)
			step.residual = static_cast<uint16_t>(residual_of(chain));
		if (first.code == TfliteCode::Custom)
			return convert_transposed(chain, step);
		switch (first.code) {
		case TfliteCode::Convolution:
		case TfliteCode::Depthwise:
			describe_kernel(first, step);
			break;
		case TfliteCode::Multiply:
			step.operation = NetOperation::Multiply;
			step.second = static_cast<uint16_t>(written(first.inputs[1]));
			break;
		default:
			step.operation = NetOperation::Add;
			step.second = static_cast<uint16_t>(written(first.inputs[1]));
		}
		if (chain.slopes >= 0)
			add_weights(halves(chain.slopes), static_cast<size_t>(step.output.channels));
		written_[output_of(chain.last)] = add_step(step);
	}

	void describe_kernel(const TfliteOperation &each, NetStep &step)
	{
		const bool depthwise = each.code == TfliteCode::Depthwise;
		step.operation = depthwise ? NetOperation::Depthwise : NetOperation::Convolution;
		const std::vector<int> &sides = tensor(each.inputs[1]).shape;
		if (sides.size() != 4 || each.stride_height != each.stride_width || each.multiplier != 1)
			refuse("a kernel");
		step.kernel_height = sides[1];
		step.kernel_width = sides[2];
		step.stride = each.stride_height;
		if (each.same_padding) {
			const Shape input = file_.shape(step.input);
			const auto before = [&](int in, int out, int kernel) {
				return std::max(0, (out - 1) * step.stride + kernel - in) / 2;
			};
			step.pad_top = before(input.height, step.output.height, step.kernel_height);
			step.pad_left = before(input.width, step.output.width, step.kernel_width);
		}
		const auto outputs = static_cast<size_t>(step.output.channels);
		const auto inputs = depthwise ? size_t{1} : static_cast<size_t>(file_.shape(step.input).channels);
		const auto taps = static_cast<size_t>(step.kernel_height) * static_cast<size_t>(step.kernel_width);
		add_weights(halves(each.inputs[1]), outputs * taps * inputs);
		add_weights(halves(each.inputs[2]), outputs);
	}

	// A transposed 2 x 2 convolution to one channel, its own stride apart: four channels, spread to four pixels.
	void convert_transposed(const Chain &chain, NetStep step)
	{
		const TfliteOperation &first = operation(chain.first);
		const Shape input = file_.shape(step.input);
		const std::vector<int> expected = {1, 2, 2, input.channels};
		if (tensor(first.inputs[1]).shape != expected || chain.slopes >= 0)
			refuse("a transposed convolution");
		const Shape output = step.output;
		step.operation = NetOperation::Convolution;
		step.output = {input.height, input.width, 4};
		step.outer = NetActivation::None;
		add_weights(halves(first.inputs[1]), 4 * static_cast<size_t>(input.channels));
		add_weights(std::vector<uint16_t>(4, halves(first.inputs[2]).at(0)), 4);
		NetStep spread;
		spread.operation = NetOperation::Spread;
		spread.input = add_step(step);
		spread.output = output;
		spread.outer = chain.outer;
		written_[output_of(chain.last)] = add_step(spread);
	}

	void convert_single(int index)
	{
		const TfliteOperation &each = operation(index);
		const int result = each.outputs[0];
		switch (each.code) {
		case TfliteCode::Dequantize:
			return;
		case TfliteCode::Reshape:
		case TfliteCode::StridedSlice:
			return pass_on(each);
		case TfliteCode::Pad:
			return note_padding(each);
		case TfliteCode::Multiply:
			scaled_[result] = {each.inputs[0], halves(each.inputs[1])};
			return;
		case TfliteCode::Custom:
			return convert_geometry(each);
		default:
			break;
		}
		NetStep step;
		step.input = static_cast<uint16_t>(written(each.inputs[0]));
		step.output = shape_of(tensor(result));
		if (const std::optional<NetActivation> activation = activation_of(each.code)) {
			step.operation = NetOperation::Activate;
			step.outer = *activation;
			if (*activation == NetActivation::PRelu)
				add_weights(halves(each.inputs[1]), static_cast<size_t>(step.output.channels));
		} else {
			describe_plain(each, step);
		}
		written_[result] = add_step(step);
	}

	void describe_plain(const TfliteOperation &each, NetStep &step)
	{
		switch (each.code) {
		case TfliteCode::MaxPool:
			if (each.stride_width != 2 || each.stride_height != 2 || each.window_width != 2 ||
			    each.window_height != 2)
				refuse("a pooling");
			step.operation = NetOperation::MaxPool;
			return;
		case TfliteCode::Mean:
			if (tensor(each.inputs[1]).integers != std::vector<int32_t>{1, 2})
				refuse("a mean");
			step.operation = NetOperation::Mean;
			return;
		case TfliteCode::ResizeBilinear:
			if (each.align_corners || !each.half_pixel_centers)
				refuse("a change of size");
			step.operation = NetOperation::Upsample;
			return;
		case TfliteCode::Concatenation:
			if (each.inputs.size() != 2 || each.axis != 1 || step.output.height != 1)
				refuse("a concatenation");
			step.operation = NetOperation::Join;
			step.second = static_cast<uint16_t>(written(each.inputs[1]));
			return;
		default:
			refuse("operation " + std::to_string(static_cast<int>(each.code)));
		}
	}

	// The same values in another shape; in the same order, so that nothing need be done until somebody minds.
	void pass_on(const TfliteOperation &each)
	{
		const int source = written(each.inputs[0]);
		size_t values = 1;
		for (const int side : tensor(each.outputs[0]).shape)
			values *= static_cast<size_t>(side);
		if (file_.shape(source).values() != values)
			refuse("a part of a tensor");
		written_[each.outputs[0]] = source;
	}

	// More channels, which are 0, for an addition that a chain makes.
	void note_padding(const TfliteOperation &each)
	{
		const std::vector<int32_t> &amounts = tensor(each.inputs[1]).integers;
		const int user = only_user(each.outputs[0]);
		const bool channels_alone =
			amounts.size() == 8 &&
			std::all_of(amounts.begin(), amounts.end() - 1, [](int32_t amount) { return amount == 0; });
		if (!channels_alone || user < 0 || operation(user).code != TfliteCode::Add || !joined_.count(user))
			refuse("a padding");
		padded_[each.outputs[0]] = each.inputs[0];
	}

	// --- Crops ------------------------------------------------------------------------------------------------

	struct Scaled {
		int source;
		std::vector<uint16_t> factors;
	};

	const Scaled &scaled(int index) const
	{
		const auto found = scaled_.find(index);
		if (found == scaled_.end())
			refuse("a crop whose points or matrix are not scaled");
		return found->second;
	}

	void convert_geometry(const TfliteOperation &each)
	{
		NetStep step;
		if (each.custom_name == "Landmarks2TransformMatrix")
			step = crop_step(each);
		else if (each.custom_name == "TransformTensorBilinear")
			step = sample_step(each);
		else if (each.custom_name == "TransformLandmarks")
			step = move_step(each);
		else
			refuse("operation " + each.custom_name);
		const uint16_t result = add_step(step);
		written_[each.outputs[0]] = result;
		if (step.operation == NetOperation::CropMatrix)
			crop_lists_[result] = step.list;
		else if (step.operation == NetOperation::MovePoints)
			crop_lists_[result] = crop_lists_.at(step.second);
	}

	NetStep crop_step(const TfliteOperation &each)
	{
		const Scaled &points = scaled(each.inputs[0]);
		if (points.factors.size() != 1 || each.numbers.at("target_rotation_radians") != 0)
			refuse("a crop");
		NetStep step;
		step.operation = NetOperation::CropMatrix;
		step.input = in_shape(written(points.source), shape_of(tensor(each.inputs[0])));
		step.output = {1, 2, 3};
		step.unit = half_to_float(points.factors[0]);
		step.left_point = static_cast<uint16_t>(each.numbers.at("left_rotation_idx"));
		step.right_point = static_cast<uint16_t>(each.numbers.at("right_rotation_idx"));
		step.crop_width = static_cast<int>(each.numbers.at("output_width"));
		step.crop_height = static_cast<int>(each.numbers.at("output_height"));
		step.scale_x = static_cast<float>(each.numbers.at("scale_x"));
		step.scale_y = static_cast<float>(each.numbers.at("scale_y"));
		step.list = static_cast<uint16_t>(file_.lists.size());
		const std::vector<int> &subset = each.lists.at("subset_idxs");
		file_.lists.emplace_back(subset.begin(), subset.end());
		return step;
	}

	NetStep sample_step(const TfliteOperation &each) const
	{
		NetStep step;
		step.operation = NetOperation::Sample;
		step.input = static_cast<uint16_t>(written(each.inputs[0]));
		step.second = static_cast<uint16_t>(written(each.inputs[1]));
		step.output = shape_of(tensor(each.outputs[0]));
		return step;
	}

	NetStep move_step(const TfliteOperation &each)
	{
		// The 4 x 4 matrix: what multiplies x and y stays, the shift is in other units.
		const Scaled &matrix = scaled(each.inputs[1]);
		std::vector<float> factors;
		factors.reserve(matrix.factors.size());
		for (const uint16_t factor : matrix.factors)
			factors.push_back(half_to_float(factor));
		if (factors.size() != 16 || factors[0] != 1 || factors[1] != 1 || factors[4] != 1 || factors[5] != 1 ||
		    factors[3] != factors[7])
			refuse("the units of a matrix");
		NetStep step;
		step.operation = NetOperation::MovePoints;
		step.output = shape_of(tensor(each.outputs[0]));
		step.input = in_shape(written(each.inputs[0]), step.output);
		step.second = static_cast<uint16_t>(written(matrix.source));
		step.unit = factors[3];
		return step;
	}

	void add_output(const NetOutputRecipe &recipe)
	{
		const auto named = std::find_if(model_.outputs.begin(), model_.outputs.end(),
						[&](int index) { return tensor(index).name == recipe.name; });
		if (named == model_.outputs.end())
			refuse("no output " + recipe.name);
		const int source = written(*named);
		NetFile::Output output = {in_shape(source, recipe.shape), NetStep::none};
		if (recipe.refines == NetOutputRecipe::Refines::PointsOfItsCrop) {
			output.list = crop_lists_.at(source);
		} else if (recipe.refines == NetOutputRecipe::Refines::PointsFrom) {
			output.list = static_cast<uint16_t>(file_.lists.size());
			std::vector<uint16_t> points;
			points.reserve(static_cast<size_t>(recipe.shape.width));
			for (int point = 0; point < recipe.shape.width; ++point)
				points.push_back(static_cast<uint16_t>(recipe.first_point + point));
			file_.lists.push_back(std::move(points));
		}
		file_.outputs.push_back(output);
	}

	const TfliteModel &model_;
	const std::vector<NetOutputRecipe> &recipes_;
	NetFile file_;
	std::map<int, int> widened_;                // tensor -> the half-precision one
	std::map<int, std::vector<int>> users_;     // tensor -> operations
	std::map<int, Chain> chains_;               // by their last operation
	std::map<int, int> joined_;                 // operations within chains
	std::map<int, int> written_;                // the model's tensor -> the net's
	std::map<int, int> padded_;                 // tensor -> the one with fewer channels
	std::map<int, Scaled> scaled_;              // tensor -> what it is times constants
	std::map<int, uint16_t> crop_lists_;        // the net's matrices and moved points -> list
	std::vector<std::pair<int, int>> reshaped_; // the net's tensor -> its copy in another shape
};

} // namespace

NetFile convert_model(const TfliteModel &model, const std::vector<NetOutputRecipe> &outputs)
{
	return Converter(model, outputs).run();
}

} // namespace kalvio::engine
