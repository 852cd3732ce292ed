// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "aligned.h"
#include "frame.h"
#include "settings.h"
#include "stages/makeup_light.h"
#include "stages/makeup_patch.h"
#include "stages/retouch_field.h"

#include <array>

namespace kalvio::engine {

class Pool;
struct MakeupScene;

// Puts makeup on the faces of a frame. Before the rows, `build` paints what each item does to the light of a face on
// small patches: soft ones coarse over the whole face, fine ones round the eyes and the mouth. `apply_row` then changes
// the pixels of a row by what the patches say. Pigments stain the light that is there, in linear light, so that texture
// and highlights stay; how strongly follows the confidence of the face's parts, so that makeup fades and never pops.
class MakeupStage {
public:
	// Whether the settings ask for any makeup.
	static bool is_needed(const Settings &settings);

	// Takes in the faces of the next frame. Takes memory only where a face is larger than ever before.
	void build(const Frame &frame, const Settings &settings, const SeenFaces &seen, Pool &pool);
	// Changes row `y` of the frame in place, in scratch memory that can be read and written some pixels beyond its
	// end. `slot` is below the pool's threads. What was built stays as it is.
	void apply_row(int y, int slot, int width, uint8_t *row);

private:
	enum Part { Cheeks, LeftEye, RightEye, Lips, parts };

	static void paint(Part part, const MakeupScene &scene, MakeupPatch &patch);
	void apply_face(size_t face, int y, float *scratch, int width, uint8_t *row) const;

	FaceLights lights_;
	std::array<std::array<MakeupPatch, parts>, max_tracked_faces> patches_;
	int face_count_ = 0;
	Aligned<float> rows_;
	size_t slot_floats_ = 0;
};

} // namespace kalvio::engine
