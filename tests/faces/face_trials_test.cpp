// SPDX-License-Identifier: GPL-2.0-or-later
#include "face_trials.h"

#include "faceless.h"
#include "faces/face_regions.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

// A few of what scripts/bench faces measures, on the nets of the resource bundle.
namespace kalvio::engine::testing {
namespace {

class MadeFaces : public ::testing::Test {
protected:
	void SetUp() override
	{
		try {
			nets_ = load_nets(KALVIO_DATA_DIR "/resource.kld");
		} catch (const std::runtime_error &error) {
			GTEST_SKIP() << error.what();
		}
		trials = std::make_unique<FaceTrials>(nets_);
	}

	std::unique_ptr<FaceTrials> trials;

private:
	NetLibrary nets_;
};

TEST_F(MadeFaces, AreFoundWhereTheyAre)
{
	const ConditionResult result = trials->try_condition(FaceCondition::Base, 5);
	EXPECT_EQ(result.found, 5);
	EXPECT_LT(result.errors.eyes, 3.5);
	EXPECT_LT(result.errors.lips, 5);
	EXPECT_LT(result.errors.iris, 3);
	for (const float confidence : result.confidence)
		EXPECT_GT(confidence, 0.9F);
}

TEST_F(MadeFaces, LoseTheConfidenceOfTheirOutlineWhenTheyTurn)
{
	FaceRecipe recipe = make_recipe(FaceCondition::Base, 2);
	recipe.yaw = 45;
	const FaceTrial trial = trials->try_face(recipe);
	ASSERT_TRUE(trial.found_after);
	EXPECT_LT(trial.confidence[size_t(FaceGroup::Outline)], 0.6F);
	EXPECT_GT(trial.confidence[size_t(FaceGroup::Nose)], trial.confidence[size_t(FaceGroup::Outline)]);
}

TEST_F(MadeFaces, AreFoundAndPlacedRightOrNotAtAllWhenTheyAreTurnedOver)
{
	for (const float roll : {60.0F, 90.0F, 120.0F, 150.0F, 180.0F}) {
		FaceRecipe recipe = make_recipe(FaceCondition::Base, 4);
		recipe.roll = roll;
		recipe.center = {240, 135};
		recipe.eye_distance = 40;
		const FaceTrial trial = trials->try_face(recipe);
		if (trial.found_after) {
			EXPECT_LT(trial.errors.iris, 8) << roll;
			EXPECT_LT(trial.errors.lips, 8) << roll;
		}
	}
}

TEST_F(MadeFaces, AreFollowedWhileTheyTurnAndTalk)
{
	for (const int tone : {0, head_tone_count - 1}) { // the lightest and the darkest
		const MovingTrial trial = trials->try_moving_head(tone);
		EXPECT_EQ(trial.lost, 0) << tone;
		EXPECT_LT(trial.worst.iris, 8) << tone;
		EXPECT_LT(trial.worst.lips, 4) << tone;
	}
}

TEST_F(MadeFaces, AreNotSeenInOtherThings)
{
	EXPECT_EQ(trials->faces_in_faceless(2 * faceless_kinds), std::vector<int>());
}

} // namespace
} // namespace kalvio::engine::testing
