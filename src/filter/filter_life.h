// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <obs.h>

namespace kalvio {

// The source type's callbacks but for drawing and properties. They may throw std::bad_alloc; filter_source.cpp keeps
// that from the host.

const char *filter_get_name(void *type_data);

// Any thread. Without an engine the instance is kept and passes its source through until an engine can be made.
void *filter_create(obs_data_t *settings, obs_source_t *source);

// Any thread, when the host holds no more references. A null `data` does nothing.
void filter_destroy(void *data);

// Any thread; the host calls it on the graphics thread. A null `data` does nothing.
void filter_update(void *data, obs_data_t *settings);

// Size of the filtered source in pixels; 0 without an instance or a target.
uint32_t filter_get_width(void *data);
uint32_t filter_get_height(void *data);

} // namespace kalvio
