// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_fixture.h"

#include <thread>

namespace kalvio::engine::testing {
namespace {

struct Received {
	int32_t code;
	std::string message;
};

void receive(void *user_data, int32_t code, const char *message)
{
	static_cast<std::vector<Received> *>(user_data)->push_back({code, message != nullptr ? message : ""});
}

kl_engine *create_with(const char *path)
{
	const kl_engine_config config = {0, 0, nullptr, path, "org.test", 0};
	return kl_engine_create(&config);
}

class Session : public EngineTest {};

TEST_F(Session, CreateGivesAnEngine_ForTheShippedBundle)
{
	EXPECT_NE(engine, nullptr);
}

TEST_F(Session, CreateLogsApplicationAndBundle)
{
	EXPECT_TRUE(contains(log_text(), "org.test.engine"));
	EXPECT_TRUE(contains(log_text(), "resource.kld"));
}

TEST_F(Session, CreateRefusesANullConfiguration)
{
	EXPECT_EQ(kl_engine_create(nullptr), nullptr);
}

TEST_F(Session, CreateRefusesANullPath)
{
	EXPECT_EQ(create_with(nullptr), nullptr);
	EXPECT_TRUE(contains(log_text(), "no resource bundle was named"));
}

TEST_F(Session, CreateLogsWhy_WhenTheBundleIsMissing)
{
	const std::string path = scratch.path("absent.kld");
	EXPECT_EQ(create_with(path.c_str()), nullptr);
	EXPECT_TRUE(contains(log_text(), "absent.kld: missing, unreadable or no regular file"));
}

TEST_F(Session, CreateRefusesABundleOfAnotherKind)
{
	EXPECT_EQ(create_with(scratch.write_bundle("other.kld", "filter").c_str()), nullptr);
}

TEST_F(Session, CreateFindsABundle_WhoseNameIsNotAscii)
{
	const EnginePointer other(create_with(scratch.write_bundle("фильтр-美颜/ресурс.kld", "resource").c_str()));
	EXPECT_NE(other, nullptr);
}

TEST_F(Session, LogConfigRefusesNull)
{
	EXPECT_EQ(kl_set_log_config(nullptr), KL_ERROR_INVALID_ARGUMENT);
}

TEST_F(Session, AnUnwritableLogDoesNotMatter)
{
	const std::string path = scratch.path("no/such/folder/engine.log");
	const kl_log_config log = {0, 1, 2, 0, path.c_str()};
	EXPECT_EQ(kl_set_log_config(&log), KL_OK);
	EXPECT_NE(create(), nullptr);
}

TEST_F(Session, ANullLogPathDoesNotMatter)
{
	const kl_log_config log = {0, 1, 2, 0, nullptr};
	EXPECT_EQ(kl_set_log_config(&log), KL_OK);
	EXPECT_NE(create(), nullptr);
}

TEST_F(Session, AnEngineKeepsTheLogItWasCreatedWith)
{
	const std::string other = scratch.path("other.log");
	const kl_log_config log = {0, 1, 2, 0, other.c_str()};
	kl_set_log_config(&log);
	kl_set_filter(engine.get(), "/absent-filter");
	EXPECT_TRUE(contains(log_text(), "/absent-filter"));
	EXPECT_FALSE(contains(read_text(other), "/absent-filter"));
}

TEST_F(Session, ErrorsOnlyAreLogged_AtLevelZero)
{
	const std::string quiet = scratch.path("quiet.log");
	const kl_log_config log = {0, 1, 0, 0, quiet.c_str()};
	kl_set_log_config(&log);
	const EnginePointer other = create();
	EXPECT_EQ(read_text(quiet), "");
	kl_set_filter(other.get(), "/absent-filter");
	EXPECT_TRUE(contains(read_text(quiet), "[error]"));
}

TEST_F(Session, ALineBreakInAPathStaysOneLogLine)
{
	kl_set_filter(engine.get(), "/absent\nforged line");
	EXPECT_TRUE(contains(log_text(), "/absent forged line"));
}

TEST_F(Session, ReadyIsDelivered_FromSettingTheCallback)
{
	std::vector<Received> received;
	EXPECT_EQ(kl_engine_set_event_callback(engine.get(), receive, &received), KL_OK);
	ASSERT_EQ(received.size(), 1U);
	EXPECT_EQ(received[0].code, KL_EVENT_READY);
}

TEST_F(Session, ReadyIsDeliveredOnce)
{
	std::vector<Received> received;
	kl_engine_set_event_callback(engine.get(), receive, &received);
	kl_engine_set_event_callback(engine.get(), nullptr, nullptr);
	kl_engine_set_event_callback(engine.get(), receive, &received);
	EXPECT_EQ(received.size(), 1U);
}

TEST_F(Session, AFailedLoadIsAnEvent_ThatNamesTheFile)
{
	std::vector<Received> received;
	kl_engine_set_event_callback(engine.get(), receive, &received);
	EXPECT_EQ(kl_set_filter(engine.get(), "/absent.kld"), KL_ERROR_FILE);
	ASSERT_EQ(received.size(), 2U);
	EXPECT_EQ(received[1].code, KL_EVENT_RESOURCE_FAILED);
	EXPECT_TRUE(contains(received[1].message, "/absent.kld"));
}

TEST_F(Session, NullHandlesAreRefused)
{
	const uint8_t pixel[4] = {};
	uint8_t result[4] = {};
	EXPECT_EQ(kl_engine_set_event_callback(nullptr, receive, nullptr), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(kl_process_rgba(nullptr, pixel, 1, 1, 4, result, 1, 0), KL_ERROR_INVALID_ARGUMENT);
	kl_engine_destroy(nullptr);
}

void call_again(void *user_data, int32_t, const char *)
{
	auto *state = static_cast<std::pair<kl_engine *, int32_t> *>(user_data);
	state->second = kl_set_smoothing(state->first, 0.5F);
}

TEST_F(Session, ASecondCallOnAHandleIsRefusedAndLogged_WhileOneRuns)
{
	std::pair<kl_engine *, int32_t> state = {engine.get(), 0};
	kl_engine_set_event_callback(engine.get(), call_again, &state);
	EXPECT_EQ(state.second, KL_ERROR_BUSY);
	EXPECT_TRUE(contains(log_text(), "refused a call while another one is running"));
}

TEST_F(Session, EnginesComeAndGoOnManyThreads_WhileOthersProcess)
{
	std::vector<std::thread> threads;
	std::atomic<int> failures = 0;
	for (uint32_t number = 0; number < 6; ++number) {
		threads.emplace_back([&failures, number, this] {
			const Picture input = noise_picture(97, 61, number);
			for (int round = 0; round < 12; ++round) {
				const EnginePointer own = create();
				kl_set_smoothing(own.get(), 0.7F);
				kl_set_whitening(own.get(), 0.3F);
				Picture output(97, 61);
				if (kl_process_rgba(own.get(), input.bytes.data(), 97, 61, input.stride,
						    output.bytes.data(), 1, 0) != KL_OK)
					++failures;
			}
		});
	}
	for (std::thread &thread : threads)
		thread.join();
	EXPECT_EQ(failures, 0);
}

TEST_F(Session, TwoThreadsOnOneHandleAreServedOrRefused)
{
	const Picture input = noise_picture(97, 61, 1);
	std::atomic<int> wrong = 0;
	std::atomic<int> served = 0;
	const auto work = [&](int thread) {
		Picture output(97, 61);
		for (int round = 0; round < 60; ++round) {
			const int32_t statuses[] = {
				kl_set_smoothing(engine.get(), 0.1F * static_cast<float>(round % 10)),
				thread == 0 ? kl_set_filter(engine.get(), KALVIO_DATA_DIR "/filters/vivid/vivid.kld")
					    : kl_clear_filter(engine.get()),
				kl_process_rgba(engine.get(), input.bytes.data(), 97, 61, input.stride,
						output.bytes.data(), 1, 0),
			};
			for (const int32_t status : statuses) {
				wrong += status != KL_OK && status != KL_ERROR_BUSY;
				served += status == KL_OK;
			}
		}
	};
	std::thread other(work, 1);
	work(0);
	other.join();
	EXPECT_EQ(wrong, 0);
	EXPECT_GT(served, 0);
}

} // namespace
} // namespace kalvio::engine::testing
