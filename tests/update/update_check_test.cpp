// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/update_check.h"

#include "kalvio_config.h"
#include "update/download_address.h"
#include "update/manifest.h"
#include "update_world.h"

#include <string>
#include <vector>

namespace kalvio::test {

namespace {

constexpr std::int64_t six_hours = 21'600;
constexpr std::int64_t one_day = 86'400;

class UpdateCheckTest : public UpdateWorld {
protected:
	// A check that ends with this manifest.
	void learn(const std::string &json)
	{
		answer_manifest(json);
		run_update_check();
	}

	std::vector<LogLine> log_lines() const { return log.product_lines(); }
};

} // namespace

// When a check is due

TEST_F(UpdateCheckTest, FirstPollChecksAtOnce)
{
	poll_and_finish();
	EXPECT_EQ(fetched(), std::vector<std::string>{std::string(download_base) + "/kalvio/obs/latest.json"});
}

TEST_F(UpdateCheckTest, NextCheckComesSixHoursAfterTheLast)
{
	poll_and_finish();
	advance(six_hours - 1);
	poll_and_finish();
	EXPECT_EQ(fetched().size(), 1U);
	advance(1);
	poll_and_finish();
	EXPECT_EQ(fetched().size(), 2U);
}

TEST_F(UpdateCheckTest, SixHoursCountFromTheEndOfACheck)
{
	hold_answers();
	start_update_check_if_due();
	advance(100);
	release_answers();
	wait_for_worker();

	advance(six_hours - 1);
	poll_and_finish();
	EXPECT_EQ(fetched().size(), 1U);
	advance(1);
	poll_and_finish();
	EXPECT_EQ(fetched().size(), 2U);
}

TEST_F(UpdateCheckTest, FailedCheckIsNotRetriedForSixHours)
{
	answer(503, "busy");
	poll_and_finish();
	advance(six_hours - 1);
	poll_and_finish();
	EXPECT_EQ(fetched().size(), 1U);
	advance(1);
	poll_and_finish();
	EXPECT_EQ(fetched().size(), 2U);
}

TEST_F(UpdateCheckTest, BrokenManifestIsNotFetchedAgainForSixHours)
{
	hold_answers();
	answer_manifest("{");
	start_update_check_if_due();
	advance(100);
	release_answers();
	wait_for_worker();
	advance(six_hours - 1);
	poll_and_finish();
	EXPECT_EQ(fetched().size(), 1U);
}

TEST_F(UpdateCheckTest, NoSecondCheckStarts_WhileOneIsUnderWay)
{
	hold_answers();
	start_update_check_if_due();
	advance(10 * six_hours);
	start_update_check_if_due();
	release_answers();
	wait_for_worker();
	EXPECT_EQ(fetched().size(), 1U);
}

TEST_F(UpdateCheckTest, KnowledgeStays_WhenTheClockJumpsBack)
{
	learn(R"({"version": "1.0.13", "notes": "n"})");
	set_now(1000);
	poll_and_finish();
	EXPECT_TRUE(update_status().soft);
	EXPECT_EQ(update_status().notes, "n");
	EXPECT_EQ(fetched().size(), 1U);
}

TEST_F(UpdateCheckTest, EndsAsFailed_WhenMemoryRunsOut)
{
	learn(R"({"version": "1.0.13"})");
	log.clear();
	run_out_of_memory();
	advance(six_hours);
	poll_and_finish();
	EXPECT_EQ(log_lines(), (std::vector<LogLine>{{LOG_WARNING, "[Kalvio] update check failed (0)"}}));
	EXPECT_EQ(update_status().latest, "1.0.13");
	advance(six_hours);
	poll_and_finish();
	EXPECT_EQ(fetched().size(), 3U);
}

// What a check leaves behind

TEST_F(UpdateCheckTest, NothingIsKnownAtFirst)
{
	EXPECT_FALSE(update_is_forced());
	const UpdateStatus status = update_status();
	EXPECT_FALSE(status.forced);
	EXPECT_FALSE(status.soft);
	EXPECT_EQ(status.latest, "");
	EXPECT_EQ(status.notes, "");
	EXPECT_TRUE(log_lines().empty());
}

TEST_F(UpdateCheckTest, GoodManifestLogsItsVersions)
{
	learn(R"({"version": "1.0.13", "force_below": "1.0.11"})");
	EXPECT_EQ(log_lines(),
		  (std::vector<LogLine>{{LOG_INFO, "[Kalvio] update check latest=1.0.13 force_below=1.0.11"}}));
}

TEST_F(UpdateCheckTest, TextOfTheManifestCannotForgeLinesOfTheLog)
{
	learn(R"({"version": "1.0.13\n[Kalvio] unloaded %s%n", "force_below": ")" + std::string(5000, 'x') + "\"}");
	EXPECT_EQ(log_lines(),
		  (std::vector<LogLine>{
			  {LOG_INFO, "[Kalvio] update check latest=1.0.13?[Kalvio] unloaded %s%n force_below=" +
					     std::string(64, 'x')}}));
}

TEST_F(UpdateCheckTest, AnythingButABodyWith200FailsTheCheckAndKeepsWhatWasKnown)
{
	learn(R"({"version": "1.0.13", "force_below": "1.0.13"})");
	struct Failure {
		std::uint32_t status;
		const char *body;
		const char *line;
	};
	constexpr const char *other = R"({"version": "9", "force_below": ""})";
	for (const Failure &failure : {
		     Failure{0, "", "[Kalvio] update check failed (0)"},
		     Failure{0, other, "[Kalvio] update check failed (0)"},
		     Failure{200, "", "[Kalvio] update check failed (200)"},
		     Failure{204, "", "[Kalvio] update check failed (204)"},
		     Failure{201, other, "[Kalvio] update check failed (201)"},
		     Failure{302, other, "[Kalvio] update check failed (302)"},
		     Failure{404, other, "[Kalvio] update check failed (404)"},
		     Failure{500, other, "[Kalvio] update check failed (500)"},
	     }) {
		log.clear();
		answer(failure.status, failure.body);
		run_update_check();
		EXPECT_EQ(log_lines(), (std::vector<LogLine>{{LOG_WARNING, failure.line}}));
		EXPECT_TRUE(update_is_forced());
		EXPECT_EQ(update_status().latest, "1.0.13");
	}
}

TEST_F(UpdateCheckTest, BrokenManifestChangesNothingAndSaysNothing)
{
	learn(R"({"version": "1.0.13", "notes": "n", "download_page": "https://p.example/",
		"download_windows": "https://d.example/k.zip"})");
	for (const char *body : {"{", "[]", "null", "not json", R"({"version": "\ud800"})"}) {
		log.clear();
		learn(body);
		EXPECT_TRUE(log_lines().empty()) << body;
		EXPECT_EQ(update_status().latest, "1.0.13") << body;
		EXPECT_EQ(update_status().notes, "n") << body;
	}
}

TEST_F(UpdateCheckTest, NextManifestReplacesTheWholeOfTheLast)
{
	learn(R"({"version": "1.0.13", "force_below": "1.0.13", "notes": "n"})");
	learn("{}");
	EXPECT_FALSE(update_is_forced());
	EXPECT_EQ(update_status().latest, "");
	EXPECT_EQ(update_status().notes, "");
}

// The forced state

TEST_F(UpdateCheckTest, IsForced_OnlyBelowTheLowestSupportedVersion)
{
	struct Row {
		const char *force_below;
		bool forced;
	};
	for (const Row &row :
	     {Row{"", false}, Row{"1.0.11", false}, Row{"1.0.12", false}, Row{"1.0.12.9", false}, Row{"1.0.13", true},
	      Row{"V1.1", true}, Row{"v2", true}, Row{"abc", false}, Row{"v", false},
	      Row{"99999999999999999999.0.0", true}, Row{"1.0.13-beta", true}, Row{"1..2", false}}) {
		learn(std::string(R"({"version": "1.0.14", "force_below": ")") + row.force_below + "\"}");
		EXPECT_EQ(update_is_forced(), row.forced) << row.force_below;
		EXPECT_EQ(update_status().forced, row.forced) << row.force_below;
		EXPECT_EQ(update_status().soft, !row.forced) << row.force_below;
	}
}

TEST_F(UpdateCheckTest, ForcedStateEnds_WhenAManifestLiftsIt)
{
	learn(R"({"version": "1.0.13", "force_below": "1.0.13"})");
	ASSERT_TRUE(update_is_forced());
	learn(R"({"version": "1.0.13", "force_below": "1.0.12"})");
	EXPECT_FALSE(update_is_forced());
	EXPECT_TRUE(update_status().soft);
}

TEST_F(UpdateCheckTest, ForcedStateShowsNoSoftNotice_WhateverWasDismissed)
{
	learn(R"({"version": "1.0.13", "force_below": "1.0.13"})");
	EXPECT_FALSE(update_status().soft);
	dismiss_update();
	EXPECT_TRUE(update_status().forced);
	EXPECT_FALSE(update_status().soft);
	advance(one_day);
	EXPECT_TRUE(update_status().forced);
	EXPECT_FALSE(update_status().soft);
}

// The soft notice and its dismissal

TEST_F(UpdateCheckTest, OffersOnlyWhatIsNewer)
{
	struct Row {
		const char *latest;
		bool soft;
	};
	for (const Row &row :
	     {Row{"", false}, Row{"1.0.11", false}, Row{"1.0.12", false}, Row{"v1.0.12", false}, Row{"1.0.12.5", false},
	      Row{"1.0.12-beta", false}, Row{"1.0.13", true}, Row{"v1.0.13", true}, Row{"1.1", true}, Row{"2", true},
	      Row{"abc", false}, Row{"v", false}, Row{"1.", false}}) {
		learn(std::string(R"({"version": ")") + row.latest + "\"}");
		EXPECT_EQ(update_status().soft, row.soft) << row.latest;
		EXPECT_EQ(update_status().latest, row.latest);
	}
}

TEST_F(UpdateCheckTest, DismissalHidesTheNoticeForOneDay)
{
	learn(R"({"version": "1.0.13"})");
	dismiss_update();
	EXPECT_FALSE(update_status().soft);
	advance(one_day - 1);
	EXPECT_FALSE(update_status().soft);
	advance(1);
	EXPECT_TRUE(update_status().soft);
}

TEST_F(UpdateCheckTest, DismissalDoesNotHideANewerVersion)
{
	learn(R"({"version": "1.0.13"})");
	dismiss_update();
	learn(R"({"version": "1.0.14"})");
	EXPECT_TRUE(update_status().soft);
}

TEST_F(UpdateCheckTest, DismissalComparesTheTextAndNotTheVersion)
{
	learn(R"({"version": "1.0.13"})");
	dismiss_update();
	learn(R"({"version": "v1.0.13"})");
	EXPECT_TRUE(update_status().soft);
	learn(R"({"version": "1.0.13"})");
	EXPECT_FALSE(update_status().soft);
}

TEST_F(UpdateCheckTest, DismissalOutlivesARestart)
{
	learn(R"({"version": "1.0.13"})");
	dismiss_update();
	restart();
	learn(R"({"version": "1.0.13"})");
	EXPECT_FALSE(update_status().soft);
	advance(one_day);
	EXPECT_TRUE(update_status().soft);
}

TEST_F(UpdateCheckTest, DismissalHidesTheNoticeUntilTheHostEnds_WhenItCannotBeSaved)
{
	set_config_file("");
	learn(R"({"version": "1.0.13"})");
	dismiss_update();
	EXPECT_FALSE(update_status().soft);
	restart();
	learn(R"({"version": "1.0.13"})");
	EXPECT_TRUE(update_status().soft);
}

TEST_F(UpdateCheckTest, DismissalFromTheFutureStillNamesOneVersionOnly)
{
	set_config_file(folder.write("future.json", R"({"version": "1.0.13", "until": 9223372036854775807})"));
	restart();
	learn(R"({"version": "1.0.13"})");
	EXPECT_FALSE(update_status().soft);
	learn(R"({"version": "1.0.14"})");
	EXPECT_TRUE(update_status().soft);
}

TEST_F(UpdateCheckTest, UnreadableDismissalIsNone)
{
	set_config_file(folder.write("broken.json", "{"));
	restart();
	learn(R"({"version": "1.0.13"})");
	EXPECT_TRUE(update_status().soft);
}

TEST_F(UpdateCheckTest, DismissalStays_WhenTheClockJumpsBack)
{
	learn(R"({"version": "1.0.13"})");
	dismiss_update();
	advance(-one_day);
	EXPECT_FALSE(update_status().soft);
}

// The download

// What is opened while a manifest names nothing.
std::string default_address()
{
	return package_use == PackageUse::Download ? default_package_url() : web_base;
}

TEST_F(UpdateCheckTest, OpensTheDownloadOfTheManifest)
{
	const std::string page = "https://p.example/get?a=1&b=2";
	const std::string package = "https://d.example/k.zip?c=3&d=%20";
	learn(R"({"version": "1.0.13", "download_page": ")" + page + R"(", "download_windows": ")" + package + R"("})");
	open_update_download();
	EXPECT_EQ(opened(), std::vector<std::string>{package_use == PackageUse::Download ? package : page});
}

TEST_F(UpdateCheckTest, OpensTheDefaultAddress_BeforeAnythingIsKnown)
{
	open_update_download();
	EXPECT_EQ(opened(), std::vector<std::string>{default_address()});
}

TEST_F(UpdateCheckTest, NeverOpensAnythingButAWebAddress)
{
	learn(R"({"version": "1.0.13", "download_page": "file:///etc/passwd", "download_windows": "calc.exe"})");
	open_update_download();
	EXPECT_EQ(opened(), std::vector<std::string>{default_address()});
}

} // namespace kalvio::test
