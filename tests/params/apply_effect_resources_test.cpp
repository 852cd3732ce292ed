// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/apply_parameters.h"

#include "kit/double_fixture.h"
#include "kit/scratch.h"
#include "params/parameter_schema.h"

#include <algorithm>
#include <obs.hpp>

namespace {

using namespace kalvio;
using namespace kalvio::test;

using Calls = std::vector<Call>;
using Lines = std::vector<LogLine>;

// An engine that has been given the default settings, with a data folder that is empty at first.
class ApplyEffectResources : public DoubleFixture {
protected:
	ApplyEffectResources()
	{
		host_double().set_data_folder(data_.path().generic_string());
		const kl_engine_config config = {};
		engine_ = kl_engine_create(&config);
		register_defaults(settings_);
	}
	~ApplyEffectResources() override { kl_engine_destroy(engine_); }

	// The engine calls of one application.
	Calls apply()
	{
		call_journal().reset();
		apply_effect_resources(engine_, cache_, settings_);
		return call_journal().calls(CallOrigin::Engine);
	}

	// Engine calls and log lines of one application, in their common order.
	Calls apply_with_log()
	{
		call_journal().reset();
		apply_effect_resources(engine_, cache_, settings_);
		Calls calls;
		for (Call &call : call_journal().calls()) {
			if (call.origin == CallOrigin::Engine || call.origin == CallOrigin::Log)
				calls.push_back(call);
		}
		return calls;
	}

	void set(const char *key, const char *text) { obs_data_set_string(settings_, key, text); }
	void set(const char *key, int number) { obs_data_set_int(settings_, key, number); }
	void set(const char *key, double number) { obs_data_set_double(settings_, key, number); }

	// The engine refuses this file.
	static void refuse(const std::string &path)
	{
		EngineScript script;
		script.loader_status[path] = KL_ERROR_FORMAT;
		set_engine_script(script);
	}

	ScratchFolder data_;
	kl_engine *engine_ = nullptr;
	ResourceCache cache_;
	OBSDataAutoRelease settings_ = obs_data_create();
};

Call warning(const std::string &text)
{
	return {"log", {LOG_WARNING, text}};
}

// --- Calls whose status nobody reads

TEST_F(ApplyEffectResources, AFailingClearOrStrengthStopsNothingAndLogsNothing)
{
	data_.write("filters/vivid/vivid.kld");
	data_.write("stickers/screen/petals.kld");
	data_.write("stickers/3d/oculos.kld");
	data_.write("backgrounds/office.jpg");
	const auto run = [this](int32_t status) {
		set_engine_script({.setter_status = status});
		cache_ = {};
		Calls calls;
		const auto step = [&] {
			const Calls of_step = apply_with_log();
			calls.insert(calls.end(), of_step.begin(), of_step.end());
		};
		for (const char *id : {"vivid", ""}) {
			set("filter_id", id);
			step();
		}
		for (const char *id : {"petals", "oculos", "petals", ""}) {
			set("sticker_id", id);
			step();
		}
		for (const int fill : {1, 2, 0}) {
			set("bg_fill", fill);
			step();
		}
		return calls;
	};
	const Calls expected = run(KL_OK);
	EXPECT_EQ(run(KL_ERROR_INTERNAL), expected);
	EXPECT_EQ(log_.lines(), Lines());
	for (const char *function :
	     {"kl_clear_filter", "kl_clear_sticker", "kl_clear_3d_sticker", "kl_set_filter_intensity",
	      "kl_set_virtual_background_blur", "kl_clear_virtual_background"})
		EXPECT_TRUE(std::ranges::any_of(expected, [=](const Call &call) { return call.name == function; }))
			<< function;
}

// --- First application

TEST_F(ApplyEffectResources, TheFirstApplicationOfTheDefaultsOnlyClearsTheBackground)
{
	EXPECT_EQ(apply(), (Calls{{"kl_clear_virtual_background", {}}}));
}

TEST_F(ApplyEffectResources, NothingIsSentAgainWhileNothingChanges)
{
	set("filter_id", "vivid");
	set("sticker_id", "fox");
	set("bg_fill", 2);
	data_.write("filters/vivid/vivid.kld");
	data_.write("stickers/face/fox.kld");
	data_.write("backgrounds/office.jpg");
	EXPECT_EQ(apply().size(), 5u);
	EXPECT_EQ(apply(), Calls());
	EXPECT_EQ(call_journal().count("obs_find_module_file"), 0u);
}

TEST_F(ApplyEffectResources, GoesThroughColorFilterStickerAndBackgroundInThisOrder)
{
	set("filter_id", "vivid");
	set("sticker_id", "fox");
	set("bg_fill", 1);
	data_.write("filters/vivid/vivid.kld");
	data_.write("stickers/face/fox.kld");
	EXPECT_EQ(names_of(apply()),
		  (std::vector<std::string>{"kl_set_filter", "kl_set_filter_intensity", "kl_clear_3d_sticker",
					    "kl_set_sticker", "kl_set_virtual_background_blur"}));
}

TEST_F(ApplyEffectResources, DoesNothingWithoutAnEngineOrSettings)
{
	set("filter_id", "vivid");
	set("bg_fill", 1);
	call_journal().reset();
	apply_effect_resources(nullptr, cache_, settings_);
	apply_effect_resources(engine_, cache_, nullptr);
	EXPECT_EQ(call_journal().calls(), Calls());
	EXPECT_EQ(cache_.filter_id, "");
	EXPECT_EQ(cache_.fill_mode, -1);
}

TEST_F(ApplyEffectResources, AFreshCacheHasNothingAndTheSentinels)
{
	const ResourceCache cache;
	EXPECT_EQ(cache.filter_id, "");
	EXPECT_EQ(cache.filter_intensity, -1.0f);
	EXPECT_EQ(cache.sticker_id, "");
	EXPECT_EQ(cache.fill_mode, -1);
	EXPECT_EQ(cache.blur, -1.0f);
	EXPECT_EQ(cache.preset, "");
	EXPECT_EQ(cache.image, "");
}

TEST_F(ApplyEffectResources, SettingsWithoutAnyKeyReadAsNoEffect)
{
	const OBSDataAutoRelease empty = obs_data_create();
	call_journal().reset();
	apply_effect_resources(engine_, cache_, empty);
	EXPECT_EQ(call_journal().calls(CallOrigin::Engine), (Calls{{"kl_clear_virtual_background", {}}}));
}

TEST_F(ApplyEffectResources, ValuesOfAnotherTypeReadAsNoEffect)
{
	const OBSDataAutoRelease odd = obs_data_create_from_json(
		R"({"filter_id": 5, "sticker_id": true, "bg_fill": "picture", "bg_blur": "1"})");
	call_journal().reset();
	apply_effect_resources(engine_, cache_, odd);
	EXPECT_EQ(call_journal().calls(CallOrigin::Engine), (Calls{{"kl_clear_virtual_background", {}}}));
}

// --- Color filter

class ApplyColorFilter : public ApplyEffectResources {
protected:
	ApplyColorFilter()
	{
		vivid_ = data_.write("filters/vivid/vivid.kld");
		dawn_ = data_.write("filters/dawn/dawn.kld");
		apply(); // the background is not the matter here
	}

	std::string vivid_;
	std::string dawn_;
};

TEST_F(ApplyColorFilter, ANewIdLoadsItsBundleAndSendsTheIntensity)
{
	set("filter_id", "vivid");
	EXPECT_EQ(apply(), (Calls{{"kl_set_filter", {vivid_}}, {"kl_set_filter_intensity", {0.5f}}}));
	EXPECT_EQ(log_.lines(), Lines());
}

TEST_F(ApplyColorFilter, AChangeOfTheIntensityAloneSendsOnlyTheIntensity)
{
	set("filter_id", "vivid");
	apply();
	set("filter_intensity", 0.75);
	EXPECT_EQ(apply(), (Calls{{"kl_set_filter_intensity", {0.75f}}}));
}

TEST_F(ApplyColorFilter, AnotherIdSendsAlsoTheSameIntensityAgain)
{
	set("filter_id", "vivid");
	apply();
	set("filter_id", "dawn");
	EXPECT_EQ(apply(), (Calls{{"kl_set_filter", {dawn_}}, {"kl_set_filter_intensity", {0.5f}}}));
}

TEST_F(ApplyColorFilter, TheEmptyIdClearsAndSendsNoIntensity)
{
	set("filter_id", "vivid");
	apply();
	set("filter_id", "");
	set("filter_intensity", 0.9);
	EXPECT_EQ(apply(), (Calls{{"kl_clear_filter", {}}}));
}

TEST_F(ApplyColorFilter, TheIntensityIsNotSentWithoutAFilter)
{
	set("filter_intensity", 0.9);
	EXPECT_EQ(apply(), Calls());
}

TEST_F(ApplyColorFilter, TheIntensityIsNotClamped)
{
	set("filter_id", "vivid");
	set("filter_intensity", 3.5);
	EXPECT_EQ(apply()[1], (Call{"kl_set_filter_intensity", {3.5f}}));
}

TEST_F(ApplyColorFilter, AMissingBundleWarnsThenClearsAndStillSendsTheIntensity)
{
	set("filter_id", "snow");
	EXPECT_EQ(apply_with_log(), (Calls{warning("[Kalvio] failed to load filter snow"),
					   {"kl_clear_filter", {}},
					   {"kl_set_filter_intensity", {0.5f}}}));
}

TEST_F(ApplyColorFilter, ABundleThatTheEngineRefusesWarnsThenClearsAndStillSendsTheIntensity)
{
	refuse(vivid_);
	set("filter_id", "vivid");
	EXPECT_EQ(apply_with_log(), (Calls{{"kl_set_filter", {vivid_}},
					   warning("[Kalvio] failed to load filter vivid"),
					   {"kl_clear_filter", {}},
					   {"kl_set_filter_intensity", {0.5f}}}));
}

TEST_F(ApplyColorFilter, AFailedIdIsNotTriedAgainUntilTheIdChanges)
{
	set("filter_id", "snow");
	apply();
	data_.write("filters/snow/snow.kld");
	log_.clear();
	EXPECT_EQ(apply_with_log(), Calls());

	set("filter_id", "vivid");
	apply();
	set("filter_id", "snow");
	EXPECT_EQ(apply()[0], (Call{"kl_set_filter", {data_.file("filters/snow/snow.kld")}}));
	EXPECT_EQ(log_.lines(), Lines());
}

TEST_F(ApplyColorFilter, AfterAFailedLoadAChangeOfTheIntensityIsSent)
{
	set("filter_id", "snow");
	apply();
	set("filter_intensity", 0.25);
	EXPECT_EQ(apply_with_log(), (Calls{{"kl_set_filter_intensity", {0.25f}}}));
}

TEST_F(ApplyColorFilter, TheWarningNamesAnUnknownIdAsItWasStored)
{
	set("filter_id", "no such % filter é");
	EXPECT_EQ(apply_with_log()[0], warning("[Kalvio] failed to load filter no such % filter é"));
}

// --- Sticker

class ApplySticker : public ApplyEffectResources {
protected:
	ApplySticker()
	{
		fox_ = data_.write("stickers/face/fox.kld");
		petals_ = data_.write("stickers/screen/petals.kld");
		oculos_ = data_.write("stickers/3d/oculos.kld");
		apply();
	}

	std::string fox_;
	std::string petals_;
	std::string oculos_;
};

TEST_F(ApplySticker, AFaceStickerClearsThe3dOneAndThenLoads)
{
	set("sticker_id", "fox");
	EXPECT_EQ(apply(), (Calls{{"kl_clear_3d_sticker", {}}, {"kl_set_sticker", {fox_}}}));
	EXPECT_EQ(log_.lines(), Lines());
}

TEST_F(ApplySticker, AScreenStickerLoadsAsAFaceStickerDoes)
{
	set("sticker_id", "petals");
	EXPECT_EQ(apply(), (Calls{{"kl_clear_3d_sticker", {}}, {"kl_set_sticker", {petals_}}}));
}

TEST_F(ApplySticker, A3dStickerClearsTheOtherAndThenLoads)
{
	set("sticker_id", "oculos");
	EXPECT_EQ(apply(), (Calls{{"kl_clear_sticker", {}}, {"kl_set_3d_sticker", {oculos_}}}));
}

TEST_F(ApplySticker, TheEmptyIdClearsBothKinds)
{
	set("sticker_id", "fox");
	apply();
	set("sticker_id", "");
	EXPECT_EQ(apply(), (Calls{{"kl_clear_sticker", {}}, {"kl_clear_3d_sticker", {}}}));
}

TEST_F(ApplySticker, ABundleThatTheEngineRefusesWarnsAndClearsItsOwnKind)
{
	refuse(fox_);
	set("sticker_id", "fox");
	EXPECT_EQ(apply_with_log(), (Calls{{"kl_clear_3d_sticker", {}},
					   {"kl_set_sticker", {fox_}},
					   warning("[Kalvio] failed to load sticker fox"),
					   {"kl_clear_sticker", {}}}));
	refuse(oculos_);
	set("sticker_id", "oculos");
	EXPECT_EQ(apply_with_log(), (Calls{{"kl_clear_sticker", {}},
					   {"kl_set_3d_sticker", {oculos_}},
					   warning("[Kalvio] failed to load 3D sticker oculos"),
					   {"kl_clear_3d_sticker", {}}}));
}

TEST_F(ApplySticker, AnUnknownIdWarnsOnceAndClearsBothKinds)
{
	set("sticker_id", "dragon");
	EXPECT_EQ(apply_with_log(), (Calls{warning("[Kalvio] sticker not found: dragon"),
					   {"kl_clear_sticker", {}},
					   {"kl_clear_3d_sticker", {}}}));
	EXPECT_EQ(apply_with_log(), Calls());
}

TEST_F(ApplySticker, AnUnknownIdIsNotFoundEvenWhereAFileOfItsNameLies)
{
	data_.write("stickers/face/dragon.kld");
	set("sticker_id", "dragon");
	EXPECT_EQ(apply_with_log()[0], warning("[Kalvio] sticker not found: dragon"));
}

TEST_F(ApplySticker, AnIdInOtherLettersIsUnknown)
{
	set("sticker_id", "Fox");
	EXPECT_EQ(apply_with_log()[0], warning("[Kalvio] sticker not found: Fox"));
}

TEST_F(ApplySticker, AKnownIdWithoutItsFileIsNotFound)
{
	set("sticker_id", "kiss2");
	EXPECT_EQ(apply_with_log(), (Calls{warning("[Kalvio] sticker not found: kiss2"),
					   {"kl_clear_sticker", {}},
					   {"kl_clear_3d_sticker", {}}}));
}

TEST_F(ApplySticker, AFailedIdIsNotTriedAgainUntilTheIdChanges)
{
	set("sticker_id", "kiss2");
	apply();
	data_.write("stickers/face/kiss2.kld");
	EXPECT_EQ(apply_with_log(), Calls());
	set("sticker_id", "fox");
	apply();
	set("sticker_id", "kiss2");
	EXPECT_EQ(apply()[1], (Call{"kl_set_sticker", {data_.file("stickers/face/kiss2.kld")}}));
}

// --- Background

class ApplyBackground : public ApplyEffectResources {
protected:
	ApplyBackground()
	{
		office_ = data_.write("backgrounds/office.jpg");
		picture_ = pictures_.write("Фон 背景.png");
	}

	ScratchFolder pictures_;
	std::string office_;
	std::string picture_;
};

TEST_F(ApplyBackground, BlurSendsItsStrengthAndAgainOnlyWhenThatChanges)
{
	set("bg_fill", 1);
	set("bg_blur", 0.25);
	EXPECT_EQ(apply(), (Calls{{"kl_set_virtual_background_blur", {0.25f}}}));
	EXPECT_EQ(apply(), Calls());
	set("bg_blur", 0.5);
	EXPECT_EQ(apply(), (Calls{{"kl_set_virtual_background_blur", {0.5f}}}));
}

TEST_F(ApplyBackground, ABlurOfZeroIsSentToo)
{
	set("bg_fill", 1);
	EXPECT_EQ(apply(), (Calls{{"kl_set_virtual_background_blur", {0.0f}}}));
}

TEST_F(ApplyBackground, GoingFromBlurToNoneClearsAndThenTheStrengthSendsNothing)
{
	set("bg_fill", 1);
	apply();
	set("bg_fill", 0);
	EXPECT_EQ(apply(), (Calls{{"kl_clear_virtual_background", {}}}));
	set("bg_blur", 0.75);
	EXPECT_EQ(apply(), Calls());
}

TEST_F(ApplyBackground, WhileBlurringAnotherPictureSendsNothing)
{
	set("bg_fill", 1);
	apply();
	set("bg_preset", "cafe");
	set("bg_image", picture_.c_str());
	EXPECT_EQ(apply(), Calls());
}

TEST_F(ApplyBackground, WithoutAFillAnotherPictureSendsNothing)
{
	apply();
	set("bg_preset", "cafe");
	set("bg_image", picture_.c_str());
	EXPECT_EQ(apply(), Calls());
}

TEST_F(ApplyBackground, AnUnknownFillClearsOnce)
{
	set("bg_fill", 3);
	EXPECT_EQ(apply(), (Calls{{"kl_clear_virtual_background", {}}}));
	EXPECT_EQ(apply(), Calls());
	set("bg_fill", -5);
	EXPECT_EQ(apply(), (Calls{{"kl_clear_virtual_background", {}}}));
}

TEST_F(ApplyBackground, AnExistingPictureOfTheUserIsHandedOverAsItStands)
{
	set("bg_fill", 2);
	set("bg_image", picture_.c_str());
	EXPECT_EQ(apply(), (Calls{{"kl_set_virtual_background", {picture_}}}));
	EXPECT_EQ(log_.lines(), Lines());
}

TEST_F(ApplyBackground, APictureThatIsGoneGivesWayToThePreset)
{
	set("bg_fill", 2);
	set("bg_image", pictures_.file("gone.png").c_str());
	EXPECT_EQ(apply(), (Calls{{"kl_set_virtual_background", {office_}}}));
	EXPECT_EQ(log_.lines(), Lines());
}

TEST_F(ApplyBackground, APictureThatTheEngineRefusesWarnsWithItsPathAndClears)
{
	refuse(picture_);
	set("bg_fill", 2);
	set("bg_image", picture_.c_str());
	EXPECT_EQ(apply_with_log(), (Calls{{"kl_set_virtual_background", {picture_}},
					   warning("[Kalvio] failed to load background image: " + picture_),
					   {"kl_clear_virtual_background", {}}}));
	EXPECT_EQ(apply_with_log(), Calls()) << "a refused picture is not tried again";
}

TEST_F(ApplyBackground, APresetThatTheEngineRefusesWarnsWithItsPathAndClears)
{
	refuse(office_);
	set("bg_fill", 2);
	EXPECT_EQ(apply_with_log(), (Calls{{"kl_set_virtual_background", {office_}},
					   warning("[Kalvio] failed to load background image: " + office_),
					   {"kl_clear_virtual_background", {}}}));
}

TEST_F(ApplyBackground, WithNoPictureAtAllTheWarningEndsAfterImage)
{
	set("bg_fill", 2);
	set("bg_preset", "cafe");
	EXPECT_EQ(apply_with_log(),
		  (Calls{warning("[Kalvio] failed to load background image"), {"kl_clear_virtual_background", {}}}));
	EXPECT_EQ(apply_with_log(), Calls());
}

TEST_F(ApplyBackground, AnEmptyPresetMeansTheDefaultPicture)
{
	const std::string standard = data_.write("background.jpg");
	set("bg_fill", 2);
	set("bg_preset", "");
	EXPECT_EQ(apply(), (Calls{{"kl_set_virtual_background", {standard}}}));
}

TEST_F(ApplyBackground, APresetWithoutAPictureMeansTheDefaultPicture)
{
	const std::string standard = data_.write("background.jpg");
	set("bg_fill", 2);
	set("bg_preset", "cafe");
	EXPECT_EQ(apply(), (Calls{{"kl_set_virtual_background", {standard}}}));
}

TEST_F(ApplyBackground, AnotherPresetOrPictureIsLoadedAndTheStrengthSendsNothing)
{
	const std::string cafe = data_.write("backgrounds/cafe.jpg");
	set("bg_fill", 2);
	apply();
	set("bg_preset", "cafe");
	EXPECT_EQ(apply(), (Calls{{"kl_set_virtual_background", {cafe}}}));
	set("bg_image", picture_.c_str());
	EXPECT_EQ(apply(), (Calls{{"kl_set_virtual_background", {picture_}}}));
	set("bg_blur", 0.5);
	EXPECT_EQ(apply(), Calls());
}

TEST_F(ApplyBackground, AnotherPresetUnderAPictureOfTheUserLoadsThePictureAgain)
{
	set("bg_fill", 2);
	set("bg_image", picture_.c_str());
	apply();
	set("bg_preset", "cafe");
	EXPECT_EQ(apply(), (Calls{{"kl_set_virtual_background", {picture_}}}));
}

TEST_F(ApplyBackground, GoingFromPictureToBlurAndBackLoadsThePictureAgain)
{
	set("bg_fill", 2);
	apply();
	set("bg_fill", 1);
	EXPECT_EQ(apply(), (Calls{{"kl_set_virtual_background_blur", {0.0f}}}));
	set("bg_fill", 2);
	EXPECT_EQ(apply(), (Calls{{"kl_set_virtual_background", {office_}}}));
}

TEST_F(ApplyBackground, ABlurThatWasSetBeforeBlurringIsNotTakenForSent)
{
	set("bg_blur", 0.5);
	apply(); // stores the strength without sending it
	set("bg_fill", 1);
	EXPECT_EQ(apply(), (Calls{{"kl_set_virtual_background_blur", {0.5f}}}));
}

} // namespace
