// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/picture.h"

#include <cstdint>
#include <functional>
#include <obs.hpp>
#include <string>

// Sources whose pixels and sizes a test decides. They exist in every session.
namespace kalvio::test {

void register_test_sources();

// A plain synchronous source that shows one picture, pixel for pixel.
OBSSourceAutoRelease create_picture_source(const std::string &name, const Picture &picture);

// Takes effect on the next frame; any thread.
void set_picture(obs_source_t *picture_source, const Picture &picture);

// Makes the source claim another size than its picture's and draw the picture that large; 0 x 0 as an inactive capture.
void set_reported_size(obs_source_t *picture_source, uint32_t width, uint32_t height);

// How often the source was drawn.
int render_count(obs_source_t *picture_source);

// A filter of another make: it draws its input through a texture of the host's and changes no pixel.
OBSSourceAutoRelease create_copying_filter(const std::string &name);

// Calls `action` once, on the graphics thread, when such a filter is drawn next and has not yet looked for its input.
void before_next_copy(std::function<void()> action);

// A source that is fed frames as a camera is.
OBSSourceAutoRelease create_async_source(const std::string &name);

// Feeds one frame and waits until the source shows it. The host composes some canvases with it meanwhile.
void output_frame(obs_source_t *async_source, const Picture &picture);

} // namespace kalvio::test
