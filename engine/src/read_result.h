// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kalvio_engine.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace kalvio::engine {

using Bytes = std::vector<uint8_t>;

// The outcome of reading a file: KL_OK, KL_ERROR_FILE or KL_ERROR_FORMAT, and in words what was wrong.
struct ReadResult {
	int32_t status = KL_OK;
	std::string reason;

	explicit operator bool() const { return status == KL_OK; }
};

inline ReadResult bad_file(std::string reason)
{
	return {KL_ERROR_FILE, std::move(reason)};
}

inline ReadResult bad_format(std::string reason)
{
	return {KL_ERROR_FORMAT, std::move(reason)};
}

} // namespace kalvio::engine
