// SPDX-License-Identifier: GPL-2.0-or-later
#include "faces/face_tracker.h"

#include "faces/face_regions.h"
#include "marker_nets.h"
#include "pool.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <string>
#include <utility>

namespace kalvio::engine::testing {
namespace {

constexpr double frame_s = 1.0 / 30;
constexpr int width = 640;
constexpr int height = 360;

class FaceTrackerTest : public ::testing::Test {
protected:
	std::span<const TrackedFace> show(const Picture &picture, int frames = 1)
	{
		for (int frame = 0; frame < frames; ++frame) {
			now_s += frame_s;
			tracker.update(frame_of(picture, output), now_s, pool);
		}
		return tracker.faces();
	}
	std::span<const TrackedFace> show(const std::vector<MarkedFace> &faces, int frames = 1)
	{
		return show(marked_picture(width, height, faces), frames);
	}
	// The tracked face at this place, or null.
	const TrackedFace *at(const MarkedFace &face)
	{
		for (const TrackedFace &tracked : tracker.faces()) {
			if (distance(regions::eyes_middle(tracked.points), face.center) < 0.3F * face.eye_distance)
				return &tracked;
		}
		return nullptr;
	}
	float presence_at(const MarkedFace &face)
	{
		const TrackedFace *tracked = at(face);
		return tracked != nullptr ? tracked->presence : 0;
	}

	MarkerNetPlan plan;
	Pool pool{1};
	FaceTracker tracker{marker_nets(plan), marker_head()};
	Picture output{width, height};
	double now_s = 100;
};

TEST_F(FaceTrackerTest, AFaceThatIsThereFromTheBeginningIsTakenInTheFirstFrame)
{
	const MarkedFace face = {{300, 150}};
	ASSERT_EQ(show({face}, 1).size(), 1U);
	const TrackedFace &tracked = tracker.faces()[0];
	EXPECT_EQ(tracked.presence, 1);
	EXPECT_LT(distance(tracked.points[regions::left_iris_center].flat(), face.left_eye()), 1);
	for (const float confidence : tracked.confidence)
		EXPECT_EQ(confidence, 1);
}

TEST_F(FaceTrackerTest, TheFirstFrameLooksNoFurtherThanAFace)
{
	show({MarkedFace{{300, 150}}});
	ASSERT_EQ(tracker.faces().size(), 1U);
	EXPECT_EQ(plan.detector_runs, 2 + 2); // views; the face's square, upright and turned over
	EXPECT_EQ(plan.mesh_runs, 2 + 2);     // to lie on the face, and to see whether it stays there
	// A second one is found by the views that are still to come, and fades in.
	EXPECT_EQ(show({MarkedFace{{300, 150}}, MarkedFace{{560, 150}}}, 30).size(), 2U);
}

TEST_F(FaceTrackerTest, AFaceThatComesIsTakenWithinATenthOfASecondAndFadesIn)
{
	const MarkedFace face = {{300, 150}};
	show(std::vector<MarkedFace>{}, 1);
	EXPECT_TRUE(show({face}, 1).empty());
	ASSERT_EQ(show({face}, 3).size(), 1U);
	EXPECT_GT(tracker.faces()[0].presence, 0);
	EXPECT_LT(tracker.faces()[0].presence, 0.5F);
	ASSERT_EQ(show({face}, 10).size(), 1U);
	const TrackedFace &tracked = tracker.faces()[0];
	EXPECT_EQ(tracked.presence, 1);
	EXPECT_NEAR(tracked.size, 0.92F * 1.1F * 60, 1);
	EXPECT_LT(distance(tracked.points[regions::left_iris_center].flat(), face.left_eye()), 1);
	EXPECT_LT(distance(tracked.points[regions::right_iris_center].flat(), face.right_eye()), 1);
	EXPECT_LT(distance(regions::mouth_middle(tracked.points), face.mouth_center()), 1.5F);
	for (const float confidence : tracked.confidence)
		EXPECT_GT(confidence, 0.9F);
	EXPECT_NEAR(tracked.pose.roll(), 0, 0.03);
}

TEST_F(FaceTrackerTest, ASmallFaceIsFoundWithinASecond)
{
	// 1.5 % of the frame's width between the eyes; the corners are the worst places.
	output = Picture(1280, 720);
	for (const Point center : {Point{200, 150}, Point{640, 330}, Point{1150, 600}}) {
		const MarkedFace face = {center, 20};
		tracker.reset();
		const Picture picture = marked_picture(1280, 720, {face});
		show(picture, 30);
		EXPECT_NE(at(face), nullptr) << center.x;
	}
}

TEST_F(FaceTrackerTest, OneFaceInManyViewsIsOneFace)
{
	const MarkedFace face = {{250, 140}, 50};
	for (int frame = 0; frame < 90; ++frame) {
		const size_t count = show({face}).size();
		ASSERT_LE(count, 1U);
		ASSERT_TRUE(frame < 6 || count == 1);
	}
	EXPECT_EQ(tracker.faces()[0].number, 1);
}

TEST_F(FaceTrackerTest, FourOfFortyFacesAreFollowed)
{
	std::vector<MarkedFace> faces;
	for (int index = 0; index < 40; ++index)
		faces.push_back({{40.0F + 62.0F * float(index % 10), 40.0F + 80.0F * float(index / 10)}, 20});
	show(faces, 60);
	ASSERT_EQ(tracker.faces().size(), 4U);
	for (size_t index = 0; index < 4; ++index) {
		for (size_t other = index + 1; other < 4; ++other)
			EXPECT_GT(distance(regions::eyes_middle(tracker.faces()[index].points),
					   regions::eyes_middle(tracker.faces()[other].points)),
				  30);
	}
}

TEST_F(FaceTrackerTest, NoViewIsLookedAtWhileFourFacesAreFollowed)
{
	std::vector<MarkedFace> faces;
	for (const float x : {80.0F, 240.0F, 400.0F, 560.0F})
		faces.push_back({{x, 150}, 40});
	ASSERT_EQ(show(faces, 30).size(), 4U);
	const int before = plan.detector_runs;
	show(faces, 60);
	// Each face is checked every 15th frame, and nothing else.
	EXPECT_LE(plan.detector_runs - before, 4 * 60 / 15);
	EXPECT_GE(plan.detector_runs - before, 4 * 60 / 15 - 4);
}

TEST_F(FaceTrackerTest, AMovingFaceIsFollowed)
{
	int number = 0;
	for (int frame = 0; frame < 120; ++frame) {
		const float phase = 2 * std::numbers::pi_v<float> * float(frame) / 60;
		const MarkedFace face = {{320 + 150 * std::sin(phase), 150 + 40 * std::cos(phase)}, 50};
		show({face});
		if (frame < 15)
			continue;
		const TrackedFace *tracked = at(face);
		ASSERT_NE(tracked, nullptr) << frame;
		number = number == 0 ? tracked->number : number;
		EXPECT_EQ(tracked->number, number);
		EXPECT_LT(distance(regions::eyes_middle(tracked->points), face.center), 4) << frame;
	}
}

TEST_F(FaceTrackerTest, AFaceIsFollowedUpsideDown)
{
	for (int degrees = 0; degrees <= 180; degrees += 3) {
		const float angle = float(degrees) * std::numbers::pi_v<float> / 180;
		const MarkedFace face = {{320, 180}, 50, {std::cos(angle), std::sin(angle)}};
		show({face}, degrees == 0 ? 15 : 1);
		const TrackedFace *tracked = at(face);
		ASSERT_NE(tracked, nullptr) << degrees;
		EXPECT_LT(distance(tracked->points[regions::left_iris_center].flat(), face.left_eye()), 4) << degrees;
	}
}

TEST_F(FaceTrackerTest, AFaceThatLeavesFadesWhereItWas)
{
	const MarkedFace face = {{300, 150}};
	show({face}, 20);
	ASSERT_EQ(tracker.faces().size(), 1U);
	const Point before = regions::eyes_middle(tracker.faces()[0].points);
	float presence = 1;
	int frames = 0;
	while (!show(std::vector<MarkedFace>{}).empty()) {
		const TrackedFace &tracked = tracker.faces()[0];
		EXPECT_LE(tracked.presence, presence);
		EXPECT_GT(tracked.presence, presence - 0.2F);
		EXPECT_LE(tracked.confidence[0], tracked.presence);
		presence = tracked.presence;
		ASSERT_LT(++frames, 15);
	}
	EXPECT_GT(frames, 5);
	EXPECT_LT(presence, 0.2F);
	EXPECT_LT(distance(before, face.center), 1);
}

TEST_F(FaceTrackerTest, AMeshWithoutTheDetectorsWordIsNotBelieved)
{
	// The detector finds the face in its views, then never again within the mesh's square.
	plan.flag_always = true;
	show(std::vector<MarkedFace>{}, 1);
	MarkedFace face = {{300, 150}};
	for (int round = 0; round < 20; ++round) {
		face.mouth = true;
		EXPECT_TRUE(show({face}, 1).empty());
		face.mouth = false;
		EXPECT_TRUE(show({face}, 5).empty());
	}
	EXPECT_GT(plan.mesh_runs, 20);
}

TEST_F(FaceTrackerTest, AFaceIsHarderToTakeThanToKeep)
{
	const std::vector<MarkedFace> face = {{{300, 150}}};
	plan.score_logit = 1.4F; // 0.80
	plan.mesh_pull = 0.5F;
	EXPECT_TRUE(show(face, 40).empty()) << "the mesh follows its crop";
	plan.mesh_pull = 0;
	plan.mesh_depth = 4;
	EXPECT_TRUE(show(face, 40).empty()) << "the mesh is no head's";
	plan.mesh_depth = 1;
	plan.score_logit = 0.5F; // 0.62
	EXPECT_TRUE(show(face, 40).empty()) << "the detector is not sure";
	plan.score_logit = 1.4F;
	EXPECT_EQ(show(face, 10).size(), 1U);
	plan.mesh_pull = 0.3F;
	plan.mesh_depth = 4;
	plan.score_logit = 0.8F; // 0.69
	EXPECT_EQ(show(face, 60).size(), 1U);
	plan.score_logit = 0.5F;
	EXPECT_TRUE(show(face, 60).empty());
}

TEST_F(FaceTrackerTest, ThreeMissesInARowLoseAFace)
{
	MarkedFace face = {{300, 150}};
	show({face}, 30);
	plan.flag_always = true; // the mesh goes on
	face.mouth = false;
	int frames = 0;
	while (!show({face}).empty())
		ASSERT_LT(++frames, 40);
	EXPECT_GE(frames, 3);
}

TEST_F(FaceTrackerTest, AMissOrTwoDoNotLoseAFace)
{
	MarkedFace face = {{300, 150}};
	show({face}, 30);
	for (int round = 0; round < 6; ++round) {
		plan.flag_logit = -3;
		show({face}, 2);
		plan.flag_logit = 8;
		show({face}, 12);
		ASSERT_EQ(tracker.faces().size(), 1U);
		EXPECT_EQ(tracker.faces()[0].number, 1);
		EXPECT_EQ(tracker.faces()[0].presence, 1);
	}
}

TEST_F(FaceTrackerTest, FacesThatCrossAreNeverTwiceOnOneFace)
{
	for (int frame = 0; frame < 150; ++frame) {
		const float way = std::clamp((float(frame) - 30) / 60, 0.0F, 1.0F);
		// The second one is drawn in front.
		const MarkedFace behind = {{120 + 400 * way, 150}, 50};
		const MarkedFace before = {{520 - 400 * way, 160}, 55};
		show({behind, before});
		int on_the_front_face = 0;
		for (const TrackedFace &tracked : tracker.faces())
			on_the_front_face += distance(regions::eyes_middle(tracked.points), before.center) < 12 &&
					     tracked.presence > 0.5F;
		EXPECT_LE(on_the_front_face, 1) << frame;
		if (frame > 15) {
			const TrackedFace *front = at(before);
			ASSERT_NE(front, nullptr) << frame;
			EXPECT_GT(front->presence, 0.5F) << frame;
		}
		if ((frame > 15 && frame < 40) || frame > 110) {
			ASSERT_NE(at(behind), nullptr) << frame;
			EXPECT_NE(at(behind), at(before));
		}
	}
}

TEST_F(FaceTrackerTest, ACoveredPartLosesItsConfidenceAloneAndGetsItBack)
{
	const MarkedFace face = {{300, 150}, 80};
	show({face}, 40);
	const auto confidence = [&](FaceGroup group) {
		return tracker.faces()[0].confidence[size_t(group)];
	};
	ASSERT_EQ(tracker.faces().size(), 1U);
	EXPECT_EQ(confidence(FaceGroup::Lips), 1);
	EXPECT_EQ(confidence(FaceGroup::Eyes), 1);

	// The nets still know where the mouth is; its colors are a hand's.
	plan.finds_without_mouth = true;
	Picture covered = marked_picture(width, height, {face});
	const Point mouth = face.mouth_center();
	for (int y = int(mouth.y) - 20; y < int(mouth.y) + 20; ++y) {
		for (int x = int(mouth.x) - 45; x < int(mouth.x) + 45; ++x)
			std::fill_n(covered.pixel(x, y), 3, uint8_t(170));
	}
	show(covered, 4);
	ASSERT_EQ(tracker.faces().size(), 1U);
	const float soon = confidence(FaceGroup::Lips);
	EXPECT_LT(soon, 0.9F);
	EXPECT_GT(soon, 0.1F); // it fades
	show(covered, 6);
	ASSERT_EQ(tracker.faces().size(), 1U);
	EXPECT_LT(confidence(FaceGroup::Lips), 0.1F);
	EXPECT_EQ(confidence(FaceGroup::Eyes), 1);
	EXPECT_EQ(confidence(FaceGroup::Nose), 1);
	show({face}, 15);
	EXPECT_EQ(confidence(FaceGroup::Lips), 1);
}

TEST_F(FaceTrackerTest, ALightThatChangesCoversNothing)
{
	const Picture lit = marked_picture(width, height, {MarkedFace{{300, 150}, 80}});
	show(lit, 30);
	Picture darker = lit;
	for (size_t index = 0; index < darker.bytes.size(); ++index) {
		if (index % 4 != 3)
			darker.bytes[index] = uint8_t(darker.bytes[index] * (index % 4 == 2 ? 0.6 : 0.75));
	}
	show(darker, 10);
	ASSERT_EQ(tracker.faces().size(), 1U);
	for (const float confidence : tracker.faces()[0].confidence)
		EXPECT_GT(confidence, 0.9F);
}

TEST_F(FaceTrackerTest, AnotherSizeOrALongGapStartsFromNothing)
{
	show({MarkedFace{{300, 150}}}, 20);
	ASSERT_EQ(tracker.faces().size(), 1U);
	EXPECT_EQ(tracker.faces()[0].number, 1);
	now_s += 0.6;
	ASSERT_EQ(show({MarkedFace{{300, 150}}}).size(), 1U);
	EXPECT_EQ(tracker.faces()[0].number, 2);
	now_s += 0.6;
	EXPECT_TRUE(show(std::vector<MarkedFace>{}).empty());
	ASSERT_EQ(show({MarkedFace{{300, 150}}}, 20).size(), 1U);
	output = Picture(1280, 720);
	ASSERT_EQ(show(marked_picture(1280, 720, {{{600, 250}, 60}})).size(), 1U);
	EXPECT_EQ(tracker.faces()[0].number, 4);
}

TEST_F(FaceTrackerTest, FramesWithoutFacesHaveNone)
{
	for (const auto &[columns, rows] : {std::pair(1, 1), std::pair(2, 3000), std::pair(640, 360)}) {
		for (const int kind : {0, 255, 300}) { // black, white, noise
			Picture picture = noise_picture(columns, rows, 9);
			if (kind < 256)
				std::fill(picture.bytes.begin(), picture.bytes.end(), uint8_t(kind));
			output = Picture(columns, rows);
			for (int frame = 0; frame < 25; ++frame)
				ASSERT_TRUE(show(picture).empty());
		}
	}
}

TEST_F(FaceTrackerTest, NetsThatGiveNoNumbersGiveNoFaces)
{
	const MarkedFace face = {{300, 150}};
	show({face}, 20);
	plan.not_a_number = true;
	for (int frame = 0; frame < 40; ++frame) {
		for (const TrackedFace &tracked : show({face})) {
			for (const Point3 &point : tracked.points)
				ASSERT_TRUE(std::isfinite(point.x + point.y + point.z));
		}
	}
	EXPECT_TRUE(tracker.faces().empty());
	plan.not_a_number = false;
	EXPECT_EQ(show({face}, 20).size(), 1U);
}

TEST_F(FaceTrackerTest, TheNumberOfThreadsChangesNothing)
{
	std::vector<TrackedFace> reference;
	for (const int threads : {1, 2, 4}) {
		MarkerNetPlan other_plan;
		Pool other_pool(threads);
		FaceTracker other(marker_nets(other_plan), marker_head());
		std::vector<TrackedFace> seen;
		for (int frame = 0; frame < 40; ++frame) {
			const float way = 2 * float(frame);
			const Picture picture = marked_picture(
				width, height, {{{150 + way, 150}, 50}, {{500 - way, 170}, 45}, {{320, 60}, 25}});
			other.update(frame_of(picture, output), 7 + frame * frame_s, other_pool);
			seen.insert(seen.end(), other.faces().begin(), other.faces().end());
		}
		if (reference.empty())
			reference = seen;
		ASSERT_GT(reference.size(), 60U);
		ASSERT_EQ(seen.size(), reference.size()) << threads;
		for (size_t index = 0; index < seen.size(); ++index) {
			EXPECT_EQ(std::memcmp(seen[index].points.data(), reference[index].points.data(),
					      sizeof(FacePoints)),
				  0);
			EXPECT_EQ(seen[index].confidence, reference[index].confidence);
			EXPECT_EQ(seen[index].number, reference[index].number);
		}
	}
}

} // namespace
} // namespace kalvio::engine::testing
