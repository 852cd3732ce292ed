// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/apply_parameters.h"

#include "kit/double_fixture.h"
#include "params/parameter_schema.h"
#include "params/setting_rows.h"

#include <limits>
#include <obs.hpp>

namespace {

using namespace kalvio;
using namespace kalvio::test;

class ApplyBeautyParams : public DoubleFixture {
protected:
	ApplyBeautyParams()
	{
		const kl_engine_config config = {};
		engine_ = kl_engine_create(&config);
		register_defaults(settings_);
		call_journal().reset();
	}
	~ApplyBeautyParams() override { kl_engine_destroy(engine_); }

	std::vector<Call> apply()
	{
		call_journal().reset();
		apply_beauty_params(engine_, settings_);
		return call_journal().calls(CallOrigin::Engine);
	}

	kl_engine *engine_ = nullptr;
	OBSDataAutoRelease settings_ = obs_data_create();
};

// Gives every number a value of its own, so that two that change places are seen: the n-th row of the settings n/128
// (exact in single precision) or n.
void number_all(obs_data_t *settings)
{
	int n = 0;
	for (const SettingRow &row : setting_rows) {
		++n;
		if (std::holds_alternative<double>(row.default_value))
			obs_data_set_double(settings, row.key, n / 128.0);
		else if (std::holds_alternative<int>(row.default_value))
			obs_data_set_int(settings, row.key, n);
		else if (std::holds_alternative<bool>(row.default_value))
			obs_data_set_bool(settings, row.key, true);
	}
}

constexpr float strength_of_row(int n)
{
	return static_cast<float>(n) / 128.0f;
}

TEST_F(ApplyBeautyParams, SendsEverythingInTheEngineOrder)
{
	number_all(settings_);
	const std::vector<Call> expected = {
		{"kl_set_smoothing", {strength_of_row(3)}},
		{"kl_set_smoothing_style", {4}},
		{"kl_set_whitening", {strength_of_row(5)}},
		{"kl_set_whitening_style", {6}},
		{"kl_set_rosiness", {strength_of_row(7)}},
		{"kl_set_sharpening", {strength_of_row(8)}},
		{"kl_set_beauty_skin_only", {true}},
		{"kl_set_reshape", {0, strength_of_row(9)}},
		{"kl_set_reshape", {2, strength_of_row(10)}},
		{"kl_set_reshape", {10, strength_of_row(11)}},
		{"kl_set_reshape", {3, strength_of_row(12)}},
		{"kl_set_reshape", {1, strength_of_row(13)}},
		{"kl_set_reshape", {4, strength_of_row(14)}},
		{"kl_set_reshape", {5, strength_of_row(15)}},
		{"kl_set_reshape", {6, strength_of_row(16)}},
		{"kl_set_reshape", {11, strength_of_row(17)}},
		{"kl_set_reshape", {23, strength_of_row(18)}},
		{"kl_set_reshape", {24, strength_of_row(19)}},
		{"kl_set_reshape", {25, strength_of_row(20)}},
		{"kl_set_reshape", {8, strength_of_row(21)}},
		{"kl_set_reshape", {18, strength_of_row(22)}},
		{"kl_set_reshape", {9, strength_of_row(23)}},
		{"kl_set_reshape", {19, strength_of_row(24)}},
		{"kl_set_reshape", {20, strength_of_row(25)}},
		{"kl_set_reshape", {21, strength_of_row(26)}},
		{"kl_set_reshape", {22, strength_of_row(27)}},
		{"kl_set_reshape", {7, strength_of_row(28)}},
		{"kl_set_reshape", {12, strength_of_row(29)}},
		{"kl_set_reshape", {13, strength_of_row(30)}},
		{"kl_set_reshape", {14, strength_of_row(31)}},
		{"kl_set_reshape", {15, strength_of_row(32)}},
		{"kl_set_reshape", {16, strength_of_row(33)}},
		{"kl_set_reshape", {17, strength_of_row(34)}},
		{"kl_set_body_reshape", {0, strength_of_row(35)}},
		{"kl_set_body_reshape", {8, strength_of_row(36)}},
		{"kl_set_body_reshape", {1, strength_of_row(37)}},
		{"kl_set_body_reshape", {6, strength_of_row(38)}},
		{"kl_set_body_reshape", {3, strength_of_row(39)}},
		{"kl_set_body_reshape", {4, strength_of_row(40)}},
		{"kl_set_body_reshape", {2, strength_of_row(41)}},
		{"kl_set_body_reshape", {5, strength_of_row(42)}},
		{"kl_set_body_reshape", {7, strength_of_row(43)}},
		{"kl_set_lipstick", {strength_of_row(44)}},
		{"kl_set_lipstick_color", {45}},
		{"kl_set_blush", {strength_of_row(46)}},
		{"kl_set_blush_style", {47}},
		{"kl_set_blush_color", {48}},
		{"kl_set_contour", {strength_of_row(49)}},
		{"kl_set_contour_style", {50}},
		{"kl_set_eye_shadow", {strength_of_row(51)}},
		{"kl_set_eye_shadow_style", {52}},
		{"kl_set_eye_shadow_color", {53}},
		{"kl_set_eye_liner", {strength_of_row(54)}},
		{"kl_set_eye_liner_style", {55}},
		{"kl_set_eye_liner_color", {56}},
		{"kl_set_eyebrow", {strength_of_row(57)}},
		{"kl_set_eyebrow_style", {58}},
		{"kl_set_eyebrow_color", {59}},
		{"kl_set_eyelash", {strength_of_row(60)}},
		{"kl_set_eyelash_style", {61}},
		{"kl_set_eyelash_color", {62}},
		{"kl_set_pupil", {strength_of_row(63)}},
		{"kl_set_pupil_color", {64}},
		{"kl_set_chroma_key", {69 - 1}},
		{"kl_set_chroma_key_similarity", {strength_of_row(70)}},
		{"kl_set_chroma_key_smoothness", {strength_of_row(71)}},
		{"kl_set_chroma_key_desaturation", {strength_of_row(72)}},
	};
	ASSERT_EQ(expected.size(), 67u);
	EXPECT_EQ(apply(), expected);
}

TEST_F(ApplyBeautyParams, GoesToTheGivenEngineFromTheCallingThread)
{
	for (const Call &call : apply()) {
		EXPECT_EQ(call.object, engine_) << call;
		EXPECT_EQ(call.thread, std::this_thread::get_id()) << call;
	}
}

TEST_F(ApplyBeautyParams, SendsEverythingAgainWithNothingChanged)
{
	const std::vector<Call> first = apply();
	EXPECT_EQ(first.size(), 64u);
	EXPECT_EQ(apply(), first);
}

TEST_F(ApplyBeautyParams, NeverSendsEnabledNorAResource)
{
	obs_data_set_bool(settings_, "enabled", false);
	obs_data_set_string(settings_, "filter_id", "vivid");
	obs_data_set_string(settings_, "sticker_id", "fox");
	obs_data_set_int(settings_, "bg_fill", 2);
	const OBSDataAutoRelease plain = obs_data_create();
	register_defaults(plain);

	const std::vector<Call> calls = apply();
	call_journal().reset();
	apply_beauty_params(engine_, plain);
	EXPECT_EQ(calls, call_journal().calls(CallOrigin::Engine));
}

TEST_F(ApplyBeautyParams, SkinOnlyIsSentAsABool)
{
	EXPECT_EQ(apply()[6], (Call{"kl_set_beauty_skin_only", {false}}));
	obs_data_set_bool(settings_, "skin_only", true);
	EXPECT_EQ(apply()[6], (Call{"kl_set_beauty_skin_only", {true}}));
}

TEST_F(ApplyBeautyParams, ColorKeyOffSendsOnlyTheClear)
{
	obs_data_set_double(settings_, "chroma_similarity", 0.5);
	for (const int chroma : {0, -1, -100}) {
		obs_data_set_int(settings_, "chroma", chroma);
		const std::vector<Call> calls = apply();
		ASSERT_EQ(calls.size(), 64u) << chroma;
		EXPECT_EQ(calls.back(), (Call{"kl_clear_chroma_key", {}})) << chroma;
	}
}

TEST_F(ApplyBeautyParams, ColorKeyIsSentOneLessThanTheSettingFollowedByItsFineTuning)
{
	obs_data_set_double(settings_, "chroma_similarity", 0.25);
	obs_data_set_double(settings_, "chroma_smoothness", 0.5);
	obs_data_set_double(settings_, "chroma_desaturation", 0.75);
	for (const int chroma : {1, 2, 3, 42}) {
		obs_data_set_int(settings_, "chroma", chroma);
		const std::vector<Call> calls = apply();
		ASSERT_EQ(calls.size(), 67u) << chroma;
		EXPECT_EQ(std::vector<Call>(calls.end() - 4, calls.end()),
			  (std::vector<Call>{{"kl_set_chroma_key", {chroma - 1}},
					     {"kl_set_chroma_key_similarity", {0.25f}},
					     {"kl_set_chroma_key_smoothness", {0.5f}},
					     {"kl_set_chroma_key_desaturation", {0.75f}}}));
	}
}

TEST_F(ApplyBeautyParams, NothingIsScaledOrClamped)
{
	obs_data_set_double(settings_, "smoothing", 7.5);
	obs_data_set_double(settings_, "whitening", -2.0);
	obs_data_set_int(settings_, "smoothing_style", -99);
	obs_data_set_double(settings_, "face_thin", -3.0);
	obs_data_set_double(settings_, "body_slim", -0.2);
	const std::vector<Call> calls = apply();
	EXPECT_EQ(calls[0], (Call{"kl_set_smoothing", {7.5f}}));
	EXPECT_EQ(calls[1], (Call{"kl_set_smoothing_style", {-99}}));
	EXPECT_EQ(calls[2], (Call{"kl_set_whitening", {-2.0f}}));
	EXPECT_EQ(calls[7], (Call{"kl_set_reshape", {0, -3.0f}}));
	EXPECT_EQ(calls[33], (Call{"kl_set_body_reshape", {0, -0.2f}}));
}

TEST_F(ApplyBeautyParams, DoublesBecomeTheNearestFloats)
{
	obs_data_set_double(settings_, "smoothing", 0.1);
	EXPECT_EQ(apply()[0], (Call{"kl_set_smoothing", {0.1f}}));
}

TEST_F(ApplyBeautyParams, NotANumberIsPassedOn)
{
	obs_data_set_double(settings_, "smoothing", std::numeric_limits<double>::quiet_NaN());
	EXPECT_EQ(apply()[0], (Call{"kl_set_smoothing", {std::numeric_limits<float>::quiet_NaN()}}));
}

TEST_F(ApplyBeautyParams, ValuesOfAnotherTypeAreSentAsZero)
{
	const OBSDataAutoRelease odd = obs_data_create_from_json(
		R"({"smoothing": "strong", "smoothing_style": "smooth", "skin_only": "yes", "chroma": "green"})");
	apply_beauty_params(engine_, odd);
	const std::vector<Call> calls = call_journal().calls(CallOrigin::Engine);
	ASSERT_EQ(calls.size(), 64u);
	EXPECT_EQ(calls[0], (Call{"kl_set_smoothing", {0.0f}}));
	EXPECT_EQ(calls[1], (Call{"kl_set_smoothing_style", {0}}));
	EXPECT_EQ(calls[6], (Call{"kl_set_beauty_skin_only", {false}}));
	EXPECT_EQ(calls[63], (Call{"kl_clear_chroma_key", {}}));
}

TEST_F(ApplyBeautyParams, AFailingSetterStopsNothingAndLogsNothing)
{
	const std::vector<Call> expected = apply();
	set_engine_script({.setter_status = KL_ERROR_INTERNAL});
	EXPECT_EQ(apply(), expected);
	EXPECT_EQ(log_.lines(), std::vector<LogLine>());
}

TEST_F(ApplyBeautyParams, DoesNothingWithoutAnEngineOrSettings)
{
	apply_beauty_params(nullptr, settings_);
	apply_beauty_params(engine_, nullptr);
	EXPECT_EQ(call_journal().calls(), std::vector<Call>());
}

} // namespace
