// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <hwy/aligned_allocator.h>

#include <cstddef>
#include <new>
#include <utility>

namespace kalvio::engine {

// A block of plain numbers, aligned for the widest vectors. Its content is undefined after `ensure_capacity` made it
// larger.
template <typename Number>
class Aligned {
public:
	// At least `count` numbers. Memory is only taken when more is needed than ever before.
	Number *ensure_capacity(size_t count)
	{
		if (count > capacity_) {
			numbers_ = nullptr;
			capacity_ = 0;
			numbers_ = hwy::AllocateAligned<Number>(count);
			if (!numbers_)
				throw std::bad_alloc();
			capacity_ = count;
		}
		return numbers_.get();
	}

	void release()
	{
		numbers_ = nullptr;
		capacity_ = 0;
	}

	Number *data() { return numbers_.get(); }
	const Number *data() const { return numbers_.get(); }

private:
	hwy::AlignedFreeUniquePtr<Number[]> numbers_;
	size_t capacity_ = 0;
};

} // namespace kalvio::engine
