// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "canvas.h"
#include "faces/face_geometry.h"
#include "image.h"
#include "nets/net_library.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

// Faces of nobody, painted on the average head that comes with the nets, whose points are known exactly. They are made
// to measure by, never to train with, and they are no photographs: what the nets reach on people shows on people.
namespace kalvio::engine::testing {

enum class FaceCondition {
	Base,    // roll, yaw and pitch to 10 degrees, 30 to 60 pixels between the eyes of 480 x 270
	DarkDim, // dark skin in a third of the light, with noise
	SideLight,
	Roll,  // 10 to 30 degrees
	Yaw,   // 15 to 45 degrees
	Pitch, // 12 to 25 degrees
	Glasses,
	Covered, // by something round, as large as a hand
	Small,   // 2.5 to 3.5 % of the width between the eyes
	Large,   // 15 to 19 %
	Blurred, // by 2 to 3 pixels
};
inline constexpr int face_condition_count = 11;
const char *name_of(FaceCondition condition);

// Everything about one made face but its motion.
struct FaceRecipe {
	int width = 480;
	int height = 270;
	uint32_t seed = 1;

	// Where and how it is held. Angles in degrees, signs as in HeadPose.
	Point center = {240, 130}; // of the head's pivot, in pixels
	float eye_distance = 40;   // seen from the front, in pixels
	float yaw = 0;
	float pitch = 0;
	float roll = 0;

	// The head: how much wider, longer and so on than the average one, and what it does.
	float face_width = 1;
	float jaw_width = 1;
	float chin_length = 0; // cm
	float nose_width = 1;
	float nose_length = 1;
	float eye_opening = 1;
	float eye_spacing = 0; // cm
	float lip_fullness = 1;
	float mouth_width = 1;
	float smile = 0;      // 0..1
	float mouth_open = 0; // cm
	Point gaze;           // cm

	Color skin = {0.55F, 0.33F, 0.24F};
	Color lips = {0.45F, 0.16F, 0.15F};
	Color hair = {0.06F, 0.04F, 0.03F};
	Color iris = {0.10F, 0.06F, 0.03F};
	Color cloth = {0.1F, 0.15F, 0.3F};
	float redness = 0.5F;
	float brow_strength = 0.8F;
	float beard = 0; // 0..1
	bool long_hair = false;
	int strands = 0;       // of hair that stand off
	bool portrait = false; // long hair falls behind the neck, the shoulders are whole
	bool glasses = false;
	bool sunglasses_tint = false;
	bool covered = false;
	Point cover_place;  // from the middle of the face, in eye distances
	Point cover_radius; // in eye distances

	Point3 light = {-0.4F, 0.5F, 0.75F}; // towards it: x right, y up, z to the camera
	Color light_color = {1, 1, 1};
	float ambient = 0.35F;
	CameraLook camera;
};

FaceRecipe make_recipe(FaceCondition condition, uint32_t seed);

inline constexpr int head_tone_count = 4;
// One of four people, from light to dark skin, who turns, nods and talks; `turn` is the part of the motion, 0..1, at
// whose ends the head looks ahead with its mouth closed. A picture of these measures has the head in its middle.
FaceRecipe moving_head(int tone, float turn, int width, int height);

// Paints made faces. Keeps what a recipe's pictures share, so that the frames of a video are quick.
class FacePainter {
public:
	explicit FacePainter(const HeadGeometry &head);
	~FacePainter();

	// Paints a face over its own background; `noise_seed` tells the frames of a video apart. Returns where its
	// points are. Recipes of one seed differ in how the face is held and in the camera alone.
	FacePoints paint(const FaceRecipe &recipe, uint32_t noise_seed, Image &image);
	// How much of each pixel of the last picture is the person, 0..1, without what glasses and covers add.
	void person_share(std::vector<float> &share) const { last_->solid_share(share); }
	// The last picture with the noise of another moment.
	void paint_again(const FaceRecipe &recipe, uint32_t noise_seed, Image &image) const;

private:
	struct HeadLines;
	struct Texture {
		static constexpr int side = 384;
		static constexpr float per_cm = 20.5F;
		std::vector<Color> pixels;

		Color at(Point cm) const;
	};
	enum class Part : uint8_t { Skin, Eye, Mouth };

	void bake(const FaceRecipe &recipe);
	Color skin_at(const FaceRecipe &recipe, Point cm) const;
	static Color eye_at(const FaceRecipe &recipe, Point from_iris, float below_lid);

	HeadGeometry head_;
	std::unique_ptr<const HeadLines> lines_;
	std::vector<Part> parts_; // of the triangles
	Texture texture_;
	std::optional<Canvas> background_;
	std::optional<Canvas> last_;
	std::optional<uint32_t> baked_seed_;
};

} // namespace kalvio::engine::testing
