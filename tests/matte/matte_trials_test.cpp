// SPDX-License-Identifier: GPL-2.0-or-later
#include "face_trials.h"
#include "matte_report.h"
#include "matte_trials.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

namespace kalvio::engine::testing {
namespace {

class MatteTrialsTest : public ::testing::Test {
protected:
	MatteTrialsTest()
	{
		try {
			nets = load_nets(KALVIO_DATA_DIR "/resource.kld");
		} catch (const std::runtime_error &) {
			return;
		}
		trials = std::make_unique<MatteTrials>(nets, shipped_rooms(KALVIO_DATA_DIR));
	}
	void SetUp() override
	{
		if (!trials)
			GTEST_SKIP() << "the bundle has no nets";
	}

	NetLibrary nets;
	std::unique_ptr<MatteTrials> trials;
};

TEST_F(MatteTrialsTest, PeopleInRoomsAreCutOut)
{
	const MatteResult result = trials->try_people(Surroundings::Rooms, FaceCondition::Base, Hair::Short, 4);
	EXPECT_GE(result.mean_iou, 0.975);
	EXPECT_GE(result.worst_iou, 0.93);
}

TEST_F(MatteTrialsTest, DarkPeopleInDimRoomsAreCutOut)
{
	const MatteResult result = trials->try_people(Surroundings::Rooms, FaceCondition::DarkDim, Hair::Short, 4);
	EXPECT_GE(result.mean_iou, 0.94);
	EXPECT_GE(result.worst_iou, 0.88);
}

TEST_F(MatteTrialsTest, BothOfTwoPeopleAreCutOut)
{
	MadePerson left = trials->person_in(Surroundings::Rooms, FaceCondition::Base, 1);
	MadePerson right = left;
	right.recipe.seed += 40;
	left.recipe.center.x = 260;
	right.recipe.center.x = 700;
	for (MadePerson *person : {&left, &right})
		paint_person(trials->painter(), *person);
	put_before(trials->room(1), left);
	add_person(right, left);
	EXPECT_GE(matte_iou(trials->still_matte(left), left.truth), 0.93);
}

TEST_F(MatteTrialsTest, TheMatteOfAStillPersonDoesNotFlicker)
{
	EXPECT_LE(trials->flicker(FaceCondition::Base, 3, 10), 0.1);
}

TEST_F(MatteTrialsTest, TheMatteKeepsUpWithAPersonWhoMoves)
{
	EXPECT_LE(trials->motion_loss(3), 0.002);
}

TEST_F(MatteTrialsTest, TheBlurIsThatOfTheKnownMatteInTheKnownBackground)
{
	const BlurErrors errors = blur_errors(*trials, 4);
	EXPECT_LE(errors.mean_levels, 1);
	EXPECT_GE(errors.within_a_level_percent, 90);
}

} // namespace
} // namespace kalvio::engine::testing
