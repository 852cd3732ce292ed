// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_tracker.h"
#include "stages/coarse_matte.h"
#include "stages/steady_matte.h"

#include <array>
#include <span>

namespace kalvio::engine {

// Heights on a standing adult, in face sizes (regions::face_size, the distance between the eyes) below the eyes.
namespace body_heights {
inline constexpr float chin = 1.85F;
inline constexpr float shoulders = 3.2F;
inline constexpr float chest = 5.7F;
inline constexpr float waist = 8.6F;
inline constexpr float hips = 11.2F;
inline constexpr float feet = 26;
} // namespace body_heights

// A person with a face: where the silhouette lies. In frame coordinates (face_geometry.h), steadied from frame to
// frame.
struct BodyFigure {
	struct Row {
		float left = 0;
		float right = 0; // at least `left`
		float axis = 0;  // the torso's middle, between the two
	};

	int face_number = 0; // TrackedFace::number
	float size = 0;      // of the face, pixels
	float eyes_y = 0;
	// Where the silhouette ends: the feet of a whole figure, or what stands in front of it. Where the frame cuts
	// the figure off, where its feet would be, at least a face size below the frame.
	float end_y = 0;
	float shown = 0;   // 0..1: fades in when the figure is found and out when it is lost
	float whole = 0;   // 0..1: how far the figure counts as one that stands in the frame from head to feet; `shown`
			   // is in it
	int first_row = 0; // rows above it say nothing
	// By the matte's rows. Those below the silhouette repeat its last.
	std::array<Row, SteadyMatte::rows> rows{};

	float height_of(float sizes_below_eyes) const { return eyes_y + sizes_below_eyes * size; }
};

// Finds the silhouettes of people with faces in the rows of the matte.
//
// From the chin downwards the runs of each row that touch those of the row above belong to a figure: so do arms that
// hang down, and nobody who stands apart. A figure reaches no farther to a side than an arm does at rest, and not
// beyond the middle between its face and the next one. A person without a face is in no figure.
//
// Whether a figure is whole is decided with hysteresis and faded, so that a foot at the frame's edge does not flicker.
class BodyShape {
public:
	// Takes in the next frame of this size. `matte` covers the frame and is faded by `presence`, 0..1
	// (SteadyMatte::matte and presence). `seconds`, at least 0, have passed since the last call.
	void update(const CoarseMatte &matte, float presence, int width, int height, std::span<const TrackedFace> faces,
		    float seconds);
	// Forgets all figures: the next frame's are taken as they are.
	void restart() { count_ = 0; }

	// One for each face below which there is a silhouette, with those that still fade out. Valid until the next
	// update.
	std::span<const BodyFigure> figures() const { return {figures_.data(), size_t(count_)}; }

private:
	// What one frame's matte says about a figure.
	struct Sight {
		bool found = false;
		float eyes_y = 0;
		float size = 0;
		float end_y = 0;
		bool is_cut_off = false; // by the frame's lower edge
		int first_row = 0;
		std::array<BodyFigure::Row, SteadyMatte::rows> rows{};
	};
	// What is remembered of a figure besides what is shown of it.
	struct Memory {
		float shown = 0; // 0..1, without the face's presence
		float whole = 0;
		bool is_whole = false;
		float contrary_s = 0; // for how long the frames have said the contrary of `is_whole`
	};

	void look(const TrackedFace &face, std::span<const TrackedFace> faces, const CoarseMatte &matte,
		  float threshold);
	void follow_runs(const CoarseMatte &matte, float threshold, float axis, int first_column, int end_column);
	void smooth_rows(const CoarseMatte &matte);
	void follow(const TrackedFace &face, float seconds);
	static void follow_whole(const Sight &sight, int height, float seconds, Memory &memory);

	Sight sight_;
	int width_ = 0;
	int height_ = 0;
	int count_ = 0;
	std::array<BodyFigure, max_tracked_faces> figures_{};
	std::array<Memory, max_tracked_faces> memories_{};
};

} // namespace kalvio::engine
