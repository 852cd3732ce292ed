// SPDX-License-Identifier: GPL-2.0-or-later
#include "nets/net.h"

#include "nets/net_file.h"
#include "nets/net_program.h"

namespace kalvio::engine {

Net::Net(std::unique_ptr<const NetProgram> program) : program_(std::move(program)) {}

Net::~Net() = default;

Shape Net::input_shape() const
{
	return program_->file.input;
}

int Net::output_count() const
{
	return static_cast<int>(program_->file.outputs.size());
}

Shape Net::output_shape(int index) const
{
	return program_->file.shape(program_->file.outputs[static_cast<size_t>(index)].tensor);
}

std::span<const uint16_t> Net::refined_indices(int index) const
{
	const uint16_t list = program_->file.outputs[static_cast<size_t>(index)].list;
	if (list == NetStep::none)
		return {};
	return program_->file.lists[list];
}

ReadResult read_net(std::span<const uint8_t> bytes, std::shared_ptr<const Net> &net)
{
	net = nullptr;
	NetFile file;
	if (ReadResult result = parse_net(bytes, file); !result)
		return result;
	if (ReadResult result = check_net(file); !result)
		return result;
	net = std::make_shared<const Net>(std::make_unique<const NetProgram>(std::move(file)));
	return {};
}

} // namespace kalvio::engine
