// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <util/bmem.h>

namespace kalvio::test {

// The host's own count of what it has handed out and not got back, measured from where this was made.
class AllocationCheck {
public:
	long outstanding() const { return bnum_allocs() - at_start_; }

private:
	long at_start_ = bnum_allocs();
};

} // namespace kalvio::test
