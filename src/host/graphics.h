// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <graphics/graphics.h>
#include <memory>
#include <obs.h>

// Owners of libobs's GPU objects and of its graphics state. Everything here must be made, used and destroyed inside the
// graphics context: in a render callback, or while a GraphicsLock is held.
namespace kalvio {

// Holds the graphics context, which one thread at a time can enter. Any thread; may be nested.
class GraphicsLock {
public:
	GraphicsLock() { obs_enter_graphics(); }
	~GraphicsLock() { obs_leave_graphics(); }
	GraphicsLock(const GraphicsLock &) = delete;
	GraphicsLock &operator=(const GraphicsLock &) = delete;
};

struct TextureRenderDeleter {
	void operator()(gs_texrender_t *target) const { gs_texrender_destroy(target); }
};
using TextureRenderPtr = std::unique_ptr<gs_texrender_t, TextureRenderDeleter>;

struct StagingSurfaceDeleter {
	void operator()(gs_stagesurf_t *surface) const { gs_stagesurface_destroy(surface); }
};
using StagingSurfacePtr = std::unique_ptr<gs_stagesurf_t, StagingSurfaceDeleter>;

struct TextureDeleter {
	void operator()(gs_texture_t *texture) const { gs_texture_destroy(texture); }
};
using TexturePtr = std::unique_ptr<gs_texture_t, TextureDeleter>;

// Draws into a render target until it goes out of scope. `target` was reset before.
class RenderTargetScope {
public:
	RenderTargetScope(gs_texrender_t *target, uint32_t width, uint32_t height)
		: target_(target), begun_(gs_texrender_begin(target, width, height))
	{
	}
	~RenderTargetScope()
	{
		if (begun_)
			gs_texrender_end(target_);
	}
	RenderTargetScope(const RenderTargetScope &) = delete;
	RenderTargetScope &operator=(const RenderTargetScope &) = delete;

	// False when libobs cannot draw into the target.
	bool has_begun() const { return begun_; }

private:
	gs_texrender_t *target_;
	bool begun_;
};

// Keeps the blend state and brings it back at the end of the scope.
class BlendStateScope {
public:
	BlendStateScope() { gs_blend_state_push(); }
	~BlendStateScope() { gs_blend_state_pop(); }
	BlendStateScope(const BlendStateScope &) = delete;
	BlendStateScope &operator=(const BlendStateScope &) = delete;
};

// A mapped staging surface; unmapped at the end of the scope.
class MappedSurface {
public:
	explicit MappedSurface(gs_stagesurf_t *surface)
		: surface_(surface), mapped_(gs_stagesurface_map(surface, &data_, &row_bytes_))
	{
	}
	~MappedSurface()
	{
		if (mapped_)
			gs_stagesurface_unmap(surface_);
	}
	MappedSurface(const MappedSurface &) = delete;
	MappedSurface &operator=(const MappedSurface &) = delete;

	// Null when it could not be mapped.
	const uint8_t *data() const { return mapped_ ? data_ : nullptr; }
	uint32_t row_bytes() const { return row_bytes_; }

private:
	uint8_t *data_ = nullptr;
	uint32_t row_bytes_ = 0;
	gs_stagesurf_t *surface_;
	bool mapped_;
};

} // namespace kalvio
